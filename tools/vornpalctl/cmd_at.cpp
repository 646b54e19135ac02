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
    if (auto taken = atr::take_mode_option(args, i, mode)) {
      if (!*taken) return false;
    } else if (command.empty() && args[i].rfind("--", 0) != 0) {
      command = args[i];
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
     "send an AT command (serves it from the simulated modem when no AT server runs)", at,
     "at at+cgmi\nat --echo --pieces 3 AT+CGSN"},
});

}  // namespace
