// The card's elementary files: addressing by card type, the two ways of
// reading, and the queries that read one file or all of them.
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <memory>

#include <vornpal/device.h>
#include <vornpal/usim.h>

#include "foundation/log_site.h"
#include "usim/client.h"
#include "usim/decoders.h"
#include "usim/files.h"

namespace {

namespace usim = vorn::usim;
namespace qmi = vorn::qmi;

constexpr uint16_t kMf = 0x3F00;
constexpr uint16_t kDfGsm = 0x7F20;
constexpr uint16_t kAdfUsim = 0x7FFF;
constexpr uint16_t kEfMsisdn = 0x6F40;
constexpr int kLastRealType = E_OEM_USIM_SIMINFO_TYPE_PNN;
constexpr int kLastWalkedType = 16;

// File ids by type; index 0 unused.
constexpr uint16_t kFileIds[] = {0,      0x2FE2, 0x6F07, 0x6F07, 0x6F44, 0x6F46,
                                 0x6F05, 0x6FAD, 0x6F38, 0x6F3E, 0x6F3F, 0x6FC5};

bool read_by_record(int type) {
  return type == E_OEM_USIM_SIMINFO_TYPE_MSISDN || type == E_OEM_USIM_SIMINFO_TYPE_PNN;
}

void put_path(uim_file_id_type_v01 &file, std::initializer_list<uint16_t> path) {
  file.path_len = 0;
  for (uint16_t element : path) {
    file.path[file.path_len++] = static_cast<uint8_t>(element & 0xFF);
    file.path[file.path_len++] = static_cast<uint8_t>(element >> 8);
  }
}

void log_read_failure(const char *what, int rc, uint32_t result, uint32_t error, uint16_t file_id) {
  VORN_LOG_AS(what[0] == 't' ? "vorn_qmi_uim_read_transparent" : "vorn_qmi_uim_read_record", VORN_ERR,
              what[0] == 't' ? "Error, read transparent failed(qmi_error:%d, result:%d, error:0x%x, FileID:0x%x).\n"
                             : "Error, read record failed(qmi_error:%d, result:%d, error:0x%x, FileID:0x%x).\n",
              rc, static_cast<int>(result), static_cast<unsigned>(error), static_cast<unsigned>(file_id));
  if (error == usim::kErrInternal || error == usim::kErrFileNotFound) return;
  VORN_LOG_AS(what[0] == 't' ? "vorn_qmi_uim_read_transparent" : "vorn_qmi_uim_read_record", VORN_INFO,
              what[0] == 't' ? "Info, qmi uim read transparent [FileID:0x%x] failed.\n"
                             : "Info, qmi uim read record [FileID:0x%x] failed.\n",
              static_cast<unsigned>(file_id));
}

// The read's content, cut to the buffer.
template <class Resp>
int take_content(const Resp &resp, uint8_t *out, int *out_len) {
  uint32_t len = resp.read_result.content_len;
  if (len > static_cast<uint32_t>(usim::kReadBufferSize)) len = usim::kReadBufferSize;
  if (len > sizeof resp.read_result.content) len = sizeof resp.read_result.content;
  std::memcpy(out, resp.read_result.content, len);
  *out_len = static_cast<int>(len);
  return 0;
}

// Reads and decodes the administrative data into out->ad.
void read_ad(usim_info_record *out) {
  usim::FileAddress file{};
  usim::package_file_id(E_OEM_USIM_SIMINFO_TYPE_AD, usim::usim_card_type.load(), file);
  uint8_t content[usim::kReadBufferSize] = {};
  int len = 0;
  if (usim::read_transparent(file, content, &len) != 0 ||
      usim::decode_siminfo(content, len, out, E_OEM_USIM_SIMINFO_TYPE_AD) != 0)
    VORN_LOG_AS("vorn_usim_pal_get_ad_value", VORN_ERR, "Error, get AD value fail.\n");
}

// One type: packaged, read and decoded. Failures are logged by type.
enum class Step { Ok, ReadFailed, DecodeFailed };
Step read_and_decode(int type, usim_info_record *out) {
  usim::FileAddress file{};
  usim::package_file_id(type, usim::usim_card_type.load(), file);
  uint8_t content[usim::kReadBufferSize] = {};
  int len = 0;
  int rc = read_by_record(type) ? usim::read_record(file, content, &len)
                                : usim::read_transparent(file, content, &len);
  if (rc != 0) {
    VORN_LOG_AS("vorn_usim_pal_get_usim_info", VORN_ERR, "Error, qmi uim read record failed,type=%d\n", type);
    return Step::ReadFailed;
  }
  if (usim::decode_siminfo(content, len, out, type) != 0) {
    VORN_LOG_AS("vorn_usim_pal_get_usim_info", VORN_ERR,
                "Error, usim decode siminfo(siminfo_type:%d) failed.\n", type);
    return Step::DecodeFailed;
  }
  return Step::Ok;
}

// Types 12 to 16 have no file: reading the first of them normally ends the
// walk with -1, all eleven real fields filled. A missing MSISDN or SPN
// file is skipped.
int walk_all(usim_info_record *out) {
  for (int type = E_OEM_USIM_SIMINFO_TYPE_ICCID; type <= kLastWalkedType; ++type) {
    Step step = read_and_decode(type, out);
    if (step == Step::DecodeFailed) return -1;
    if (step == Step::ReadFailed) {
      if (type != E_OEM_USIM_SIMINFO_TYPE_MSISDN && type != E_OEM_USIM_SIMINFO_TYPE_SPN) return -1;
      VORN_LOG_AS("vorn_usim_pal_get_usim_info", VORN_INFO, "Continue,type=%d\n", type);
    }
  }
  return 0;
}

// Digits of EF IMSI: 0-9, then "*", "#", "A" to "C", and for 15 the
// character after "9" that plain addition gives.
char imsi_digit(uint8_t nibble) {
  static constexpr char kAbove9[] = "*#ABC";
  if (nibble <= 9) return static_cast<char>('0' + nibble);
  if (nibble <= 14) return kAbove9[nibble - 10];
  return static_cast<char>('0' + nibble);
}

// One try of the IMSI read; the transport's code.
int read_imsi_file(uint16_t df, uim_read_transparent_resp_msg_v01 &resp) {
  uim_read_transparent_req_msg_v01 req{};
  req.file_id.file_id = 0x6F07;
  put_path(req.file_id, {kMf, df});
  req.read_transparent.length = 9;
  return usim::send<usim::ReadTransparent>(req, resp).rc;
}

int get_imsi(char *out, uint32_t len) {
  auto resp = std::make_unique<uim_read_transparent_resp_msg_v01>();
  if (read_imsi_file(kAdfUsim, *resp) != QMI_NO_ERR && read_imsi_file(kDfGsm, *resp) != QMI_NO_ERR)
    return 0;
  VORN_LOG_AS("vorn_qmi_uim_get_imsi", VORN_INFO, "IMSI len %d\n",
              static_cast<int>(resp->read_result.content_len));
  if (resp->read_result_valid != 1) {
    VORN_LOG_AS("vorn_qmi_uim_get_imsi", VORN_ERR, "readResp.read_result_valid not true\n");
    return -1;
  }
  const uint8_t *content = resp->read_result.content;
  const int n = content[0] & 0x7F;
  char digits[2 * 0x7F + 1] = {};
  for (int i = 0; i < 2 * n; ++i) {
    uint8_t byte = content[1 + i / 2];
    digits[i] = imsi_digit(i % 2 == 0 ? byte & 0x0F : byte >> 4);
  }
  // The first nibble is the parity.
  std::strncpy(out, n > 0 ? digits + 1 : digits, len);
  return 0;
}

}  // namespace

void usim::package_file_id(int type, int32_t card_type, FileAddress &out) {
  std::memset(&out, 0, sizeof out);
  if (type < E_OEM_USIM_SIMINFO_TYPE_ICCID || type > kLastRealType) {
    VORN_LOG_AS("vorn_usim_package_file_id", VORN_ERR, "Error, unknown siminfo type(type:%d).\n", type);
    out.file_id = 0;
  } else {
    out.file_id = kFileIds[type];
  }
  if (type == E_OEM_USIM_SIMINFO_TYPE_ICCID) {
    put_path(out, {kMf});
    return;
  }
  put_path(out, {kMf, card_type == UIM_APP_TYPE_SIM_V01 ? kDfGsm : kAdfUsim});
}

int usim::read_transparent(const FileAddress &file, uint8_t *out, int *out_len) {
  uim_read_transparent_req_msg_v01 req{};
  req.file_id = file;
  // 6 KB: on the heap rather than on a daemon thread's stack.
  auto resp = std::make_unique<uim_read_transparent_resp_msg_v01>();
  qmi::Sent sent = send<ReadTransparent>(req, *resp);
  if (sent.rc != QMI_NO_ERR || resp->read_result_valid != 1) {
    log_read_failure("transparent", sent.rc, resp->resp.result, resp->resp.error, file.file_id);
    return -1;
  }
  return take_content(*resp, out, out_len);
}

int usim::read_record(const FileAddress &file, uint8_t *out, int *out_len) {
  uim_read_record_req_msg_v01 req{};
  req.file_id = file;
  req.read_record.record = 1;
  auto resp = std::make_unique<uim_read_record_resp_msg_v01>();
  qmi::Sent sent = send<ReadRecord>(req, *resp);
  if (sent.rc != QMI_NO_ERR || resp->read_result_valid != 1) {
    log_read_failure("record", sent.rc, resp->resp.result, resp->resp.error, file.file_id);
    return -1;
  }
  return take_content(*resp, out, out_len);
}

int usim::get_msisdn_info(char (&name)[32], char (&number)[32], uint32_t &type) {
  const char *fn = "vorn_qmi_uim_get_msisdn_info";
  std::memset(name, 0, sizeof name);
  std::memset(number, 0, sizeof number);
  type = 0;
  uim_read_record_req_msg_v01 req{};
  req.file_id.file_id = kEfMsisdn;
  put_path(req.file_id, {kMf, kAdfUsim});
  req.read_record.record = 1;
  auto resp = std::make_unique<uim_read_record_resp_msg_v01>();
  qmi::Sent sent = send<ReadRecord>(req, *resp);
  if (sent.rc != QMI_NO_ERR || resp->resp.result != QMI_RESULT_SUCCESS_V01) {
    VORN_LOG_AS(fn, VORN_ERR, "QMI read record failed, error: %d, resp.result: %d\n", sent.rc,
                static_cast<int>(resp->resp.result));
    return -1;
  }
  const uint32_t len = resp->read_result.content_len;
  const uint8_t *content = resp->read_result.content;
  VORN_LOG_AS(fn, VORN_DBUG, "MSISDN file len %d\n", static_cast<int>(len));
  for (int i = 0; i < 64; ++i) VORN_LOG_AS(fn, VORN_DBUG, "MSISDN[%d][0x%02X]\n", i, content[i]);
  if (resp->read_result_valid == 0 || len == 0) {
    VORN_LOG_AS(fn, VORN_ERR, "readResp.read_result_valid not true or invalid length\n");
    return -1;
  }
  // The alpha part is taken to be 14 bytes, whatever the card's record says.
  constexpr int kAlpha = 14;
  if (len < 20 || content[kAlpha + 1] == 0 || content[kAlpha + 1] == 0xFF) {
    if (len >= 20) type = content[kAlpha + 1];
    VORN_LOG_AS(fn, VORN_ERR, "MSISDN record is empty or invalid\n");
    return -1;
  }
  type = content[kAlpha + 1];
  size_t digits = 0;
  for (int i = 0; i < 8 && digits < 21; ++i) {
    const uint8_t byte = content[kAlpha + 2 + i];
    bool ended = false;
    for (uint8_t nibble : {static_cast<uint8_t>(byte & 0x0F), static_cast<uint8_t>(byte >> 4)}) {
      if (nibble == 0x0F) {
        ended = true;
        break;
      }
      if (nibble <= 9 && digits < 21 && digits < sizeof number - 1)
        number[digits++] = static_cast<char>('0' + nibble);
    }
    if (ended) break;
  }
  for (int i = 0; i < kAlpha && content[i] != 0 && content[i] != 0xFF; ++i)
    name[i] = static_cast<char>(content[i]);
  VORN_LOG_AS(fn, VORN_INFO, "Parsed MSISDN Entry - Name: '%s', MSISDN: %s, Type: %d\n", name, number,
              static_cast<int>(type));
  return 0;
}

extern "C" {

VORNPAL_API int vorn_usim_pal_get_usim_info(int type, usim_info_record *out) {
  if (out == nullptr) {
    VORN_LOG(VORN_ERR, "Error,Invaild param.\n");
    return VORN_INVALID_PARAM;
  }
  // The IMSI's PLMN needs the MNC length of the administrative data.
  read_ad(out);
  if (type == E_OEM_USIM_SIMINFO_TYPE_ALL) return walk_all(out);
  if (type == E_OEM_USIM_SIMINFO_TYPE_MSISDN) {
    if (vorn_deivce_pal_get_msisdn(out->msisdn, sizeof out->msisdn) == 0) return 0;
    VORN_LOG(VORN_ERR, "Error, get msisdn failed.\n");
    return -1;
  }
  return read_and_decode(type, out) == Step::Ok ? 0 : -1;
}

VORNPAL_API int vorn_usim_pal_get_imsi(char *out, uint32_t len) {
  if (out == nullptr) {
    VORN_LOG(VORN_ERR, "Error, param pointer is NULL.\n");
    return -1;
  }
  int rc = get_imsi(out, len);
  if (rc != 0) {
    VORN_LOG(VORN_ERR, "Error, get imsi failed.\n");
  } else {
    VORN_LOG(VORN_INFO, "IMSI:%s\n", out);
  }
  return rc;
}

VORNPAL_API int oem_usim_pal_cnum_get(char *dst) {
  if (dst == nullptr) {
    VORN_LOG(VORN_ERR, "Invalid output buffer.\n");
    return -1;
  }
  VORN_LOG(VORN_INFO, "inter at+cnum.\n");
  constexpr size_t kAnswer = 64;
  constexpr uint32_t kInternational = 145;
  char name[32], number[32];
  uint32_t type = 0;
  if (usim::get_msisdn_info(name, number, type) == 0 && number[0] != '\0') {
    const bool plus = type == kInternational;
    if (name[0] != '\0') {
      std::snprintf(dst, kAnswer, plus ? "\"%s\",\"+%s\",%d" : "\"%s\",\"%s\",%d", name, number,
                    static_cast<int>(type));
    } else {
      std::snprintf(dst, kAnswer, plus ? ",\"+%s\",%d" : ",\"%s\",%d", number, static_cast<int>(type));
    }
    return 0;
  }
  VORN_LOG(VORN_INFO, "Failed to get MSISDN via SIM, falling back to Network\n");
  char network[32] = {};
  if (usim::msisdn_from_network(network, sizeof network) == 0 && network[0] != '\0') {
    std::snprintf(dst, kAnswer, " ,\"%s\",129", network);
    return 0;
  }
  VORN_LOG(VORN_INFO, "Failed to get MSISDN from both Network and SIM.\n");
  return 0;
}

}  // extern "C"
