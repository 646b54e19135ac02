// vornpalctl: inspect and drive libvornpal from a shell. On the device it
// is the developer's diagnostic tool; on a host (VORNPAL_CTL_HOST_MODEM) it
// runs in the sandbox against the simulated modem (host_modem.h).
#include <cstdio>
#include <string>

#include "ctl.h"
#if VORNPAL_CTL_HOST_MODEM
#include "host_modem.h"
#endif

int main(int argc, char **argv) {
  bool json = false;
  std::string state;  // the host modem's state directory
  ctl::Args words;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if (arg == "--") {
      // The rest is a command line of its own (modem run -- PROGRAM ...).
      for (++i; i < argc; ++i) words.push_back(argv[i]);
    } else if (arg == "--json") {
      json = true;
    } else if (arg == "--state" && i + 1 < argc) {
      state = argv[++i];
    } else if (arg == "-h" || arg == "--help") {
      ctl::print_help();
      return 0;
    } else if (arg == "--man") {
      ctl::print_manual();
      return 0;
    } else if (arg == "--bash-completion") {
      ctl::print_bash_completion();
      return 0;
    } else {
      words.push_back(arg);
    }
  }
  if (words.empty()) {
    ctl::print_help();
    return 2;
  }
  size_t consumed = 0;
  const ctl::Command *command = ctl::find_command(words, consumed);
  if (command == nullptr) {
    std::fprintf(stderr, "vornpalctl: unknown command '%s' (see vornpalctl --help)\n",
                 words[0].c_str());
    return 2;
  }
#if VORNPAL_CTL_HOST_MODEM
  return ctl::host::run(argv, state, *command, [&] { return ctl::run_words(words, json); },
                        [&] { return ctl::host::run_in_daemon(words, json); });
#else
  (void)state;
  return ctl::run_words(words, json);
#endif
}
