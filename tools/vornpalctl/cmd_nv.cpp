// NV items and EFS files of the modem: by path and by number. (What the
// simulated modem's store holds: "nv list" in cmd_modem.cpp.)
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <vornpal/m2m.h>

#include "ctl.h"

namespace {

using ctl::parse_hex;

bool parse_word(const std::string &text, uint32_t &word) {
  long long value = 0;
  if (!ctl::parse_number(text, value) || value < 0 || value > 0xFFFFFFFFLL) return false;
  word = static_cast<uint32_t>(value);
  return true;
}

// Printable items are shown as text too.
bool printable(const std::string &bytes) {
  for (unsigned char c : bytes)
    if ((c < 0x20 || c > 0x7E) && c != '\n' && c != '\t') return false;
  return true;
}

int nv_read(const ctl::Args &args, ctl::Output &out) {
  if (args.empty() || args.size() > 2 || (args.size() == 2 && args[1] != "--hex"))
    return ctl::fail(out, "usage: nv read PATH [--hex]", 2);
  bool hex = args.size() == 2;
  char data[2 * VORN_M2M_ITEM_MAX];
  uint32_t len = 0;
  int rc = vorn_m2m_pal_read_nv_by_path(args[0].c_str(), data, &len, hex ? 1 : 0);
  if (rc != 0) return ctl::fail(out, "cannot read " + args[0], rc);
  std::string item(data, len);
  out.field("path", args[0]);
  out.field("len", static_cast<unsigned>(hex ? len / 2 : len));
  out.field("hex", hex ? item : ctl::hex(item.data(), item.size()));
  if (!hex && printable(item)) out.field("text", item);
  return 0;
}

int nv_write(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 3 || (args[1] != "--hex" && args[1] != "--file"))
    return ctl::fail(out, "usage: nv write PATH (--hex HEX | --file F)", 2);
  std::string data;
  if (args[1] == "--hex") {
    if (!parse_hex(args[2], data)) return ctl::fail(out, "not hexadecimal: " + args[2], 2);
  } else {
    std::ifstream in(args[2], std::ios::binary);
    if (!in) return ctl::fail(out, "cannot open " + args[2], 2);
    std::ostringstream content;
    content << in.rdbuf();
    data = content.str();
  }
  // The library aborts on an oversized item: refuse it here instead.
  if (data.size() > VORN_M2M_ITEM_MAX)
    return ctl::fail(out, "an item holds at most 500 bytes", 2);
  int rc = vorn_m2m_pal_write_nv_by_path(args[0].c_str(), data.data(),
                                         static_cast<uint32_t>(data.size()));
  if (rc != 0) return ctl::fail(out, "cannot write " + args[0], rc);
  out.field("path", args[0]);
  out.field("len", static_cast<unsigned>(data.size()));
  return 0;
}

int nv_rename(const ctl::Args &args, ctl::Output &out) {
  if (args.size() != 2) return ctl::fail(out, "usage: nv rename OLD NEW", 2);
  for (const auto &path : args)
    if (path.size() >= VORN_M2M_PATH_MAX) return ctl::fail(out, "path too long: " + path, 2);
  if (vorn_m2m_pal_early_init() != 0) return ctl::fail(out, "no M2M client", -1);
  int rc = vorn_m2m_pal_efs_rename(args[0].c_str(), args[1].c_str());
  if (rc != 0) return ctl::fail(out, "rename failed", rc);
  // The modem's refusal does not come back through the library: look.
  char probe[VORN_M2M_ITEM_MAX];
  uint32_t len = 0;
  bool old_gone = vorn_m2m_pal_read_nv_by_path(args[0].c_str(), probe, &len, 0) != 0;
  bool new_there = vorn_m2m_pal_read_nv_by_path(args[1].c_str(), probe, &len, 0) == 0;
  out.field("from", args[0]);
  out.field("to", args[1]);
  out.field("moved", old_gone && new_there);
  return 0;
}

int nv_read_id(const ctl::Args &args, ctl::Output &out) {
  uint32_t word0 = 0, word1 = 0;
  if (args.size() < 2 || !parse_word(args[0], word0) || !parse_word(args[1], word1))
    return ctl::fail(out, "usage: nv read-id WORD0 WORD1 [--text]", 2);
  bool text = args.size() == 3 && args[2] == "--text";
  if (vorn_m2m_pal_early_init() != 0) return ctl::fail(out, "no M2M client", -1);
  char buffer[2 * VORN_M2M_NVID_ITEM_MAX + 1] = {};
  int rc = text ? vorn_m2m_pal_read_nvstr_by_nvid(word0, word1, buffer)
                : vorn_m2m_pal_read_nv_by_nvid(word0, word1, reinterpret_cast<uint8_t *>(buffer));
  if (rc != 0) return ctl::fail(out, "cannot read the item", rc);
  out.field("word0", static_cast<long long>(word0));
  out.field("word1", static_cast<long long>(word1));
  out.field(text ? "text" : "hex", std::string(buffer));
  return 0;
}

int nv_write_id(const ctl::Args &args, ctl::Output &out) {
  uint32_t word0 = 0, word1 = 0;
  std::string data;
  if (args.size() != 3 || !parse_word(args[0], word0) || !parse_word(args[1], word1) ||
      !parse_hex(args[2], data))
    return ctl::fail(out, "usage: nv write-id WORD0 WORD1 HEX", 2);
  if (data.empty() || data.size() > VORN_M2M_NVID_ITEM_MAX)
    return ctl::fail(out, "an item by number holds 1 to 128 bytes", 2);
  if (vorn_m2m_pal_early_init() != 0) return ctl::fail(out, "no M2M client", -1);
  int rc = vorn_m2m_pal_write_nv_by_nvid(word0, word1, reinterpret_cast<const uint8_t *>(data.data()),
                                         static_cast<uint32_t>(data.size()));
  if (rc != 0) return ctl::fail(out, "cannot write the item", rc);
  out.field("len", static_cast<unsigned>(data.size()));
  return 0;
}

ctl::Registrar reg({
    {"nv read", "PATH [--hex]", "read an NV item or EFS file", nv_read,
     "nv read /nv/item_files/odm/x --hex"},
    {"nv write", "PATH (--hex HEX | --file F)", "write an NV item or EFS file (500 bytes at most)",
     nv_write,
     "nv write /nv/item_files/odm/x --hex 0102\nnv write /nv/item_files/odm/cfg --file cfg.bin"},
    {"nv rename", "OLD NEW", "rename an EFS file (NEW = OLD_del deletes it)", nv_rename,
     "nv rename /nv/item_files/odm/x /nv/item_files/odm/y"},
    {"nv read-id", "WORD0 WORD1 [--text]", "read an NV item by number (simulator: WORD1 0)",
     nv_read_id, "nv read-id 550 0"},
    {"nv write-id", "WORD0 WORD1 HEX", "write an NV item by number (simulator: WORD1 1)",
     nv_write_id, "nv write-id 550 1 0102"},
});

}  // namespace
