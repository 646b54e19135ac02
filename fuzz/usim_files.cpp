// libFuzzer: the card's file decoders through vorn_usim_pal_get_usim_info,
// with the simulated card holding whatever the input says.
//   input[0]: the type (0 for every file at once, 1 to 11 one file)
//   input[1]: the MNC length of the administrative data
//   the rest: the file's content (record 1 for the record files)
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include <vornpal/log.h>
#include <vornpal/usim.h>
#include <vornsim/sim.h>
#include <vornsim/uim.h>

#include "sandbox_check.h"

namespace {

namespace card = vornsim::uim;

struct FileOfType {
  uint16_t id;
  bool record;
};
// By type, 1 to 11.
constexpr FileOfType kFiles[] = {{0, false},      {0x2FE2, false}, {0x6F07, false}, {0x6F07, false},
                                 {0x6F44, true},  {0x6F46, false}, {0x6F05, false}, {0x6FAD, false},
                                 {0x6F38, false}, {0x6F3E, false}, {0x6F3F, false}, {0x6FC5, true}};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  require_sandbox();
  setenv("VORNPAL_TIME_SCALE", "100", 0);
  vornsim::reset();  // the modem's services with their handlers and cards
  vorn_set_log_level(4);  // failures log at level 3: keep the runs quiet
  vornsim::set_diag_record(false);
  if (vorn_usim_pal_init() != 0) std::abort();
  usim_state_record state{};
  usim_info_record info{};
  if (vorn_usim_pal_get_usim_state(&state) != 0 ||
      vorn_usim_pal_get_usim_info(E_OEM_USIM_SIMINFO_TYPE_ICCID, &info) != 0)
    std::abort();  // a harness that reads nothing fuzzes nothing
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 2 || size > 600) return 0;
  const int type = data[0] % 12;
  std::vector<uint8_t> content(data + 2, data + size);
  card::set_file(card::kUsimSlot, 0x6FAD, {0, 0, 0, data[1]});
  const int targets[] = {type};
  for (int t : type == 0 ? std::vector<int>{1, 2, 4, 5, 6, 8, 9, 10, 11} : std::vector<int>(targets, targets + 1)) {
    if (kFiles[t].record) {
      card::set_records(card::kUsimSlot, kFiles[t].id, {content});
    } else if (t != 7) {
      card::set_file(card::kUsimSlot, kFiles[t].id, content);
    }
  }
  // A record as long as the caller's, never longer: a write past it is a
  // sanitizer error.
  auto info = std::make_unique<usim_info_record>();
  vorn_usim_pal_get_usim_info(type == 0 ? E_OEM_USIM_SIMINFO_TYPE_ALL : type, info.get());
  char imsi[32] = {};
  vorn_usim_pal_get_imsi(imsi, sizeof imsi - 1);
  char cnum[64] = {};
  oem_usim_pal_cnum_get(cnum);
  return 0;
}
