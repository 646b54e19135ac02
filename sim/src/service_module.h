// What every service module of the simulated modem (sim/src/<service>.cpp)
// is made of: its state under one mutex, its handlers registered through
// the library's message table, its reset to the factory state, and its
// state saved to and loaded from a directory in the one format below, so
// that several processes (vornpalctl runs) can share one modem in turn.
//
// A module reads:
//
//   struct State {
//     std::string imei = "861234050000011";
//     uint32_t cfun = 1;
//     std::map<std::string, Bytes> efs;
//     template <class Visit> void values(Visit &&visit) {   // what is saved
//       visit("imei", imei);
//       visit("cfun", cfun);
//       visit("efs", efs);
//     }
//   };
//   void install(ServiceModule<State> &m) {
//     m.serve<vorn::m2m::GetCfun>([](State &s, const auto &, auto &resp) { resp.cfun = s.cfun; });
//   }
//   ServiceModule<State> module("m2m", Svc::M2M, [] { return State{}; }, install);
//
// The saved form is a file <dir>/<module name>, one line a value:
//   <name> <number>          integers in decimal
//   <name> <hex>             texts and bytes, "-" when empty
//   <name> <n> <n> ...       fixed arrays of integers
//   <name> <key> <hex>       one line per entry of a map (keys: integers, or texts in hex)
// A line that names nothing is skipped and a missing file keeps the state as
// it is, so a damaged store loads what it can.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include <vornpal/platform/common_v01.h>
#include <vornsim/sim.h>

namespace vornsim {

using Bytes = std::vector<uint8_t>;

// ---- fields of the service structures -------------------------------------

template <class Resp>
void refuse_with(Resp &resp, qmi_error_type_v01 error) {
  resp.resp.result = QMI_RESULT_FAILURE_V01;
  resp.resp.error = error;
}

// The text of a fixed field, which need not be terminated.
template <size_t N>
std::string field_text(const char (&field)[N]) {
  return std::string(field, strnlen(field, N));
}

// A text into a fixed field, cut so that the terminator fits.
template <size_t N>
void put_text(char (&field)[N], const std::string &text) {
  size_t len = std::min(text.size(), N - 1);
  std::memcpy(field, text.data(), len);
  field[len] = '\0';
}

// ---- the saved form ---------------------------------------------------------

namespace saved {

inline std::string hex(const void *data, size_t len) {
  static constexpr char kDigits[] = "0123456789abcdef";
  const auto *bytes = static_cast<const uint8_t *>(data);
  std::string out = len == 0 ? "-" : "";
  for (size_t i = 0; i < len; ++i) {
    out += kDigits[bytes[i] >> 4];
    out += kDigits[bytes[i] & 15];
  }
  return out;
}

inline Bytes unhex(const std::string &text) {
  Bytes out;
  if (text == "-") return out;
  for (size_t i = 0; i + 1 < text.size(); i += 2) {
    char pair[3] = {text[i], text[i + 1], '\0'};
    out.push_back(static_cast<uint8_t>(std::strtoul(pair, nullptr, 16)));
  }
  return out;
}

template <class T>
struct IsArray : std::false_type {};
template <class T, size_t N>
struct IsArray<std::array<T, N>> : std::true_type {};
template <class T>
struct IsMap : std::false_type {};
template <class K, class V>
struct IsMap<std::map<K, V>> : std::true_type {};

// One token of a text, bytes or integer.
template <class T>
std::string token(const T &value) {
  if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, Bytes>) {
    return hex(value.data(), value.size());
  } else if constexpr (std::is_unsigned_v<T>) {
    return std::to_string(static_cast<unsigned long long>(value));
  } else {
    return std::to_string(static_cast<long long>(value));
  }
}

template <class T>
void from_token(const std::string &text, T &value) {
  if constexpr (std::is_same_v<T, std::string>) {
    Bytes bytes = unhex(text);
    value.assign(bytes.begin(), bytes.end());
  } else if constexpr (std::is_same_v<T, Bytes>) {
    Bytes bytes = unhex(text);
    // A value of fixed size (a structure's bytes) keeps its size.
    if (value.empty() || bytes.size() == value.size()) value = bytes;
  } else if constexpr (std::is_unsigned_v<T>) {
    value = static_cast<T>(std::strtoull(text.c_str(), nullptr, 10));
  } else {
    value = static_cast<T>(std::strtoll(text.c_str(), nullptr, 10));
  }
}

// Writes one named value: a line, or a line per entry of a map.
struct Writer {
  std::ostream &out;
  template <class T>
  void operator()(const char *name, const T &value) {
    if constexpr (IsMap<T>::value) {
      for (const auto &[key, entry] : value) out << name << ' ' << token(key) << ' ' << token(entry) << '\n';
    } else if constexpr (IsArray<T>::value) {
      out << name;
      for (const auto &word : value) out << ' ' << token(word);
      out << '\n';
    } else {
      out << name << ' ' << token(value) << '\n';
    }
  }
};

// Reads the rest of a line into the value it names.
struct Reader {
  const std::string &wanted;
  std::istringstream &line;
  template <class T>
  void operator()(const char *name, T &value) {
    if (wanted != name) return;
    std::string text;
    if constexpr (IsMap<T>::value) {
      std::string key_text;
      if (!(line >> key_text >> text)) return;
      typename T::key_type key{};
      from_token(key_text, key);
      from_token(text, value[key]);
    } else if constexpr (IsArray<T>::value) {
      for (auto &word : value)
        if (line >> text) from_token(text, word);
    } else if (line >> text) {
      from_token(text, value);
    }
  }
};

// `values` is called with a visitor: values(visit) calls visit(name, value)
// for every value that is saved.
template <class Values>
void save(const std::string &path, Values &&values) {
  std::ofstream out(path, std::ios::trunc);
  if (!out) return;
  values(Writer{out});
}

template <class Values>
void load(const std::string &path, Values &&values) {
  std::ifstream in(path);
  std::string text;
  while (std::getline(in, text)) {
    std::istringstream line(text);
    std::string name;
    if (line >> name) values(Reader{name, line});
  }
}

}  // namespace saved

// ---- indications -------------------------------------------------------------

// An indication of fewer bytes than `bytes` fails to decode, as one that
// lacks a mandatory field does on the platform (QMI_IDL_LIB_MISSING_TLV).
void require_indication_bytes(Svc svc, unsigned msg_id, size_t bytes);

// ---- the module -------------------------------------------------------------

template <class State>
class ServiceModule {
 public:
  ServiceModule(const char *name, Svc svc, State (*factory)(), void (*install)(ServiceModule &))
      : name_(name), svc_(svc), factory_(factory), install_(install) {
    register_module(Module{name, [this] { reset(); },
                           [this](const std::string &dir) { save(dir); },
                           [this](const std::string &dir) { load(dir); }});
  }
  ServiceModule(const ServiceModule &) = delete;
  ServiceModule &operator=(const ServiceModule &) = delete;

  // Runs fn(state) under the state's mutex, for work outside a request: the
  // module's control API and the events of the simulated network.
  template <class Fn>
  auto with_state(Fn fn) {
    std::lock_guard<std::mutex> lock(mutex_);
    return fn(state_);
  }

  // Answers message Msg of the library's table: fn(state, request, response)
  // runs under the state's mutex (handlers run on the clients' threads,
  // several at once). The response starts zeroed; refuse_with() refuses.
  template <class Msg, class Fn>
  void serve(Fn fn) {
    using Req = typename Msg::Req;
    using Resp = typename Msg::Resp;
    on(svc_, Msg::id, typed<Req, Resp>([this, fn](const Req &req, Resp &resp) {
         std::lock_guard<std::mutex> lock(mutex_);
         fn(state_, req, resp);
       }));
  }

 private:
  void reset() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      state_ = factory_();
    }
    install_(*this);
  }
  std::string file(const std::string &dir) const { return dir + "/" + name_; }
  void save(const std::string &dir) {
    std::lock_guard<std::mutex> lock(mutex_);
    saved::save(file(dir), [this](auto &&visit) { state_.values(visit); });
  }
  void load(const std::string &dir) {
    if (!std::ifstream(file(dir))) return;  // a modem never saved keeps its factory state
    State loaded;
    saved::load(file(dir), [&loaded](auto &&visit) { loaded.values(visit); });
    std::lock_guard<std::mutex> lock(mutex_);
    state_ = std::move(loaded);
  }

  const char *name_;
  Svc svc_;
  State (*factory_)();
  void (*install_)(ServiceModule &);
  std::mutex mutex_;
  State state_;
};

}  // namespace vornsim
