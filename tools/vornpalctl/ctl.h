// vornpalctl: commands by family, text output for people and --json for
// scripts. Each family adds its commands in a file of its own with a
// Registrar:
//
//   static ctl::Registrar reg({
//       {"nv read", "PATH [--hex]", "read an NV item or EFS file", cmd_nv_read,
//        "nv read /nv/item_files/odm/x --hex"},
//   });
//
// The same table gives --help, the manual page (--man) and the bash
// completion (--bash-completion), so none of them can miss a command.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace ctl {

// Collects named values and prints them as "name: value" lines, or as one
// JSON object with --json.
class Output {
 public:
  explicit Output(bool json) : json_(json) {}
  ~Output();
  void field(const std::string &name, const std::string &value);
  void field(const std::string &name, const char *value) { field(name, std::string(value)); }
  void field(const std::string &name, long long value);
  void field(const std::string &name, int value) { field(name, static_cast<long long>(value)); }
  void field(const std::string &name, unsigned value) { field(name, static_cast<long long>(value)); }
  void field(const std::string &name, bool value);
  // A line of free text (text mode) or an element of "lines" (JSON).
  void line(const std::string &text);
  // Prints what was collected so far (events of `watch` go out one by one).
  void flush();
  bool json() const { return json_; }

 private:
  bool json_;
  std::vector<std::pair<std::string, std::string>> fields_;  // value already JSON-encoded
  std::vector<std::string> lines_;
};

// A command's output and errors go to the process's standard output and
// error, or, while a Capture lives on the calling thread, into it (the
// modem daemon runs commands for other processes so).
struct Capture {
  Capture();
  ~Capture();
  Capture(const Capture &) = delete;
  Capture &operator=(const Capture &) = delete;
  std::string out;
  std::string err;

 private:
  Capture *previous_;
};
void print_out(const std::string &text);
void print_err(const std::string &text);

std::string json_string(const std::string &text);
std::string hex(const void *data, size_t len);
// Hexadecimal text (either case) to bytes; false for an odd length or a
// character that is not a hex digit.
bool parse_hex(const std::string &text, std::string &bytes);

using Args = std::vector<std::string>;
using Run = int (*)(const Args &args, Output &out);

struct Command {
  const char *path;   // words that select the command, e.g. "log level"
  const char *usage;  // arguments after the path
  const char *help;
  Run run;
  // Command lines for the manual page's examples, without the leading
  // "vornpalctl", one a line; null when the command has none.
  const char *example = nullptr;
  // A control of the simulated modem itself: with a modem daemon, the
  // command runs in the daemon, on its modem.
  bool in_modem = false;
};

struct Registrar {
  Registrar(std::initializer_list<Command> commands);
};
// The registrar of the simulated modem's own commands (in_modem).
struct ModemRegistrar {
  ModemRegistrar(std::initializer_list<Command> commands);
};

// The command whose path matches the most leading words (`consumed` of
// them), or null.
const Command *find_command(const Args &words, size_t &consumed);
// Runs the command `words` name, as the tool does; 2 when there is none.
int run_words(const Args &words, bool json);

// Every registered command, sorted by path.
std::vector<Command> sorted_commands();
// The synopsis and the description of the tool, as --help prints them.
extern const char *const kUsage;
extern const char *const kAbout;
// --help: the synopsis, the description and every command.
void print_help();
// The manual page (roff) and the bash completion script, from the commands.
void print_manual();
void print_bash_completion();

// A command's usage error: prints the usage, returns the exit status 2.
int usage_error(const Command &command);
int fail(Output &out, const std::string &what, int rc);

// Parses a number in decimal or 0x hexadecimal; false when it is not one.
bool parse_number(const std::string &text, long long &value);
// args[index] as a number from min to max; false when it is missing, no
// number or out of range.
bool number_arg(const Args &args, size_t index, long long min, long long max, long long &value);
// The words of args from `from` on, joined by single spaces.
std::string joined(const Args &args, size_t from = 0);

// An event source of `watch`: start() registers callbacks that print
// through `emit`; each family adds one.
using Emit = std::function<void(const std::string &family, const std::string &text)>;
struct WatchSource {
  const char *family;
  void (*start)(const Emit &emit);
};
struct WatchRegistrar {
  explicit WatchRegistrar(const WatchSource &source);
};
const std::vector<WatchSource> &watch_sources();

}  // namespace ctl
