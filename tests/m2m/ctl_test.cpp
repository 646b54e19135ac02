// vornpalctl runs share one modem: what one run writes, the next one reads.
#include "ctl_run.h"
#include "m2m_test.h"

namespace {

using namespace m2mt;

using vt::ctl;
using vt::CtlRun;

class M2mCtl : public M2mTest {
 protected:
  void SetUp() override {
    M2mTest::SetUp();
    VT_NEEDS_TOOLS();
    vt::remove_tree("/vornsim/m2m");
  }
};

TEST_F(M2mCtl, RunsShareTheModemStore) {
  EXPECT_EQ(ctl("nv write /nv/item_files/ctl/item --hex 0aFF41").status, 0);
  CtlRun read = ctl("--json nv read /nv/item_files/ctl/item");
  EXPECT_EQ(read.status, 0);
  EXPECT_EQ(read.output, "{\"path\": \"/nv/item_files/ctl/item\", \"len\": 3, \"hex\": \"0AFF41\"}\n");
  EXPECT_EQ(ctl("nv read /nv/item_files/ctl/item --hex").output,
            "path: /nv/item_files/ctl/item\nlen: 3\nhex: 0AFF41\n");

  EXPECT_EQ(ctl("nv rename /nv/item_files/ctl/item /nv/item_files/ctl/item_del").output,
            "from: /nv/item_files/ctl/item\nto: /nv/item_files/ctl/item_del\nmoved: true\n");
  std::string list = ctl("nv list").output;
  EXPECT_NE(list.find("/nv/item_files/ctl/item_del  (3 bytes)\n"), std::string::npos) << list;
  EXPECT_EQ(list.find("/nv/item_files/ctl/item  ("), std::string::npos) << list;

  EXPECT_EQ(ctl("m2m cfun 4").status, 0);
  EXPECT_EQ(ctl("m2m cfun").output, "cfun: 4\n");
  EXPECT_EQ(ctl("nv write-id 6853 1 41504E").status, 0);
  EXPECT_EQ(ctl("nv read-id 6853 0 --text").output, "word0: 6853\nword1: 0\ntext: APN\n");
}

TEST_F(M2mCtl, RefusesWhatTheLibraryWouldAbortOn) {
  CtlRun big = ctl("nv write /nv/item_files/big --hex " + std::string(1002, 'A'));
  EXPECT_EQ(big.status, 1);
  EXPECT_EQ(big.output, "error: an item holds at most 500 bytes\nrc: 2\n");
  EXPECT_EQ(ctl("nv rename /a " + path_of_len(128)).status, 1);
  EXPECT_EQ(ctl("nv write /x --hex 0").status, 1) << "odd number of digits";
  CtlRun missing = ctl("nv read /nv/item_files/none");
  EXPECT_EQ(missing.output, "error: cannot read /nv/item_files/none\nrc: -1\n");
}

}  // namespace
