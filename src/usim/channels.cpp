// Logical channels and APDUs. A long response comes as a token: the modem
// then sends the data in pieces by indication on the QMI thread, where they
// are put together by offset, while the caller's thread polls for the whole.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <vornpal/strings.h>
#include <vornpal/usim.h>

#include "foundation/checked_copy.h"
#include "foundation/clock.h"
#include "foundation/log_site.h"
#include "usim/apdu_text.h"
#include "usim/client.h"

namespace {

namespace usim = vorn::usim;
namespace qmi = vorn::qmi;

constexpr uint32_t kSlot1 = UIM_SLOT_1_V01;
constexpr uint16_t kApduMax = QMI_UIM_APDU_DATA_MAX_V01;
constexpr uint16_t kAidBuffer = 64;
constexpr size_t kTextMax = 10240;
constexpr int kPollRounds = 20;  // counted down to 0: 21 looks
constexpr uint64_t kPollMs = 100;
constexpr uint8_t kMoreData = 0x61;

// g_send_apdu_ind: one long response at a time for the process. The piece
// is copied before received_length grows, so a poller that sees the sum
// complete sees the data.
struct LongResponse {
  std::atomic<uint32_t> more_packet_flag{0};
  std::atomic<uint32_t> total_length{0};
  std::atomic<uint32_t> received_length{0};
  std::atomic<uint8_t *> data{nullptr};
  std::atomic<size_t> capacity{0};
};
LongResponse g_send_apdu_ind;

// vorn_apdu_ind_judge: total_length once complete, else -1.
int apdu_ind_judge() {
  const uint32_t received = g_send_apdu_ind.received_length.load();
  const uint32_t total = g_send_apdu_ind.total_length.load();
  if (received != 0 && received >= total) {
    VORN_LOG_AS("vorn_apdu_ind_judge", VORN_INFO, "apdu ind done.total_lenth:%d received_length:%d\r\n",
                static_cast<int>(total), static_cast<int>(received));
    return static_cast<int>(total);
  }
  VORN_LOG_AS("vorn_apdu_ind_judge", VORN_DBUG, "apdu ind is not done.total_lenth:%d received_length:%d\r\n",
              static_cast<int>(total), static_cast<int>(received));
  return -1;
}

// vorn_apdu_ind_get: the whole response, then back to idle. The flag of
// more pieces is left as it is.
int apdu_ind_get(uint8_t *buffer, uint32_t size) {
  if (buffer == nullptr) {
    VORN_LOG_AS("vorn_apdu_ind_get", VORN_ERR, "apdu_ind_buf invaild!\r\n");
    return -1;
  }
  const uint32_t total = g_send_apdu_ind.total_length.load();
  if (size < total)
    VORN_LOG_AS("vorn_apdu_ind_get", VORN_ERR,
                "apdu_ind buffer size:%d is less than g_send_apdu_ind.total_length buffer size:%d\r\n",
                static_cast<int>(size), static_cast<int>(total));
  uint8_t *data = g_send_apdu_ind.data.exchange(nullptr);
  const size_t capacity = g_send_apdu_ind.capacity.exchange(0);
  if (data != nullptr) std::memcpy(buffer, data, total < capacity ? total : capacity);
  std::free(data);
  g_send_apdu_ind.total_length.store(0);
  g_send_apdu_ind.received_length.store(0);
  return 0;
}

// vorn_qmi_uim_send_apdu_with_long_response.
int send_apdu_with_long_response(uint32_t slot, uint16_t apdu_len, const uint8_t *apdu, uint8_t channel_id,
                                 uint32_t *resp_len_out, uint8_t *resp_out, uint32_t *long_flag_out) {
  if (apdu == nullptr || resp_len_out == nullptr || resp_out == nullptr) return -1;
  auto req = std::make_unique<uim_send_apdu_req_msg_v01>();
  req->slot = slot;
  req->apdu_len = apdu_len;
  vorn::checked_memcpy(req->apdu, sizeof *req - offsetof(uim_send_apdu_req_msg_v01, apdu), apdu, apdu_len);
  req->channel_id_valid = 1;
  req->channel_id = channel_id;
  req->procedure_bytes_valid = 1;
  req->procedure_bytes = 0;
  auto resp = std::make_unique<uim_send_apdu_resp_msg_v01>();
  qmi::Sent sent = usim::send<usim::SendApdu>(*req, *resp);
  const char *fn = "vorn_qmi_uim_send_apdu_with_long_response";
  if (sent.rc != QMI_NO_ERR) {
    VORN_LOG_AS(fn, VORN_ERR, "Error, send apdu failed(error code:%d).\n", sent.rc);
    return -1;
  }
  if (resp->resp.result == QMI_RESULT_FAILURE_V01 && resp->resp.error == usim::kErrInsufficientResources) {
    VORN_LOG_AS(fn, VORN_INFO, "long_response_valid:%d, total_length:%d, token:%d\n",
                resp->long_response_valid, resp->long_response.total_length,
                static_cast<int>(resp->long_response.token));
    *long_flag_out = 1;
    return 0;
  }
  if (resp->resp.result == QMI_RESULT_SUCCESS_V01 && resp->apdu_valid) {
    const uint32_t len = resp->apdu_len < kApduMax ? resp->apdu_len : kApduMax;
    *resp_len_out = len;
    std::memcpy(resp_out, resp->apdu, len);
    return 0;
  }
  VORN_LOG_AS(fn, VORN_ERR, "Error, Unexpected error type:%d.\r\n", static_cast<int>(resp->resp.error));
  return -1;
}

// Waits for the pieces of a long response: its length, with the data in
// `out` (a heap block the caller frees). A response that does not complete
// in time ends the process, as a copy of a length of -1 would.
uint32_t wait_long_response(uint8_t *&out) {
  int length = -1;
  for (int count = kPollRounds; count >= 0; --count) {
    VORN_LOG_AS("vorn_usim_pal_send_apdu", VORN_DBUG, "apdu ind judge count:%d\r\n", count);
    length = apdu_ind_judge();
    if (length != -1) break;
    vorn::clk::sleep_ms(kPollMs);
  }
  if (length == -1) vorn::copy_overflow(__FILE__, __LINE__);
  out = static_cast<uint8_t *>(std::calloc(static_cast<size_t>(length) + 1, 1));
  if (out == nullptr) vorn::copy_overflow(__FILE__, __LINE__);
  apdu_ind_get(out, static_cast<uint32_t>(length) + 1);
  return static_cast<uint32_t>(length);
}

int send_apdu(int channel_id, const char *req_hex, char *resp_hex, uint32_t resp_hex_max) {
  const char *fn = "vorn_usim_pal_send_apdu";
  uint8_t req[kApduMax];
  const uint16_t req_len = usim::hexstring_to_bin(req_hex, req, sizeof req);
  VORN_LOG_AS(fn, VORN_INFO, "req_apdu_length:%d\n", req_len);
  std::unique_ptr<uint8_t, decltype(&std::free)> resp(static_cast<uint8_t *>(std::calloc(kApduMax, 1)),
                                                      &std::free);
  if (resp == nullptr) return -1;
  uint32_t resp_len = 0;
  uint32_t long_flag = 0;
  const auto channel = static_cast<uint8_t>(channel_id);
  if (send_apdu_with_long_response(kSlot1, req_len, req, channel, &resp_len, resp.get(), &long_flag) != 0) {
    VORN_LOG_AS(fn, VORN_ERR, "Error, send apdu failed.\n");
    return -1;
  }
  // More data waits on the card: GET RESPONSE for it on the same channel.
  if (resp.get()[0] == kMoreData) {
    const uint8_t get_response[] = {0x80, 0xC0, 0x00, 0x00, resp.get()[1]};
    if (send_apdu_with_long_response(kSlot1, sizeof get_response, get_response, channel, &resp_len,
                                     resp.get(), &long_flag) != 0) {
      VORN_LOG_AS(fn, VORN_ERR, "Error, send apdu failed.\n");
      return -1;
    }
  }
  VORN_LOG_AS(fn, VORN_INFO, "long_respond_valid:%d\r\n", static_cast<int>(long_flag));
  uint32_t length = resp_len;
  std::unique_ptr<char, decltype(&std::free)> text(nullptr, &std::free);
  if (long_flag == 0) {
    text.reset(usim::alloc_bin_to_hexstring(resp.get(), static_cast<uint16_t>(resp_len & 0xFFFF)));
  } else {
    uint8_t *whole = nullptr;
    length = wait_long_response(whole);
    text.reset(usim::alloc_bin_to_hexstring(whole, static_cast<uint16_t>(length & 0xFFFF)));
    std::free(whole);
  }
  if (text == nullptr) return -1;
  // A response of more than 5120 bytes does not fit here: the process ends.
  std::unique_ptr<char[]> buffer(new char[kTextMax + 1]());
  char *output = buffer.get();
  const size_t text_len = std::strlen(text.get());
  vorn::checked_memcpy(output, kTextMax, text.get(), text_len < resp_hex_max ? text_len : resp_hex_max);
  VORN_LOG_AS(fn, VORN_DBUG, "output lower apdu data: %s.\n", output);
  vorn_string_toupper(output);
  // The caller's buffer must hold the whole response, whatever its maximum.
  if (2 * static_cast<size_t>(length) > kTextMax) vorn::copy_overflow(__FILE__, __LINE__);
  std::memcpy(resp_hex, output, 2 * static_cast<size_t>(length));
  VORN_LOG_AS(fn, VORN_INFO, "output length: %d,output apdu data: %s.\n", static_cast<int>(2 * length), output);
  return 0;
}

}  // namespace

// vorn_usim_send_apdu_ind_update: one piece, on the QMI thread.
void usim::on_send_apdu_piece(const uim_send_apdu_ind_msg_v01 &ind) {
  const char *fn = "vorn_usim_send_apdu_ind_update";
  VORN_LOG_AS(fn, VORN_INFO, "send apdu ind token is %d, total length is %d, offset is %d\n",
              static_cast<int>(ind.token), ind.total_length, ind.offset);
  VORN_LOG_AS(fn, VORN_INFO, "usim_send_apdu_ind_update.\n");
  const uint32_t piece = ind.apdu_len < kApduMax ? ind.apdu_len : kApduMax;
  const uint32_t total = ind.total_length;
  if (g_send_apdu_ind.more_packet_flag.load() == 0) {
    auto *data = static_cast<uint8_t *>(std::calloc(total + 1, 1));
    if (data == nullptr) return;
    std::free(g_send_apdu_ind.data.exchange(data));
    g_send_apdu_ind.capacity.store(total + 1);
  }
  // The last of several pieces leaves the flag set: the end is seen by the
  // sum, not by the flag.
  const uint32_t reach = static_cast<uint32_t>(ind.offset) + piece;
  if (total > reach) {
    g_send_apdu_ind.more_packet_flag.store(1);
  } else if (total < reach) {
    g_send_apdu_ind.more_packet_flag.store(0);
  }
  g_send_apdu_ind.total_length.store(total);
  VORN_LOG_AS(fn, VORN_INFO, "more_packet_flag:%d\n", static_cast<int>(g_send_apdu_ind.more_packet_flag.load()));
  if (piece > 0) {
    // With the flag still set from an earlier response no buffer was made:
    // a piece then has nowhere to go, and the process ends.
    uint8_t *data = g_send_apdu_ind.data.load();
    if (data == nullptr) vorn::copy_overflow(__FILE__, __LINE__);
    const size_t capacity = g_send_apdu_ind.capacity.load();
    const size_t room = ind.offset < capacity ? capacity - ind.offset : 0;
    vorn::checked_memcpy(data + (ind.offset < capacity ? ind.offset : 0), room, ind.apdu, piece);
  }
  g_send_apdu_ind.received_length.fetch_add(piece);
  notify(E_oem_USIM_EVENT_SEND_APDU, nullptr, sizeof(uim_send_apdu_ind_msg_v01));
}

extern "C" {

VORNPAL_API int vorn_usim_pal_open_channel(const char *aid_hex, uint32_t *channel_id) {
  if (aid_hex == nullptr || channel_id == nullptr) {
    VORN_LOG(VORN_ERR, "Error,param is NULL\n");
    return VORN_INVALID_PARAM;
  }
  VORN_LOG(VORN_INFO, "aid: %s\n", aid_hex);
  uint8_t aid[kAidBuffer];
  const uint16_t aid_len = usim::hexstring_to_bin(aid_hex, aid, sizeof aid);
  uim_open_logical_channel_req_msg_v01 req{};
  req.slot = kSlot1;
  req.aid_valid = 1;
  req.aid_len = aid_len;
  std::memcpy(req.aid, aid, aid_len < sizeof req.aid ? aid_len : sizeof req.aid);
  auto resp = std::make_unique<uim_open_logical_channel_resp_msg_v01>();
  qmi::Sent sent = usim::send<usim::OpenLogicalChannel>(req, *resp);
  bool opened = false;
  if (sent.rc != QMI_NO_ERR) {
    VORN_LOG_AS("vorn_qmi_uim_open_channel", VORN_ERR, "Error, open logical channel failed(error code:%d).\n",
                sent.rc);
  } else if (resp->channel_id_valid == 0) {
    VORN_LOG_AS("vorn_qmi_uim_open_channel", VORN_ERR, "Error, can not get valid channel id\n");
  } else {
    *channel_id = resp->channel_id;
    VORN_LOG_AS("vorn_qmi_uim_open_channel", VORN_INFO, "new channel_id =%d.\n", resp->channel_id);
    opened = true;
  }
  if (!opened) {
    VORN_LOG(VORN_ERR, "Error, oem_esim_al_open_assigned_logical_channel failed.\n");
    return -1;
  }
  return 0;
}

VORNPAL_API int vorn_usim_pal_close_channel(uint32_t channel_id) {
  uim_logical_channel_req_msg_v01 req{};
  req.slot = kSlot1;
  req.channel_id_valid = 1;
  req.channel_id = static_cast<uint8_t>(channel_id);
  auto resp = std::make_unique<uim_logical_channel_resp_msg_v01>();
  qmi::Sent sent = usim::send<usim::LogicalChannel>(req, *resp);
  if (sent.rc != QMI_NO_ERR || resp->resp.result != QMI_RESULT_SUCCESS_V01) {
    VORN_LOG_AS("vorn_qmi_uim_logical_channel", VORN_ERR, "Error, close logical channel failed(error code:%d).\n",
                sent.rc);
    VORN_LOG_AS("vorn_qmi_uim_logical_channel", VORN_ERR, "Error, response.resp.result:%d.\n",
                static_cast<int>(resp->resp.result));
    VORN_LOG(VORN_ERR, "Error, oem_esim_al_close_logical_channel failed.\n");
    return -1;
  }
  return 0;
}

VORNPAL_API int vorn_usim_pal_send_apdu(int channel_id, const char *req_hex, uint32_t req_hex_len,
                                        char *resp_hex, uint32_t resp_hex_max) {
  VORN_LOG(VORN_INFO, "channel id: %d, req_data: %s, resp_data_len: %d.\n", channel_id,
           req_hex != nullptr ? req_hex : "(null)", static_cast<int>(resp_hex_max));
  if (req_hex == nullptr || resp_hex == nullptr) {
    VORN_LOG(VORN_ERR, "error, invalid parameter\r\n");
    return -1;
  }
  if (std::strlen(req_hex) != req_hex_len) {
    VORN_LOG(VORN_ERR, "error, The input data length does not match the special length \r\n");
    return -1;
  }
  return send_apdu(channel_id, req_hex, resp_hex, resp_hex_max);
}

}  // extern "C"
