// The tool's side of the SMS events (see sms_receiver.h).
#include "sms_receiver.h"

#include <chrono>
#include <cstring>

#include <vornpal/sms.h>

#include "sms_text.h"

namespace ctl::sms {
namespace {

const char *storage_name(int32_t storage) {
  return storage == SMS_STORAGE_UIM ? "sim" : storage == SMS_STORAGE_NV ? "nv" : "?";
}

}  // namespace

Receiver::Receiver(Report report) : report_(std::move(report)), worker_([this] { work(); }) {
  vorn_sms_pal_event_register(on_event, this);
}

Receiver::~Receiver() {
  vorn_sms_pal_event_unregister(on_event);
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  worker_.join();
}

void Receiver::on_event(int id, void *data, int size, void *self) {
  auto *receiver = static_cast<Receiver *>(self);
  const auto *bytes = static_cast<const uint8_t *>(data);
  {
    std::lock_guard<std::mutex> lock(receiver->mutex_);
    receiver->queue_.push_back({id, data != nullptr ? std::vector<uint8_t>(bytes, bytes + size) : std::vector<uint8_t>()});
  }
  receiver->changed_.notify_all();
}

bool Receiver::wait_for(size_t count, int ms) {
  std::unique_lock<std::mutex> lock(mutex_);
  return changed_.wait_for(lock, std::chrono::milliseconds(ms), [&] { return messages_ >= count; });
}

void Receiver::work() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (true) {
    changed_.wait(lock, [&] { return stopping_ || !queue_.empty(); });
    if (queue_.empty()) return;
    Event event = std::move(queue_.front());
    queue_.pop_front();
    lock.unlock();
    handle(event);
    lock.lock();
    changed_.notify_all();
  }
}

void Receiver::handle(const Event &event) {
  switch (event.id) {
    case E_oem_SMS_EVENT_NEW_ROUTE_MSG:
    case E_oem_SMS_EVENT_NEW_AP_MSG: {
      sms_route_message head{};
      if (event.data.size() < sizeof head) return;
      std::memcpy(&head, event.data.data(), sizeof head);
      const uint8_t *pdu = event.data.data() + sizeof head;
      const size_t length = event.data.size() - sizeof head;
      if (head.ack_indicator == 0) vorn_sms_pal_send_ack(0, head.transaction_id);
      std::string where = "new message";
      if (event.id == E_oem_SMS_EVENT_NEW_AP_MSG) {
        uint32_t index = 0;
        int rc = vorn_sms_pal_ap_write_msg(pdu, static_cast<uint32_t>(length), SMS_STATUS_UNREAD, &index);
        where = rc == 0 ? "stored ap " + std::to_string(index) : "not stored (" + std::to_string(rc) + ")";
      }
      report_(where + ", " + describe(pdu, length));
      break;
    }
    case E_oem_SMS_EVENT_NEW_STORED_MSG: {
      sms_stored_event stored{};
      if (event.data.size() < sizeof stored) return;
      std::memcpy(&stored, event.data.data(), sizeof stored);
      sms_store_message record{};
      std::string line = std::string("stored ") + storage_name(stored.storage) + " " + std::to_string(stored.index);
      if (vorn_sms_pal_read_msg(static_cast<uint32_t>(stored.storage), static_cast<int32_t>(stored.index), &record) == 1)
        line += ", " + describe(record.sms_pdu_data, record.sms_pdu_len);
      report_(line);
      break;
    }
    case E_oem_SMS_EVENT_MEMORY_FULL: {
      uint32_t storage = 0;
      if (event.data.size() >= sizeof storage) std::memcpy(&storage, event.data.data(), sizeof storage);
      report_(std::string("memory full: ") + storage_name(static_cast<int32_t>(storage)));
      return;
    }
    case E_oem_SMS_EVENT_SERVICE_STATE: report_("service state changed"); return;
    case E_oem_SMS_EVENT_ETWS: report_("ETWS message"); return;
    default: return;
  }
  std::lock_guard<std::mutex> lock(mutex_);
  ++messages_;
}

}  // namespace ctl::sms
