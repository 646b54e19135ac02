// watch: prints the families' events as they come, for a while.
#include <unistd.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <thread>

#include "ctl.h"

namespace {

int watch(const ctl::Args &args, ctl::Output &out) {
  long long seconds = 10;
  if (!args.empty() && !ctl::parse_number(args[0], seconds))
    return ctl::fail(out, "not a number of seconds: " + args[0], 2);
  // The families keep their callbacks after the watch: an event that comes
  // late finds the watch over and prints nothing.
  struct Printer {
    std::mutex mutex;
    bool over = false;
  };
  auto printer = std::make_shared<Printer>();
  auto emit = [printer, &out](const std::string &family, const std::string &text) {
    std::lock_guard<std::mutex> lock(printer->mutex);
    if (printer->over) return;
    out.field("family", family);
    out.field("event", text);
    out.flush();
  };
  for (const auto &source : ctl::watch_sources()) source.start(emit);
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  std::lock_guard<std::mutex> lock(printer->mutex);
  printer->over = true;
  return 0;
}

ctl::Registrar reg({
    {"watch", "[SECONDS]", "print events as they come (default 10 s)", watch, "watch 30"},
});

}  // namespace
