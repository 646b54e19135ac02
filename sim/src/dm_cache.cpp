// The framework's data cache of the simulated platform: words by key, the
// active SIM slot (SIM1) set from the factory.
#include <cstring>
#include <map>

#include <vornpal/platform/dm_cache.h>
#include <vornsim/dm_cache.h>

#include "remote.h"
#include "service_module.h"

namespace vornsim {
namespace {

struct State {
  std::map<uint32_t, uint32_t> words = {{kActiveSimSlotKey, 0}};
  template <class Visit>
  void values(Visit &&visit) {
    visit("words", words);
  }
};

std::mutex cache_mutex;
State cache;

// The cache keeps no handlers; it is a module for its reset and saved state.
struct CacheModule {
  CacheModule() {
    register_module(Module{"dm_cache",
                           [] {
                             std::lock_guard<std::mutex> lock(cache_mutex);
                             cache = State{};
                           },
                           [](const std::string &dir) {
                             std::lock_guard<std::mutex> lock(cache_mutex);
                             saved::save(dir + "/dm_cache", [](auto &&visit) { cache.values(visit); });
                           },
                           [](const std::string &dir) {
                             if (!std::ifstream(dir + "/dm_cache")) return;
                             State loaded;
                             loaded.words.clear();
                             saved::load(dir + "/dm_cache", [&loaded](auto &&visit) { loaded.values(visit); });
                             std::lock_guard<std::mutex> lock(cache_mutex);
                             cache = loaded;
                           }});
  }
} module;

}  // namespace

void set_dm_cache_word(uint32_t key, uint32_t value) {
  VORNSIM_REMOTE(set_dm_cache_word, key, value);
  std::lock_guard<std::mutex> lock(cache_mutex);
  cache.words[key] = value;
}

void clear_dm_cache_word(uint32_t key) {
  VORNSIM_REMOTE(clear_dm_cache_word, key);
  std::lock_guard<std::mutex> lock(cache_mutex);
  cache.words.erase(key);
}

std::optional<uint32_t> dm_cache_word(uint32_t key) {
  VORNSIM_REMOTE(dm_cache_word, key);
  std::lock_guard<std::mutex> lock(cache_mutex);
  auto word = cache.words.find(key);
  if (word == cache.words.end()) return std::nullopt;
  return word->second;
}

}  // namespace vornsim

extern "C" __attribute__((visibility("default"))) int vorn_dm_cache_read(uint32_t key, void *buffer,
                                                                         uint32_t length) {
  std::optional<uint32_t> word = vornsim::dm_cache_word(key);
  if (!word || buffer == nullptr) return -1;
  std::memcpy(buffer, &*word, length < sizeof *word ? length : sizeof *word);
  return 0;
}
