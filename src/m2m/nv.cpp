// NV items and EFS files: by path (one item of at most 500 bytes in one
// message), the rename that moves an item aside, and NV items by number.
#include <algorithm>
#include <cstring>

#include <vornpal/m2m.h>
#include <vornpal/strings.h>

#include "foundation/checked_copy.h"
#include "foundation/log_site.h"
#include "m2m/client.h"

namespace {

using vorn::m2m::Guard;
namespace m2m = vorn::m2m;

constexpr size_t kPathMax = VORN_M2M_NV_PATH_MAX_V01;
constexpr size_t kDataMax = VORN_M2M_NV_DATA_MAX_V01;
constexpr size_t kNvrwMax = VORN_M2M_NVRW_DATA_MAX_V01;

// Uppercase, high nibble first, two characters a byte, no terminator.
void render_hex(const uint8_t *bytes, size_t len, char *text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  for (size_t i = 0; i < len; ++i) {
    text[2 * i] = kDigits[bytes[i] >> 4];
    text[2 * i + 1] = kDigits[bytes[i] & 0x0F];
  }
}

// A path of exactly 128 characters fills its field without a terminator.
bool path_fits(const char *path) {
  return path != nullptr && strnlen(path, kPathMax + 1) <= kPathMax;
}

// The modem says how much it sent; never more than the field holds.
size_t received_len(uint32_t data_len, size_t field) { return std::min<size_t>(data_len, field); }

// Raw item bytes as a terminated text for the log line.
template <size_t N>
void log_content(const uint8_t (&data)[N], uint32_t len) {
  char shown[N + 1] = {};
  std::memcpy(shown, data, std::min<size_t>(len, N));
  VORN_LOG(VORN_DBUG, "content: %s, len = %d\n", shown, static_cast<int>(len));
}

// Message 28 with the two words as the caller gave them.
m2m::Sent send_nvrw(Guard guard, uint32_t word0, uint32_t word1, const uint8_t *data,
                    uint32_t len, vorn_m2m_nvrw_resp_msg_v01 &resp) {
  vorn_m2m_nvrw_req_msg_v01 req{};
  req.word0 = word0;
  req.word1 = word1;
  if (data != nullptr) {
    vorn::checked_memcpy(req.data, sizeof req.data, data, len);
    char shown[kNvrwMax + 1] = {};
    std::memcpy(shown, req.data, kNvrwMax);
    VORN_LOG(VORN_DBUG, "str: %s\n", shown);
  }
  m2m::Sent sent = m2m::send<m2m::Nvrw>(guard, req, resp);
  if (sent.verdict != 0) VORN_LOG(VORN_ERR, "send qmi failed.\n");
  return sent;
}

// Reads an item by number into resp: its length, 0 when it holds none, -1
// when the output is missing or the request failed.
int read_by_nvid(uint32_t word0, uint32_t word1, const void *out,
                 vorn_m2m_nvrw_resp_msg_v01 &resp) {
  if (out == nullptr) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return -1;
  }
  if (send_nvrw(Guard::None, word0, word1, nullptr, 0, resp).verdict != 0) return -1;
  if (resp.data_valid != 1 || resp.data_len == 0) return 0;
  VORN_LOG(VORN_DBUG, "Receive nv value len %d\n", static_cast<int>(resp.data_len));
  return static_cast<int>(received_len(resp.data_len, kNvrwMax));
}

}  // namespace

extern "C" {

VORNPAL_API int vorn_m2m_pal_read_nv_by_path(const char *item_file_path, void *out,
                                             uint32_t *out_len, int hex_text) {
  if (out == nullptr || out_len == nullptr || !path_fits(item_file_path)) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return -1;
  }
  vorn_m2m_read_nv_item_req_msg_v01 req{};
  vorn_string_memcpy(req.item_file_path, item_file_path, kPathMax);
  VORN_LOG(VORN_DBUG, "item_file_path: %s!\n", item_file_path);
  vorn_m2m_read_nv_item_resp_msg_v01 resp;
  if (m2m::send<m2m::ReadNvItem>(Guard::LazyStart, req, resp).verdict != 0) return -1;

  if (resp.data_len == 0) {
    *out_len = 0;  // an empty item: out stays as it was
    return 0;
  }
  VORN_LOG(VORN_DBUG, "Receive nv value len %d\n", static_cast<int>(resp.data_len));
  size_t len = received_len(resp.data_len, kDataMax);
  if (hex_text == 1) {
    char text[2 * kDataMax + 2] = {};
    render_hex(resp.data, len, text);
    std::memcpy(out, text, 2 * len);
    *out_len = static_cast<uint32_t>(2 * len);
  } else {
    std::memcpy(out, resp.data, len);
    *out_len = static_cast<uint32_t>(len);
  }
  return 0;
}

VORNPAL_API int vorn_m2m_pal_write_nv_by_path(const char *item_file_path, const void *data,
                                              uint32_t len) {
  if (data == nullptr || !path_fits(item_file_path)) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return -1;
  }
  vorn_m2m_write_nv_item_req_msg_v01 req{};
  std::optional<qmi_client_type> handle = m2m::pass_guard(Guard::LazyStart);
  if (!handle) return -1;
  vorn_string_memcpy(req.item_file_path, item_file_path, kPathMax);
  VORN_LOG(VORN_DBUG, "item_file_path: %s!\n", item_file_path);
  if (len != 0) {
    // More than an item can hold is the caller's bug: stop before the modem
    // sees any of it.
    vorn::checked_memcpy(req.data, sizeof req.data, data, len);
    req.data_len = len;
  }
  log_content(req.data, req.data_len);
  vorn_m2m_write_nv_item_resp_msg_v01 resp;
  return m2m::send_on<m2m::WriteNvItem>(*handle, req, resp).verdict == 0 ? 0 : -1;
}

VORNPAL_API int vorn_m2m_pal_efs_rename(const char *old_path, const char *new_path) {
  vorn_m2m_efs_rename_req_msg_v01 req{};
  if (old_path != nullptr) vorn::checked_strcpy(req.old_path, old_path);
  if (new_path != nullptr) vorn::checked_strcpy(req.new_path, new_path);
  vorn_m2m_efs_rename_resp_msg_v01 resp;
  int rc = m2m::send<m2m::EfsRename>(Guard::None, req, resp).verdict;
  if (rc != 0) VORN_LOG(VORN_ERR, "EFS file rename failed! qmi_err:%d\n", rc);
  return rc;
}

VORNPAL_API int vorn_m2m_pal_read_nv_by_nvid(uint32_t word0, uint32_t word1, uint8_t *out_hex) {
  vorn_m2m_nvrw_resp_msg_v01 resp;
  int len = read_by_nvid(word0, word1, out_hex, resp);
  if (len <= 0) return len;
  char text[2 * kNvrwMax + 1] = {};
  render_hex(resp.data, len, text);
  std::memcpy(out_hex, text, 2 * len);
  return 0;
}

VORNPAL_API int vorn_m2m_pal_read_nvstr_by_nvid(uint32_t word0, uint32_t word1, char *out) {
  vorn_m2m_nvrw_resp_msg_v01 resp;
  int len = read_by_nvid(word0, word1, out, resp);
  if (len <= 0) return len;
  vorn_string_memcpy(out, reinterpret_cast<const char *>(resp.data), len);
  return 0;
}

VORNPAL_API int vorn_m2m_pal_write_nv_by_nvid(uint32_t word0, uint32_t word1, const uint8_t *data,
                                              uint32_t len) {
  if (data == nullptr) {
    VORN_LOG(VORN_ERR, "Parameter is error!\n");
    return -1;
  }
  if (!m2m::ready()) return -1;
  if (len == 0) {
    VORN_LOG(VORN_ERR, "Invalid input\n");
    return -1;
  }
  vorn_m2m_nvrw_resp_msg_v01 resp;
  return send_nvrw(Guard::FailAtOnce, word0, word1, data, len, resp).verdict == 0 ? 0 : -1;
}

}  // extern "C"
