// The marshalling of control calls between a client process and vornsimd:
// a call is its name and its arguments, its result the return value, each
// written in the order of the function's parameters. One template covers
// every call: numbers, enums and plain structures go as their bytes,
// texts and vectors with their length, and the few records with members
// of their own (Request, Counters) field by field.
#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <vornsim/sim.h>

namespace vornsim::codec {

using Bytes = std::vector<uint8_t>;

template <class T>
struct IsVector : std::false_type {};
template <class T>
struct IsVector<std::vector<T>> : std::true_type {};
template <class T>
struct IsPair : std::false_type {};
template <class A, class B>
struct IsPair<std::pair<A, B>> : std::true_type {};
template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};

class Writer {
 public:
  template <class T>
  void put(const T &value) {
    if constexpr (std::is_same_v<T, std::string> || IsVector<T>::value) {
      put(static_cast<uint32_t>(value.size()));
      if constexpr (std::is_same_v<T, std::string> || std::is_arithmetic_v<typename T::value_type>) {
        raw(value.data(), value.size() * sizeof(typename T::value_type));
      } else {
        for (const auto &item : value) put(item);
      }
    } else if constexpr (IsPair<T>::value) {
      put(value.first), put(value.second);
    } else if constexpr (IsOptional<T>::value) {
      put(static_cast<uint8_t>(value.has_value()));
      if (value) put(*value);
    } else if constexpr (std::is_pointer_v<T>) {
      put(static_cast<uint64_t>(reinterpret_cast<uintptr_t>(value)));
    } else if constexpr (std::is_same_v<T, Request>) {
      put(value.svc), put(value.msg_id), put(value.bytes), put(value.timeout_ms), put(value.async),
          put(value.client);
    } else if constexpr (std::is_same_v<T, Counters>) {
      put(value.clients_live), put(value.notifiers_live), put(value.releases_failed),
          put(value.signal_waits), put(value.xports), put(value.accessor_calls);
    } else {
      static_assert(std::is_trivially_copyable_v<T>, "no marshalling for this type");
      raw(&value, sizeof value);
    }
  }
  const Bytes &bytes() const { return out_; }

 private:
  void raw(const void *data, size_t len) {
    if (len == 0) return;
    const size_t at = out_.size();
    out_.resize(at + len);
    std::memcpy(out_.data() + at, data, len);
  }
  Bytes out_;
};

class Reader {
 public:
  Reader(const uint8_t *data, size_t len) : data_(data), len_(len) {}
  explicit Reader(const Bytes &bytes) : Reader(bytes.data(), bytes.size()) {}

  template <class T>
  void get(T &value) {
    if constexpr (std::is_same_v<T, std::string> || IsVector<T>::value) {
      uint32_t n = 0;
      get(n);
      // Each item takes at least one byte: a count beyond what is left is damage.
      if (!ok_ || n > len_ - pos_) return fail();
      value.clear();
      if constexpr (std::is_same_v<T, std::string>) {
        value.assign(reinterpret_cast<const char *>(data_ + pos_), n);
        pos_ += n;
      } else if constexpr (std::is_arithmetic_v<typename T::value_type>) {
        const size_t bytes = size_t{n} * sizeof(typename T::value_type);
        if (bytes > len_ - pos_) return fail();
        value.resize(n);
        if (bytes != 0) std::memcpy(value.data(), data_ + pos_, bytes);
        pos_ += bytes;
      } else {
        value.resize(n);
        for (auto &item : value) get(item);
      }
    } else if constexpr (IsPair<T>::value) {
      get(value.first), get(value.second);
    } else if constexpr (IsOptional<T>::value) {
      uint8_t present = 0;
      get(present);
      value.reset();
      if (present) {
        typename T::value_type item{};
        get(item);
        value = std::move(item);
      }
    } else if constexpr (std::is_pointer_v<T>) {
      uint64_t word = 0;
      get(word);
      value = reinterpret_cast<T>(static_cast<uintptr_t>(word));
    } else if constexpr (std::is_same_v<T, Request>) {
      get(value.svc), get(value.msg_id), get(value.bytes), get(value.timeout_ms), get(value.async),
          get(value.client);
    } else if constexpr (std::is_same_v<T, Counters>) {
      get(value.clients_live), get(value.notifiers_live), get(value.releases_failed),
          get(value.signal_waits), get(value.xports), get(value.accessor_calls);
    } else {
      static_assert(std::is_trivially_copyable_v<T>, "no marshalling for this type");
      if (!ok_ || data_ == nullptr || sizeof value > len_ - pos_) return fail();
      std::memcpy(&value, data_ + pos_, sizeof value);
      pos_ += sizeof value;
    }
  }
  // All read, nothing short and nothing left over.
  bool complete() const { return ok_ && pos_ == len_; }
  bool ok() const { return ok_; }

 private:
  void fail() { ok_ = false; }
  const uint8_t *data_;
  size_t len_;
  size_t pos_ = 0;
  bool ok_ = true;
};

// A call of fn as bytes: its name, then its arguments as fn declares them.
template <class R, class... A, class... Given>
Bytes encode_call(R (*)(A...), const char *name, Given &&...given) {
  static_assert(sizeof...(A) == sizeof...(Given), "a control call takes every argument");
  Writer w;
  w.put(std::string(name));
  (w.put(static_cast<std::decay_t<A>>(given)), ...);
  return w.bytes();
}

template <class R>
R decode_result(const Bytes &bytes, bool &ok) {
  if constexpr (std::is_void_v<R>) {
    ok = bytes.empty();
  } else {
    Reader r(bytes);
    R value{};
    r.get(value);
    ok = r.complete();
    return value;
  }
}

// The daemon's side: runs fn with the arguments read from `in`, writing its
// result; false when the arguments do not match what fn takes.
using Invoke = std::function<bool(Reader &in, Writer &out)>;

template <class R, class... A>
Invoke invoker(R (*fn)(A...)) {
  return [fn](Reader &in, Writer &out) {
    std::tuple<std::decay_t<A>...> args;
    std::apply([&in](auto &...arg) { (in.get(arg), ...); }, args);
    if (!in.complete()) return false;
    if constexpr (std::is_void_v<R>) {
      std::apply(fn, args);
    } else {
      out.put(std::apply(fn, args));
    }
    return true;
  };
}

}  // namespace vornsim::codec
