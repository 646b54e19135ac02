// The radio's settings and reports: the 3GPP release the modem announces
// per radio, the receive chains in use, carrier aggregation and the bands
// the modem has.
#include <string>

#include <vornpal/network.h>

#include "cmd_network.h"
#include "ctl.h"

namespace {

// Values of the release items, as the modem software names them.
constexpr const char *kLteReleases[] = {"C0", "D0"};
constexpr const char *kNrReleases[] = {"01", "02"};
constexpr uint32_t kUnread = 0xFFFFFFFF;

template <size_t N>
std::string release_text(const char *const (&texts)[N], uint32_t value) {
  if (value < N) return std::to_string(value) + " (" + texts[value] + ")";
  return "other";
}

int release(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 0 && args.size() != 2) return ctl::fail(out, "usage: network release [lte|nr 0|1]", 1);
  if (!netctl::start_m2m(out)) return 1;
  if (args.size() == 2) {
    long long value = 0;
    if ((args[0] != "lte" && args[0] != "nr") || !ctl::parse_number(args[1], value) || value < 0 || value > 1)
      return ctl::fail(out, "usage: network release [lte|nr 0|1]", 1);
    int rc = vorn_network_pal_set_release_version(args[0] == "lte" ? "LTE" : "NR", static_cast<uint32_t>(value));
    if (rc != 0) return ctl::fail(out, "the release item was not written", rc);
  }
  uint32_t lte = kUnread, nr = kUnread;
  int rc = vorn_network_pal_get_release_version(&lte, &nr);
  if (rc != 0) return ctl::fail(out, "the release items cannot be read", rc);
  out.field("lte", release_text(kLteReleases, lte));
  out.field("nr", release_text(kNrReleases, nr));
  return 0;
}

int umode(const ctl::Args &args, ctl::Output &out) {
  long long wanted = 0;
  if (args.size() > 1 || (args.size() == 1 && (!ctl::parse_number(args[0], wanted) ||
                                               (wanted != 0 && wanted != 2 && wanted != 4 && wanted != 8))))
    return ctl::fail(out, "usage: network umode [0|2|4|8]", 1);
  if (!netctl::start_m2m(out)) return 1;
  uint32_t chains = 0, rx_config = 0, feature_8rx = 0;
  vorn_network_pal_get_umode(&chains, &rx_config, &feature_8rx);
  if (args.size() == 1) {
    int rc = vorn_network_pal_swicth_umode(static_cast<uint32_t>(wanted), chains);
    if (rc != 0) return ctl::fail(out, "the receive chains were not switched", rc);
    chains = rx_config = feature_8rx = 0;
    vorn_network_pal_get_umode(&chains, &rx_config, &feature_8rx);
  }
  out.field("rx_chains", static_cast<long long>(chains));
  out.field("rx_config_item", rx_config != 0);
  out.field("feature_8rx_item", feature_8rx != 0);
  return 0;
}

const char *scell_state_name(uint32_t state) {
  static constexpr const char *kNames[] = {"deconfigured", "configured", "activated"};
  return state < 3 ? kNames[state] : "unknown";
}

int ca(const ctl::Args &args, ctl::Output &out) {
  if (!args.empty()) return ctl::fail(out, "usage: network ca", 1);
  if (!netctl::start_family(out)) return 1;
  vorn_network_cainfo info{};
  int rc = vorn_network_pal_get_lte_cainfo(&info);
  if (rc != 0) return ctl::fail(out, "the modem did not report carrier aggregation", rc);
  out.field("pcell_pci", static_cast<long long>(info.pcell_pci));
  out.field("pcell_channel", static_cast<long long>(info.pcell_freq));
  out.field("scells", static_cast<long long>(info.count));
  for (uint32_t i = 0; i < info.count && i < VORN_NETWORK_CA_SCELL_MAX; ++i) {
    const vorn_network_ca_scell &c = info.scell[i];
    out.field("scell" + std::to_string(i), "band " + std::to_string(c.band) + " channel " + std::to_string(c.freq) +
                                               " pci " + std::to_string(c.pci) + " " +
                                               scell_state_name(c.scell_state));
  }
  return 0;
}

// GSM by MHz, WCDMA by band, LTE and NR by the family's numbering, each as
// people write them.
std::string band_name(uint32_t band) {
  if (band == 850 || band == 900 || band == 1800 || band == 1900) return "gsm" + std::to_string(band);
  if (band < 100) return "w" + std::to_string(band);
  if (band < 500) return "b" + std::to_string(band - 100);
  if (band < 510) return "n" + std::to_string(band - 500);
  return "n" + std::to_string(band - 5000);
}

int caps(const ctl::Args &args, ctl::Output &out) {
  if (!args.empty()) return ctl::fail(out, "usage: network caps", 1);
  vorn_network_capabilities_info info{};
  info.band_request = 1;
  int rc = vorn_network_pal_get_capabilities_info(0, &info);
  if (rc != 0) return ctl::fail(out, "the band capabilities cannot be read", rc);
  std::string bands, numbers;
  for (uint32_t i = 0; i < info.band_list_len && i < VORN_NETWORK_CAP_BAND_MAX; ++i) {
    bands += (bands.empty() ? "" : ",") + band_name(info.band_list[i]);
    numbers += (numbers.empty() ? "" : ",") + std::to_string(info.band_list[i]);
  }
  out.field("bands", bands);
  out.field("band_numbers", numbers);
  return 0;
}

ctl::Registrar reg({
    {"network ca", "", "LTE carrier aggregation: the primary cell and the secondary cells", ca},
    {"network caps", "", "the bands the modem has", caps},
    {"network release", "[lte|nr 0|1]", "show or set the 3GPP release the modem announces", release},
    {"network umode", "[0|2|4|8]", "show or switch the receive chains in use", umode},
});

}  // namespace
