// An AT command through the library's AT client. Inside the sandbox no AT
// server runs unless one was started beside vornpalctl: then the tool
// serves the command itself from the simulated modem, in a thread.
#include <cstdlib>
#include <memory>
#include <string>

#include <vornpal/at.h>

#include "ctl.h"
#include "responder.h"

namespace {

// The responder's behaviour from the options before the command.
bool parse_mode(const ctl::Args &args, atr::Mode &mode, std::string &command) {
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string &arg = args[i];
    bool has_value = i + 1 < args.size();
    if (arg == "--echo") {
      mode.echo = true;
    } else if (arg == "--numeric") {
      mode.numeric = true;
    } else if (arg == "--silent") {
      mode.silent = true;
    } else if (arg == "--pieces" && has_value) {
      long long pieces = 0;
      if (!ctl::parse_number(args[++i], pieces) || pieces < 1 || pieces > 64) return false;
      mode.pieces = static_cast<int>(pieces);
    } else if (arg == "--delay" && has_value) {
      long long delay = 0;
      if (!ctl::parse_number(args[++i], delay) || delay < 0 || delay > 600000) return false;
      mode.delay_ms = static_cast<unsigned>(delay);
    } else if (command.empty() && arg.rfind("--", 0) != 0) {
      command = arg;
    } else {
      return false;
    }
  }
  return !command.empty();
}

// Line breaks made visible, for people.
std::string shown(const std::string &reply) {
  std::string text;
  for (char c : reply) text += c == '\r' ? "\\r" : c == '\n' ? "\\n" : std::string(1, c);
  return text;
}

int at(const ctl::Args &args, ctl::Output &out) {
  atr::Mode mode;
  std::string command;
  if (!parse_mode(args, mode, command))
    return ctl::fail(out, "usage: at [--echo] [--numeric] [--pieces N] [--delay MS] [--silent] COMMAND", 2);
  std::unique_ptr<atr::Responder> responder;
  if (!atr::port_taken()) {
    responder = std::make_unique<atr::Responder>(mode);
    if (!responder->start()) return ctl::fail(out, "cannot serve 127.0.0.1:5555", 1);
  }
  out.field("server", responder ? "vornpalctl (simulated modem)" : "already running");
  std::unique_ptr<char, decltype(&std::free)> reply(vorn_util_send_at(command.c_str()), &std::free);
  std::string text(reply.get());
  if (responder) out.field("sent", shown(responder->received().empty() ? "" : responder->received().front()));
  out.field("reply", out.json() ? text : shown(text));
  return 0;
}

ctl::Registrar reg({
    {"at", "[--echo] [--numeric] [--pieces N] [--delay MS] [--silent] COMMAND",
     "send an AT command (serves it from the simulated modem when no AT server runs)", at},
});

}  // namespace
