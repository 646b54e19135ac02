// vornpalctl's network commands: runs share one simulated network, so a
// move, a setting or a lock made by one run is what the next run reports.
#include "ctl_run.h"
#include "network_test.h"

namespace {

using namespace nett;
using vt::CtlRun;

class NetworkCtl : public NetworkTest {
 protected:
  void SetUp() override {
    NetworkTest::SetUp();
    VT_NEEDS_TOOLS();
    vt::remove_tree("/vornsim/nas");
  }
  static CtlRun ctl(const std::string &args) { return vt::ctl(args); }
};

TEST_F(NetworkCtl, MovesAndQueriesShareTheNetwork) {
  CtlRun info = ctl("network info");
  EXPECT_TRUE(info.has("operator: Vorn Mobile\n")) << info.output;
  EXPECT_TRUE(info.has("rat: LTE\n")) << info.output;
  EXPECT_TRUE(info.has("band: 103\n")) << info.output;

  EXPECT_TRUE(ctl("modem move partner-wcdma-b8").has("plmn: 23205\n"));
  CtlRun json = ctl("--json network info");
  EXPECT_TRUE(json.has("\"registration\": \"registered, roaming\"")) << json.output;
  EXPECT_TRUE(json.has("\"rat\": \"WCDMA\"")) << json.output;
  EXPECT_TRUE(json.has("\"band\": 8,")) << json.output;

  ctl("modem coverage off");
  EXPECT_TRUE(ctl("network info").has("registration: searching\n"));
  ctl("modem restore");
  EXPECT_TRUE(ctl("network roaming off").has("data_roaming: false\n"));
  EXPECT_TRUE(ctl("network roaming").has("data_roaming: false\n")) << "kept between runs";
  CtlRun wrong = ctl("network register 2620 lte");
  EXPECT_TRUE(wrong.has("usage: network register")) << wrong.output;
  EXPECT_EQ(wrong.status, 1);
  CtlRun nowhere = ctl("modem move nowhere");
  EXPECT_TRUE(nowhere.has("unknown cell: nowhere")) << nowhere.output;
  EXPECT_EQ(nowhere.status, 1);
}

TEST_F(NetworkCtl, SettingsAsPeopleWriteThem) {
  CtlRun set = ctl("network setting set --rat gsm-wcdma-lte --bands gsm900,w1,w8,b7");
  EXPECT_EQ(set.status, 0) << set.output;
  EXPECT_TRUE(set.has("rat_mode: gsm-wcdma-lte\n")) << set.output;
  CtlRun got = ctl("network setting get");
  EXPECT_TRUE(got.has("bands: gsm900,w1,w8,b7\n")) << got.output;
  // Band 3 is no longer selected: the band 7 cell serves.
  EXPECT_TRUE(ctl("network info").has("band: 107\n"));

  EXPECT_EQ(ctl("network setting set --rat lte --bands auto --plmn-lock 26201").status, 0);
  CtlRun json = ctl("--json network setting get");
  EXPECT_TRUE(json.has("\"rat_mode\": \"lte\"")) << json.output;
  EXPECT_TRUE(json.has("\"plmn_lock\": \"26201\"")) << json.output;
  EXPECT_TRUE(ctl("network info").has("band: 103\n"));

  CtlRun nr = ctl("network setting set --bands b3,b7,n78");
  EXPECT_EQ(nr.status, 1);
  EXPECT_TRUE(nr.has("the modem selects no NR bands")) << nr.output;
  CtlRun unknown = ctl("network setting set --bands b3,x9");
  EXPECT_EQ(unknown.status, 1);
  EXPECT_TRUE(unknown.has("unknown band: x9")) << unknown.output;
  EXPECT_EQ(ctl("network setting set --rat 5g").status, 1);
}

TEST_F(NetworkCtl, CellAndFrequencyLocksMoveTheDevice) {
  CtlRun lock = ctl("network celllock set lte 6300 201");
  EXPECT_EQ(lock.status, 0) << lock.output;
  EXPECT_TRUE(ctl("network info").has("pci: 201\n"));
  CtlRun got = ctl("--json network celllock get");
  EXPECT_TRUE(got.has("\"rat\": \"lte\"")) << got.output;
  EXPECT_TRUE(got.has("\"arfcn\": 6300")) << got.output;
  EXPECT_TRUE(got.has("\"pci\": 201")) << got.output;
  // No such cell: no service, until the lock goes.
  EXPECT_EQ(ctl("network celllock set lte 3100 99").status, 0);
  EXPECT_FALSE(ctl("network info").has("registration: registered"));
  EXPECT_TRUE(ctl("network celllock clear").has("enabled: false\n"));
  EXPECT_TRUE(ctl("network celllock get").has("enabled: false\n"));
  EXPECT_TRUE(ctl("network info").has("band: 103\n"));

  // The list form, and SIM2's items.
  EXPECT_TRUE(ctl("network celllock set list 3100:102,6300:201").has("lte_cells: 2\n"));
  CtlRun wrong_sim = ctl("network celllock set lte 6300 201 --sim 2");
  EXPECT_EQ(wrong_sim.status, 1);
  EXPECT_TRUE(wrong_sim.has("SIM 2 is not the active SIM (SIM 1)")) << wrong_sim.output;
  ctl("modem sim-slot 1");
  EXPECT_EQ(ctl("network celllock set lte 6300 201 --sim 2").status, 0);
  CtlRun sim2 = ctl("nv read /nv/item_files/odm/celllock_string_Subscription01 --hex");
  EXPECT_TRUE(sim2.has("hex: 010000\n")) << sim2.output;
  EXPECT_TRUE(ctl("network celllock get --sim 2").has("sim: 2\n"));
  EXPECT_EQ(ctl("network celllock clear --sim 2").status, 0);
  ctl("modem sim-slot 0");

  CtlRun nr = ctl("network celllock set nr 504990 601 --scs 45 --band n41");
  EXPECT_EQ(nr.status, 1);
  EXPECT_TRUE(nr.has("--scs is 15, 30, 60, 120 or 240")) << nr.output;
  EXPECT_EQ(ctl("network celllock set lte 6300 504").status, 1) << "a PCI out of range";

  // The frequency lock through the cell configuration.
  EXPECT_TRUE(ctl("network freqlock set --lte 6300:201").has("lte_cells: 1\n"));
  EXPECT_TRUE(ctl("network info").has("channel: 6300\n"));
  EXPECT_TRUE(ctl("network freqlock get").has("lte: 6300:201\n"));
  EXPECT_EQ(ctl("network freqlock clear").status, 0);
  EXPECT_TRUE(ctl("network freqlock get").has("lte: none\n"));
  EXPECT_TRUE(ctl("network info").has("band: 103\n"));
  EXPECT_EQ(ctl("network freqlock set --nr n78:630000:45").status, 1);
}

TEST_F(NetworkCtl, ReleaseAndReceiveChains) {
  EXPECT_EQ(ctl("network release").status, 1) << "no release items yet";
  EXPECT_EQ(ctl("network release lte 1").status, 1) << "the NR item is still missing";
  CtlRun set = ctl("network release nr 0");
  EXPECT_TRUE(set.has("lte: 1 (D0)\n")) << set.output;
  EXPECT_TRUE(set.has("nr: 0 (01)\n")) << set.output;
  EXPECT_TRUE(ctl("--json network release").has("\"nr\": \"0 (01)\"")) << "kept between runs";
  EXPECT_EQ(ctl("network release nr 2").status, 1);

  ctl("nv write /nv/item_files/modem/LTE/ML1/ard_config_4rx_bk --hex a4");
  CtlRun four = ctl("network umode 4");
  EXPECT_TRUE(four.has("rx_chains: 4\n")) << four.output;
  EXPECT_TRUE(ctl("nv read /nv/item_files/modem/lte/ML1/ard_config --hex").has("hex: A4\n"));
  CtlRun eight = ctl("network umode 8");
  EXPECT_TRUE(eight.has("rx_chains: 8\n")) << eight.output;
  EXPECT_TRUE(eight.has("rx_config_item: false\n")) << eight.output;
  EXPECT_TRUE(ctl("nv read /nv/item_files/modem/LTE/ML1/ard_config_4rx_bk --hex").has("hex: A4\n"));
  EXPECT_EQ(ctl("network umode 3").status, 1);
}

TEST_F(NetworkCtl, CarrierAggregationAndBands) {
  CtlRun ca = ctl("network ca");
  EXPECT_TRUE(ca.has("pcell_pci: 101\n")) << ca.output;
  EXPECT_TRUE(ca.has("scell0: band 107 channel 3100 pci 102 activated\n")) << ca.output;
  ctl("modem signal home-endc-b7-n78 -130 -20 0");
  EXPECT_TRUE(ctl("network ca").has("scells: 0\n"));
  CtlRun caps = ctl("--json network caps");
  EXPECT_TRUE(caps.has("\"bands\": \"gsm900,gsm1800,w1,w8,b1,b2,b3,")) << caps.output;
  EXPECT_TRUE(caps.has(",b48,b65,b70\"")) << caps.output;
}

}  // namespace
