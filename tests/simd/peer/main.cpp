// simd_peer: a daemon of the device in miniature, linked with libvornpal and
// the simulated platform, for the tests of the modem daemon: the test runs
// several at once against one vornsimd (VORNSIM_SOCKET). It takes one
// command a line on standard input and answers "ok <result>" on standard
// output; the events its callbacks get come out as they arrive:
//   "event data <id> <profile> <state>"   "event sms <id> <bytes>"
//
//   data-init | connect N | connected N | disconnect N | sms-init
//   raw-init SVC | raw-send MSG TIMEOUT_MS | dm-get KEY | dm-set KEY VALUE
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include <vornpal/data.h>
#include <vornpal/platform/qmi_client.h>
#include <vornpal/sms.h>
#include <vornsim/dm_cache.h>
#include <vornsim/sim.h>

extern "C" {
qmi_idl_service_object_type dms_get_service_object_internal_v01(int32_t, int32_t, int32_t);
qmi_idl_service_object_type vorn_m2m_get_service_object_internal_v01(int32_t, int32_t, int32_t);
}

namespace {

std::mutex print_mutex;

void say(const std::string &line) {
  std::lock_guard<std::mutex> lock(print_mutex);
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

void on_data(int id, void *data, int size, void *) {
  data_status_event status{};
  if (id == VORN_DATA_EVENT_CALL_STATUS && data != nullptr && size >= static_cast<int>(sizeof status))
    std::memcpy(&status, data, sizeof status);
  say("event data " + std::to_string(id) + " " + std::to_string(status.profileIndex) + " " +
      std::to_string(status.data_state));
}

void on_sms(int id, void *, int size, void *) {
  say("event sms " + std::to_string(id) + " " + std::to_string(size));
}

qmi_client_type raw_client = nullptr;

int raw_init(const std::string &svc) {
  qmi_idl_service_object_type object = svc == "DMS" ? dms_get_service_object_internal_v01(1, 1, 6)
                                                    : vorn_m2m_get_service_object_internal_v01(1, 1, 6);
  qmi_client_os_params os{};
  return qmi_client_init_instance(object, QMI_CLIENT_INSTANCE_ANY, nullptr, nullptr, &os, 5000, &raw_client);
}

int raw_send(unsigned msg, unsigned timeout_ms) {
  uint8_t req[8] = {};
  uint8_t resp[64] = {};
  return qmi_client_send_msg_sync(raw_client, msg, req, sizeof req, resp, sizeof resp, timeout_ms);
}

std::string run(const std::string &line) {
  std::istringstream in(line);
  std::string command;
  in >> command;
  long a = 0, b = 0;
  if (command == "data-init") {
    int rc = vorn_data_pal_init();
    vorn_data_pal_event_register(on_data, nullptr);
    return std::to_string(rc);
  }
  if (command == "connect" && in >> a) return std::to_string(vorn_data_pal_connect(static_cast<int>(a)));
  if (command == "connected" && in >> a) return std::to_string(vorn_data_pal_is_connected(static_cast<int>(a), 2));
  if (command == "disconnect" && in >> a) return std::to_string(vorn_data_pal_disconnect(static_cast<int>(a)));
  if (command == "sms-init") {
    int rc = vorn_sms_pal_init();
    vorn_sms_pal_event_register(on_sms, nullptr);
    return std::to_string(rc);
  }
  std::string svc;
  if (command == "raw-init" && in >> svc) return std::to_string(raw_init(svc));
  if (command == "raw-send" && in >> a >> b) {
    say("sending");
    return std::to_string(raw_send(static_cast<unsigned>(a), static_cast<unsigned>(b)));
  }
  if (command == "dm-set" && in >> a >> b) {
    vornsim::set_dm_cache_word(static_cast<uint32_t>(a), static_cast<uint32_t>(b));
    return "0";
  }
  if (command == "dm-get" && in >> a) {
    auto word = vornsim::dm_cache_word(static_cast<uint32_t>(a));
    return word ? std::to_string(*word) : "none";
  }
  return "unknown command";
}

}  // namespace

int main() {
  std::string line;
  while (std::getline(std::cin, line)) {
    if (line == "exit") break;
    const std::string result = run(line);
    say("ok " + result);
  }
  return 0;
}
