// Identity and product queries of the M2M service.
#include <string>

#include <vornpal/m2m.h>

#include "ctl.h"

namespace {

// A text query whose buffer must take the whole field.
template <int (*Query)(char *), size_t Capacity>
int text_query(const char *name, ctl::Output &out) {
  char text[Capacity + 1] = {};
  int rc = Query(text);
  if (rc != 0) return ctl::fail(out, std::string("cannot read the ") + name, rc);
  out.field(name, std::string(text));
  return 0;
}

int manufacturer(const ctl::Args &, ctl::Output &out) {
  return text_query<vorn_m2m_pal_get_manufacturer, 128>("manufacturer", out);
}
int model(const ctl::Args &, ctl::Output &out) {
  return text_query<vorn_m2m_pal_get_model, 32>("model", out);
}
int hw_version(const ctl::Args &, ctl::Output &out) {
  return text_query<vorn_m2m_pal_get_hw_version, 64>("hw_version", out);
}
int project_name(const ctl::Args &, ctl::Output &out) {
  return text_query<vorn_m2m_pal_get_project_name, 64>("project_name", out);
}

int sub_versions(const ctl::Args &, ctl::Output &out) {
  char modem[65] = {}, cefs[65] = {};
  int rc = vorn_m2m_pal_get_sub_ver(modem, 64, cefs, 64);
  if (rc != 0) return ctl::fail(out, "cannot read the sub-versions", rc);
  out.field("modem", std::string(modem));
  out.field("cefs", std::string(cefs));
  return 0;
}

int clock(const ctl::Args &, ctl::Output &out) {
  char text[32] = {};
  int rc = vorn_m2m_pal_get_cclk_time(text, sizeof text);
  if (rc != 0) return ctl::fail(out, "cannot read the clock", rc);
  out.field("clock", std::string(text));
  return 0;
}

int cfun(const ctl::Args &args, ctl::Output &out) {
  if (!args.empty()) {
    long long mode = 0;
    if (!ctl::number_arg(args, 0, 0, 255, mode))
      return ctl::fail(out, "not a mode: " + args[0], 2);
    int rc = vorn_m2m_pal_set_cfun_mode(static_cast<uint8_t>(mode));
    if (rc != 0) return ctl::fail(out, "the modem refused mode " + args[0], rc);
  }
  uint8_t mode = 0;
  int rc = vorn_m2m_pal_get_cfun_mode(&mode);
  if (rc != 0) return ctl::fail(out, "cannot read the mode", rc);
  out.field("cfun", static_cast<unsigned>(mode));
  return 0;
}

int serial(const ctl::Args &, ctl::Output &out) {
  char text[37] = {};
  int rc = vorn_m2m_pal_get_fsn(text, 36);
  if (rc != 0) return ctl::fail(out, "cannot read the serial number", rc);
  out.field("fsn", std::string(text));
  return 0;
}

ctl::Registrar reg({
    {"m2m manufacturer", "", "the module's maker", manufacturer, "m2m manufacturer"},
    {"m2m model", "", "the module's model", model, "m2m model"},
    {"m2m hw-version", "", "the hardware version", hw_version, "m2m hw-version"},
    {"m2m project-name", "", "the project name", project_name, "m2m project-name"},
    {"m2m sub-versions", "", "modem and EFS sub-versions", sub_versions, "m2m sub-versions"},
    {"m2m clock", "", "the modem's clock", clock, "m2m clock"},
    {"m2m cfun", "[MODE]", "show or set the functionality level (0, 1, 4)", cfun,
     "m2m cfun\nm2m cfun 4"},
    {"m2m serial", "", "the factory serial number", serial, "m2m serial"},
});

}  // namespace
