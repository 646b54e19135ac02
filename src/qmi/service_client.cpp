// Start, guard, release and indication dispatch of a family's QMI client.
#include "qmi/service_client.h"

#include <cstdlib>

#include "foundation/log_site.h"

namespace vorn::qmi {
namespace {

// The record and its `registered` flag are read without a lock by every
// request of the family, so both are accessed atomically.
bool is_registered(const vorn_qmi_client *record) {
  return record != nullptr && __atomic_load_n(&record->registered, __ATOMIC_ACQUIRE) == 1;
}

}  // namespace

// Makes and registers the record under the start mutex; on failure the
// record, for the caller to free once the mutex is released.
vorn_qmi_client *ServiceClient::start_locked(int &result) {
  const ClientTexts &texts = setup_.texts;
  result = -1;
  auto *record = static_cast<vorn_qmi_client *>(std::calloc(1, sizeof(vorn_qmi_client)));
  if (record == nullptr) {
    VORN_LOG_AS(texts.start_name, VORN_ERR, "%s", texts.no_memory);
    return nullptr;
  }
  record_.store(record, std::memory_order_release);
  record->ind_cb = setup_.indication_callback;
  record->ind_cb_data = nullptr;
  record->service_object = service_object(setup_.service);
  if (record->service_object == nullptr) {
    VORN_LOG_AS(texts.start_name, VORN_ERR, "%s", texts.no_service_object);
    return record;
  }
  if (texts.object_found.text != nullptr)
    VORN_LOG_AS(texts.start_name, texts.object_found.level, "%s", texts.object_found.text);
  record->handle = nullptr;
  if (setup_.register_client(record) != 0) {
    if (texts.register_failed != nullptr)
      VORN_LOG_AS(texts.start_name, VORN_ERR, "%s", texts.register_failed);
    return record;
  }
  __atomic_store_n(&record->registered, 1u, __ATOMIC_RELEASE);
  if (setup_.on_registered != nullptr) setup_.on_registered();
  result = 0;
  return nullptr;
}

int ServiceClient::start() {
  vorn_qmi_client *failed = nullptr;
  int result = 0;
  {
    std::lock_guard<std::mutex> lock(start_mutex_);
    if (ready()) {
      const LogText &already = setup_.texts.already_started;
      if (already.text != nullptr) VORN_LOG_AS(setup_.texts.start_name, already.level, "%s", already.text);
      return 0;
    }
    failed = start_locked(result);
    // A failed record leaves the published pointer before the next starter
    // can get the mutex, so that it never frees that starter's record.
    if (failed != nullptr) {
      vorn_qmi_unregister(failed);
      record_.store(nullptr, std::memory_order_release);
    }
  }
  std::free(failed);
  return result;
}

int ServiceClient::release() {
  vorn_qmi_client *record = nullptr;
  {
    std::lock_guard<std::mutex> lock(start_mutex_);
    record = record_.exchange(nullptr, std::memory_order_acq_rel);
  }
  if (record == nullptr) {
    const LogText &none = setup_.texts.nothing_to_release;
    if (none.text != nullptr) VORN_LOG_AS(setup_.texts.release_name, none.level, "%s", none.text);
    return -1;
  }
  vorn_qmi_unregister(record);
  std::free(record);
  return 0;
}

bool ServiceClient::ready() const {
  return is_registered(record_.load(std::memory_order_acquire));
}

qmi_client_type ServiceClient::handle() const {
  vorn_qmi_client *record = record_.load(std::memory_order_acquire);
  return is_registered(record) ? record->handle : nullptr;
}

std::optional<qmi_client_type> ServiceClient::pass(Guard guard) {
  switch (guard) {
    case Guard::LazyStart:
      if (!ready()) {
        start();
        if (!ready()) return std::nullopt;
      }
      break;
    case Guard::LazyStartNoSecondLook:
      if (!ready()) start();
      break;
    case Guard::FailAtOnce:
      if (!ready()) return std::nullopt;
      break;
    case Guard::None:
      break;
  }
  // Without a registered client this is null, and the request fails as one
  // to an unknown client.
  return handle();
}

void ServiceClient::dispatch(qmi_client_type handle, unsigned msg_id, const void *buf,
                             unsigned len) const {
  const ClientTexts &texts = setup_.texts;
  const char *name = texts.indication_name;
  if (texts.indication_received.text != nullptr)
    VORN_LOG_AS(name, texts.indication_received.level, texts.indication_received.text,
                static_cast<int>(msg_id), static_cast<int>(len));
  const IndicationEntry *entry = nullptr;
  for (size_t i = 0; i < setup_.indication_count; ++i)
    if (setup_.indications[i].msg_id == msg_id) entry = &setup_.indications[i];
  if (entry == nullptr) {
    if (texts.indication_unknown.text != nullptr)
      VORN_LOG_AS(name, texts.indication_unknown.level, "%s", texts.indication_unknown.text);
    return;
  }
  if (len == 0 && texts.indication_empty.text != nullptr) {
    VORN_LOG_AS(name, texts.indication_empty.level, "%s", texts.indication_empty.text);
    return;
  }
  if (entry->announce != nullptr) VORN_LOG_AS(name, VORN_INFO, "%s", entry->announce);
  // The decoded structures can be far too large for the QMI thread's stack
  // on the target.
  Decoded decoded(std::calloc(1, entry->decoded_size), entry->decoded_size);
  if (decoded.data() == nullptr) return;
  int rc = qmi_client_message_decode(handle, QMI_IDL_INDICATION, msg_id, buf, len, decoded.data(),
                                     static_cast<unsigned>(entry->decoded_size));
  if (rc != QMI_NO_ERR) {
    if (entry->decode_failed != nullptr) {
      if (entry->decode_failed[0] != '\0') VORN_LOG_AS(name, VORN_ERR, entry->decode_failed, rc);
    } else {
      VORN_LOG_AS(name, VORN_ERR, "Error in decoding %s, error = %i\n", entry->decode_name, rc);
    }
    if (entry->on_decode_failure != nullptr) entry->on_decode_failure();
    return;
  }
  entry->handle(decoded);
}

}  // namespace vorn::qmi
