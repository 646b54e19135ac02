// Settings files: read, change and list them as the library does.
#include <vornpal/ini.h>

#include <string>

#include "ctl.h"

namespace {

int ini_get(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 3) return ctl::fail(out, "usage: ini get FILE SECTION KEY", 2);
  char value[INI_BUFFERSIZE];
  // A value cannot hold a newline, so one marks "not found".
  ini_gets(args[1].c_str(), args[2].c_str(), "\n", value, sizeof value, args[0].c_str());
  if (std::string(value) == "\n") return ctl::fail(out, "no key " + args[2], 1);
  out.field("value", value);
  return 0;
}

int ini_set(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 4) return ctl::fail(out, "usage: ini set FILE SECTION KEY VALUE", 2);
  if (ini_puts(args[1].c_str(), args[2].c_str(), args[3].c_str(), args[0].c_str()) == 0)
    return ctl::fail(out, "cannot write " + args[0], 1);
  out.field("value", args[3]);
  return 0;
}

int ini_delete(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 2 && args.size() != 3)
    return ctl::fail(out, "usage: ini delete FILE SECTION [KEY]", 2);
  const char *key = args.size() == 3 ? args[2].c_str() : nullptr;
  if (ini_puts(args[1].c_str(), key, nullptr, args[0].c_str()) == 0)
    return ctl::fail(out, "cannot write " + args[0], 1);
  out.field("deleted", args.size() == 3 ? args[1] + "." + args[2] : args[1]);
  return 0;
}

int ini_list(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 1) return ctl::fail(out, "usage: ini list FILE", 2);
  int readable = ini_browse(
      [](const char *section, const char *key, const char *value, void *data) {
        std::string where = section[0] != '\0' ? std::string("[") + section + "] " : "";
        static_cast<ctl::Output *>(data)->line(where + key + "=" + value);
        return 1;
      },
      &out, args[0].c_str());
  return readable ? 0 : ctl::fail(out, "cannot read " + args[0], 1);
}

ctl::Registrar reg({
    {"ini get", "FILE SECTION KEY", "read a value of a settings file", ini_get,
     "ini get /data/app.ini network apn"},
    {"ini set", "FILE SECTION KEY VALUE", "write a value into a settings file", ini_set,
     "ini set /data/app.ini network apn internet"},
    {"ini delete", "FILE SECTION [KEY]", "remove a key, or a whole section", ini_delete,
     "ini delete /data/app.ini network apn"},
    {"ini list", "FILE", "print every key of a settings file", ini_list, "ini list /data/app.ini"},
});

}  // namespace
