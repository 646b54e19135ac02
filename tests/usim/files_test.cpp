// The card's files through vorn_usim_pal_get_usim_info and its neighbours,
// against file contents written by hand from the published encodings
// (swapped BCD, the SPN's alphabets, packed GSM 7-bit, the MNC length of
// the administrative data), quirks included.
#include <vornsim/wds_stats.h>

#include "usim_test.h"

namespace {

using namespace usimt;

class UsimFiles : public UsimTest {
 protected:
  // One type read into a zeroed record; the call's result.
  int read(int type) {
    info = usim_info_record{};
    return vorn_usim_pal_get_usim_info(type, &info);
  }
  void file(uint16_t id, std::initializer_list<int> content) { card::set_file(card::kUsimSlot, id, bytes(content)); }

  usim_info_record info{};
};

TEST_F(UsimFiles, IccidIsSwappedBcdWithItsFiller) {
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_ICCID), 0);
  EXPECT_EQ(text(info.iccid), "89490200001234567890");
  file(0x2FE2, {0x98, 0x94, 0x20, 0x00, 0x00, 0x21, 0x43, 0x65, 0x87, 0x09, 0x11, 0x22, 0x33, 0x44, 0xF5});
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_ICCID), 0);
  EXPECT_EQ(text(info.iccid), "8949020000123456789011223344" "5F");
  file(0x2FE2, {0x98, 0x94, 0x20, 0x00, 0x00, 0x21, 0x43, 0x65, 0x87, 0x09, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66});
  EXPECT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_ICCID), -1);
  EXPECT_TRUE(vt::logged("Error, source iccid buffer too short.\n"));
  EXPECT_TRUE(vt::logged("Error, usim decode siminfo(siminfo_type:1) failed.\n"));
}

// The PLMN takes six IMSI digits only when the administrative data says
// the MNC has three.
TEST_F(UsimFiles, ImsiAndPlmnByTheMncLength) {
  struct Row {
    std::vector<uint8_t> ad;  // empty: no AD file
    const char *plmn;
  };
  const Row rows[] = {{bytes({0, 0, 0, 3}), "310260"}, {bytes({0, 0, 0, 2}), "31026"},
                      {bytes({0, 0, 0, 0}), "31026"}, {{}, "31026"}};
  for (const Row &row : rows) {
    SCOPED_TRACE(row.plmn);
    if (row.ad.empty()) {
      card::remove_file(card::kUsimSlot, 0x6FAD);
    } else {
      card::set_file(card::kUsimSlot, 0x6FAD, row.ad);
    }
    ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_PLMN), 0);
    EXPECT_EQ(text(info.imsi), card::kImsi);
    EXPECT_EQ(text(info.plmn), row.plmn);
  }
  EXPECT_TRUE(vt::logged("Error, get AD value fail.\n"));

  // 234 15: a two-digit MNC in the operator's own AD.
  file(0x6F07, {0x08, 0x29, 0x43, 0x51, 0x10, 0x32, 0x54, 0x76, 0x98});
  file(0x6FAD, {0x80, 0x00, 0x00, 0x02});
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_IMSI), 0);
  EXPECT_EQ(text(info.imsi), "234150123456789");
  EXPECT_EQ(text(info.plmn), "23415");
  EXPECT_EQ(info.ad[0], 0x80);

  // The text follows the file, not its length byte; above 16 it fails.
  file(0x6F07, {0x03, 0x29, 0x43, 0x51, 0x10});
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_IMSI), 0);
  EXPECT_EQ(text(info.imsi), "2341501");
  file(0x6F07, {0x11, 0x29, 0x43});
  EXPECT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_IMSI), -1);
  EXPECT_TRUE(vt::logged("Error, source imsi buffer too short.\n"));
}

// vorn_usim_pal_get_imsi reads EF IMSI itself: parity nibble dropped, the
// filler shown as "?", the SIM's path only after a transport failure.
TEST_F(UsimFiles, ImsiQueryAndItsFallbackPath) {
  char imsi[32] = {};
  ASSERT_EQ(vorn_usim_pal_get_imsi(imsi, sizeof imsi - 1), 0);
  EXPECT_STREQ(imsi, card::kImsi);
  EXPECT_TRUE(vt::logged("IMSI:310260123456789\n"));
  file(0x6F07, {0x08, 0x21, 0x43, 0x65, 0x87, 0x09, 0x21, 0x43, 0xF5});
  ASSERT_EQ(vorn_usim_pal_get_imsi(imsi, sizeof imsi - 1), 0);
  EXPECT_STREQ(imsi, "23456789012345?");

  card::set_app_type(card::kUsimSlot, UIM_APP_TYPE_SIM_V01);
  vornsim::clear_requests();
  EXPECT_EQ(vorn_usim_pal_get_imsi(imsi, sizeof imsi - 1), -1) << "a refusal is not retried";
  EXPECT_EQ(count(QMI_UIM_READ_TRANSPARENT_REQ_V01), 1u);
  vornsim::fail_next(kUim, QMI_UIM_READ_TRANSPARENT_REQ_V01);
  std::memset(imsi, 0, sizeof imsi);
  ASSERT_EQ(vorn_usim_pal_get_imsi(imsi, 6), 0);
  EXPECT_STREQ(imsi, "234567");
  auto reads = vornsim::requests(kUim, QMI_UIM_READ_TRANSPARENT_REQ_V01);
  ASSERT_EQ(reads.size(), 3u);
  auto req = reads[2].as<uim_read_transparent_req_msg_v01>();
  EXPECT_EQ(req.file_id.path_len, 4u);
  EXPECT_EQ(bytes({req.file_id.path[0], req.file_id.path[1], req.file_id.path[2], req.file_id.path[3]}),
            bytes({0x00, 0x3F, 0x20, 0x7F}));
  EXPECT_EQ(req.read_transparent.length, 9);

  vornsim::fail_next(kUim, QMI_UIM_READ_TRANSPARENT_REQ_V01, vornsim::kTimeoutRc, 2);
  std::strcpy(imsi, "untouched");
  EXPECT_EQ(vorn_usim_pal_get_imsi(imsi, sizeof imsi - 1), 0);
  EXPECT_STREQ(imsi, "untouched");
  EXPECT_EQ(vorn_usim_pal_get_imsi(nullptr, 4), -1);
}

// The SPN keeps the card's alphabet: GSM default letters read as ASCII, a
// GSM "@" (0) ends the name, a UCS-2 name keeps only its 0x80 mark.
TEST_F(UsimFiles, SpnInTheCardsAlphabets) {
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_SPN), 0);
  EXPECT_EQ(text(info.spn), "Vorn Mobile");
  file(0x6F46, {0x01, 'A', 0x00, 'B', 0xFF});
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_SPN), 0);
  EXPECT_EQ(text(info.spn), "A");
  file(0x6F46, {0x01, 0x80, 0x00, 0x56, 0x00, 0x6F});
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_SPN), 0);
  EXPECT_EQ(text(info.spn), "\x80");
  // At most 18 bytes; a 0xFF inside becomes the end.
  file(0x6F46, {0x00, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l', 'm', 'n', 'o', 'p', 'q', 'r', 's', 't'});
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_SPN), 0);
  EXPECT_EQ(text(info.spn), "abcdefghijklmnopqr");
  file(0x6F46, {0x01, 'V', 0xFF, 'X'});
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_SPN), 0);
  EXPECT_EQ(text(info.spn), "V");
  EXPECT_EQ(info.spn[2], 'X') << "0xFF turns into 0 where it stands";
}

TEST_F(UsimFiles, LanguageAdUstAndGroupIdentifiers) {
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_LANGUAGE), 0);
  EXPECT_EQ(text(info.language), "enfr");
  file(0x6F05, {'E', 'N', '1', 0xFF});
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_LANGUAGE), 0);
  EXPECT_EQ(text(info.language), "enQ\xFF") << "0x20 to 0x5E are raised, digits too";

  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_AD), 0);
  EXPECT_EQ(std::vector<uint8_t>(info.ad, info.ad + 6), bytes({0, 0, 0, 3, 0, 0}));
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_UST), 0);
  EXPECT_EQ(std::vector<uint8_t>(info.ust, info.ust + 10), bytes({8, 0x9E, 0x6B, 0x1D, 0x9C, 0x01, 0x00, 0x00, 0x10, 0}));
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_GID1), 0);
  EXPECT_EQ(text(info.gid1), "VN");
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_GID2), 0);
  EXPECT_EQ(text(info.gid2), "\x12\x34");

  // A long UST runs on into the fields behind it, never past the record.
  std::vector<uint8_t> long_ust(200, 0xAB);
  card::set_file(card::kUsimSlot, 0x6F38, long_ust);
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_UST), 0);
  EXPECT_EQ(info.ust[0], 200);
  EXPECT_EQ(static_cast<uint8_t>(info.language[0]), 0xAB);
  EXPECT_EQ(static_cast<uint8_t>(info.pnn[31]), 0xAB);
}

TEST_F(UsimFiles, NetworkNameStaysInSeptets) {
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_PNN), 0);
  EXPECT_EQ(text(info.pnn), "Vorn");
  EXPECT_TRUE(vt::logged("wms_ts_unpack_gw_7_bit_chars in.\n"));
  // "@Vo": the GSM "@" is septet 0, so the text stays in septets, not ASCII.
  card::set_records(card::kUsimSlot, 0x6FC5, {bytes({0x43, 0x04, 0x83, 0x00, 0xEB, 0x1B})});
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_PNN), 0);
  EXPECT_EQ(std::vector<uint8_t>(info.pnn, info.pnn + 4), bytes({0x00, 0x56, 0x6F, 0x00}));
  card::set_records(card::kUsimSlot, 0x6FC5, {bytes({0x45, 0x05, 0x84, 0xD6, 0xB7, 0xDC, 0x0D})});
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_PNN), 0);
  EXPECT_EQ(text(info.pnn), "") << "only the full name counts";
}

// Type 17 reads every file; the walk ends at type 12, which has none. The
// MSISDN type reads EF LND there and skips filler wherever it stands.
TEST_F(UsimFiles, EveryFileAndTheMissingOnes) {
  EXPECT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_ALL), -1);
  EXPECT_EQ(text(info.iccid), "89490200001234567890");
  EXPECT_EQ(text(info.imsi), card::kImsi);
  EXPECT_EQ(text(info.plmn), "310260");
  EXPECT_EQ(text(info.msisdn), "5551234");
  EXPECT_EQ(text(info.spn), "Vorn Mobile");
  EXPECT_EQ(text(info.pnn), "Vorn");
  EXPECT_EQ(text(info.gid2), "\x12\x34");
  EXPECT_TRUE(vt::logged("Error, qmi uim read record failed,type=12\n"));

  card::remove_file(card::kUsimSlot, 0x6F46);
  card::remove_file(card::kUsimSlot, 0x6F44);
  vornsim::clear_diag();
  EXPECT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_ALL), -1);
  EXPECT_TRUE(vt::logged("Continue,type=4\n"));
  EXPECT_TRUE(vt::logged("Continue,type=5\n"));
  EXPECT_EQ(text(info.spn), "");
  EXPECT_EQ(text(info.pnn), "Vorn");
  EXPECT_TRUE(vt::logged("Error, read transparent failed(qmi_error:0, result:1, error:0x52, FileID:0x6f46).\n"));
  EXPECT_FALSE(vt::logged("Info, qmi uim read transparent [FileID:0x6f46] failed.\n")) << "not for a missing file";

  card::remove_file(card::kUsimSlot, 0x6F3E);
  EXPECT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_GID1), -1);
  EXPECT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_PNN + 3), -1);
  EXPECT_TRUE(vt::logged("Error, unknown siminfo type(type:14).\n"));
  EXPECT_EQ(vorn_usim_pal_get_usim_info(1, nullptr), VORN_INVALID_PARAM);
}

// Type 4 asks the device family; the card is read only for the AD.
TEST_F(UsimFiles, MsisdnComesFromTheDeviceFamily) {
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_MSISDN), 0);
  EXPECT_EQ(text(info.msisdn), "+15551230042");
  EXPECT_EQ(count(QMI_UIM_READ_TRANSPARENT_REQ_V01), 1u);
  EXPECT_EQ(count(QMI_UIM_READ_RECORD_REQ_V01), 0u);
}

// The files of a SIM (type 1) card live under 7F20.
TEST_F(UsimFiles, ASimCardIsReadUnderItsOwnDirectory) {
  card::set_app_type(card::kUsimSlot, UIM_APP_TYPE_SIM_V01);
  EXPECT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_SPN), -1) << "still addressed as a USIM";
  usim_state_record state{};
  ASSERT_EQ(vorn_usim_pal_get_usim_state(&state), 0);
  EXPECT_EQ(state.card_type, UIM_APP_TYPE_SIM_V01);
  ASSERT_EQ(read(E_OEM_USIM_SIMINFO_TYPE_SPN), 0);
  EXPECT_EQ(text(info.spn), "Vorn Mobile");
  card::set_app_type(card::kUsimSlot, UIM_APP_TYPE_USIM_V01);
  ASSERT_EQ(vorn_usim_pal_get_usim_state(&state), 0);
}

// AT+CNUM: the card's MSISDN with its alpha, "+" for type 145.
TEST_F(UsimFiles, CnumAnswers) {
  char answer[64] = {};
  ASSERT_EQ(oem_usim_pal_cnum_get(answer), 0);
  EXPECT_STREQ(answer, "\"Vorn\",\"+15551230042\",145");
  auto record = [](std::initializer_list<int> alpha, int ton) {
    std::vector<uint8_t> r = bytes(alpha);
    r.resize(14, 0xFF);
    auto tail = bytes({0x07, ton, 0x51, 0x55, 0x21, 0x03, 0x40, 0xF2, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    r.insert(r.end(), tail.begin(), tail.end());
    return r;
  };
  card::set_records(card::kUsimSlot, 0x6F40, {record({}, 0x81)});
  ASSERT_EQ(oem_usim_pal_cnum_get(answer), 0);
  EXPECT_STREQ(answer, ",\"15551230042\",129");
  card::set_records(card::kUsimSlot, 0x6F40, {record({'H', 'o', 'm', 'e'}, 0xA1)});
  ASSERT_EQ(oem_usim_pal_cnum_get(answer), 0);
  EXPECT_STREQ(answer, "\"Home\",\"15551230042\",161");
  // An alpha of 16 bytes is read as if it had 14.
  auto longer = record({'A', 'B', 'C', 'D', 'E', 'F', 'G', 'H', 'I', 'J', 'K', 'L', 'M', 'N'}, 0x91);
  longer.insert(longer.begin() + 14, {'O', 'P'});
  card::set_records(card::kUsimSlot, 0x6F40, {longer});
  ASSERT_EQ(oem_usim_pal_cnum_get(answer), 0);
  EXPECT_STREQ(answer, "\"ABCDEFGHIJKLMN\",\"701915551230042\",80") << "the P as the type, the length and type in the number";

  // Without the card's number, the one the network gave the attach APN.
  card::remove_file(card::kUsimSlot, 0x6F40);
  ASSERT_EQ(oem_usim_pal_cnum_get(answer), 0);
  EXPECT_STREQ(answer, " ,\"4915112345678\",129");
  EXPECT_TRUE(vt::logged("Failed to get MSISDN via SIM, falling back to Network\n"));
  vornsim::wds::set_apn_msisdn("internet", "");
  std::strcpy(answer, "kept");
  ASSERT_EQ(oem_usim_pal_cnum_get(answer), 0);
  EXPECT_STREQ(answer, "kept");
  EXPECT_TRUE(vt::logged("Failed to get MSISDN from both Network and SIM.\n"));
  EXPECT_EQ(oem_usim_pal_cnum_get(nullptr), -1);
}

}  // namespace
