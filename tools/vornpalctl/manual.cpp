// The manual page and the bash completion of vornpalctl, both written from
// the registered commands (their path, usage, help and examples), so that
// neither can drift from --help.
#include <cctype>
#include <cstdio>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ctl.h"

namespace ctl {
namespace {

// The options of the tool itself, before or among the command's words.
struct Option {
  const char *name;
  const char *argument;  // empty when it takes none
  const char *help;
  bool with_command;  // goes with a command (in the synopsis), or stands alone
};

const Option kOptions[] = {
    {"--json", "", "print the results as one JSON object (events of watch: one object a line)", true},
#if VORNPAL_CTL_HOST_MODEM
    {"--state", "DIR",
     "keep the simulated device's state in DIR (default $VORNPALCTL_STATE, then "
     "~/.local/state/vornpalctl)",
     true},
#endif
    {"--help", "", "list the commands and exit", false},
    {"--man", "", "print this manual page (roff) and exit", false},
    {"--bash-completion", "", "print the bash completion script and exit", false},
};

std::vector<std::string> split(const std::string &text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, separator);)
    if (!part.empty()) parts.push_back(part);
  return parts;
}

// Text for roff: backslashes and minus signs escaped, no line that starts
// with a control character.
std::string roff(const std::string &text) {
  std::string out;
  for (char c : text) {
    if (c == '\\') out += "\\e";
    else if (c == '-') out += "\\-";
    else out += c;
  }
  if (!out.empty() && (out[0] == '.' || out[0] == '\'')) out.insert(0, "\\&");
  return out;
}

// The options a usage text names ("[--hex]", "[--set MAC]").
std::set<std::string> usage_options(const std::string &usage) {
  std::set<std::string> options;
  for (size_t at = usage.find("--"); at != std::string::npos; at = usage.find("--", at + 2)) {
    size_t end = at + 2;
    while (end < usage.size() && (std::isalnum(static_cast<unsigned char>(usage[end])) || usage[end] == '-')) ++end;
    if (end > at + 2) options.insert(usage.substr(at, end - at));
  }
  return options;
}

// Fixed values a usage text offers as alternatives ("lte|nr", "[0|1]").
std::set<std::string> usage_values(const std::string &usage) {
  std::set<std::string> values;
  for (std::string word : split(usage, ' ')) {
    while (!word.empty() && (word.front() == '[' || word.front() == '(')) word.erase(0, 1);
    while (!word.empty() && (word.back() == ']' || word.back() == ')' || word.back() == '.')) word.pop_back();
    if (word.find('|') == std::string::npos) continue;
    std::vector<std::string> parts = split(word, '|');
    bool fixed = true;
    for (const std::string &part : parts)
      for (char c : part)
        if (std::isupper(static_cast<unsigned char>(c)) || c == '-') fixed = false;
    if (fixed) values.insert(parts.begin(), parts.end());
  }
  return values;
}

std::string joined_set(const std::set<std::string> &words) {
  std::string text;
  for (const std::string &w : words) text += (text.empty() ? "" : " ") + w;
  return text;
}

}  // namespace

void print_manual() {
  std::printf(".TH VORNPALCTL 1 \"\" \"vornpal %s\" \"vornpal\"\n", VORNPAL_VERSION);
  // Left-adjusted and unhyphenated: command lines and paths stay as typed.
  std::printf(".ad l\n.nh\n");
  std::printf(".SH NAME\nvornpalctl \\- inspect and drive libvornpal from a shell\n");
  std::printf(".SH SYNOPSIS\n.B vornpalctl\n");
  for (const Option &o : kOptions) {
    if (!o.with_command) continue;
    std::printf("[\\fB%s\\fR%s%s%s]\n", roff(o.name).c_str(), *o.argument ? " \\fI" : "", o.argument,
                *o.argument ? "\\fR" : "");
  }
  std::printf(".I COMMAND\n[\\fIARG\\fR]...\n");
  std::printf(".SH DESCRIPTION\n");
  for (const std::string &line : split(kAbout, '\n')) std::printf("%s\n", roff(line).c_str());
  std::printf(".PP\nA command is one to three words, e.g. \\fBdevice mode set\\fR, followed by its\n"
              "arguments; \\fBvornpalctl \\-\\-help\\fR lists them all. Results are printed as\n"
              "\"name: value\" lines, or as one JSON object with \\fB\\-\\-json\\fR.\n");
  std::printf(".SH OPTIONS\n");
  for (const Option &o : kOptions) {
    std::printf(".TP\n.B %s%s%s\n%s\n", roff(o.name).c_str(), *o.argument ? " " : "",
                *o.argument ? (std::string("\\fI") + o.argument + "\\fR").c_str() : "", roff(o.help).c_str());
  }
  std::printf(".SH COMMANDS\n");
  for (const Command &c : sorted_commands()) {
    std::printf(".SS \"%s\"\n", roff(c.path).c_str());
    std::printf(".B vornpalctl %s\n", roff(c.path).c_str());
    if (*c.usage) std::printf(".I \"%s\"\n", roff(c.usage).c_str());
    std::printf(".PP\n%s\n", roff(std::string(1, static_cast<char>(std::toupper(c.help[0]))) + (c.help + 1) + ".").c_str());
    if (c.example != nullptr) {
      std::vector<std::string> lines = split(c.example, '\n');
      std::printf(".PP\n%s:\n.PP\n.RS 4\n.nf\n", lines.size() > 1 ? "Examples" : "Example");
      for (const std::string &line : lines) std::printf("vornpalctl %s\n", roff(line).c_str());
      std::printf(".fi\n.RE\n");
    }
  }
  std::printf(".SH EXIT STATUS\n0 when the command succeeded, 2 for a usage error (an unknown command,\n"
              "a missing or malformed argument), 1 when the library or the modem reported a\n"
              "failure: the \\fBerror\\fR and \\fBrc\\fR fields say which.\n");
#if VORNPAL_CTL_HOST_MODEM
  std::printf(".SH ENVIRONMENT\n.TP\n.B VORNPALCTL_STATE\nThe state directory when \\fB\\-\\-state\\fR is not given.\n");
  std::printf(".SH FILES\n.TP\n.I ~/.local/state/vornpalctl\nThe default state directory: the device's "
              "\\fI/data\\fR, \\fI/tmp\\fR, \\fI/vornnv\\fR and \\fI/etc/data\\fR and the simulated modem's store.\n");
#endif
  std::printf(".SH SEE ALSO\n.BR vornpal (3)%s\n", VORNPAL_CTL_HOST_MODEM ? ",\n.BR bwrap (1)" : "");
}

void print_bash_completion() {
  // "@" + the words typed so far: the words that may come next. Bash's
  // associative arrays take no empty key, hence the "@".
  std::map<std::string, std::set<std::string>> next;
  std::map<std::string, std::string> options, values;
  for (const Command &c : sorted_commands()) {
    std::vector<std::string> words = split(c.path, ' ');
    std::string key = "@";
    for (size_t i = 0; i < words.size(); ++i) {
      next[key].insert(words[i]);
      key += (i ? " " : "") + words[i];
    }
    options[key] = joined_set(usage_options(c.usage));
    values[key] = joined_set(usage_values(c.usage));
  }
  std::set<std::string> global;
  for (const Option &o : kOptions) global.insert(o.name);

  std::printf("# bash completion for vornpalctl, written by vornpalctl --bash-completion\n");
  std::printf("_vornpalctl() {\n");
  std::printf("  local -A next=(\n");
  for (const auto &[key, words] : next) std::printf("    [\"%s\"]=\"%s\"\n", key.c_str(), joined_set(words).c_str());
  std::printf("  )\n  local -A options=(\n");
  for (const auto &[key, words] : options) std::printf("    [\"%s\"]=\"%s\"\n", key.c_str(), words.c_str());
  std::printf("  )\n  local -A values=(\n");
  for (const auto &[key, words] : values) std::printf("    [\"%s\"]=\"%s\"\n", key.c_str(), words.c_str());
  std::printf("  )\n");
  std::printf("%s", R"(  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}
  COMPREPLY=()
  if [[ $prev == --state ]]; then
    mapfile -t COMPREPLY < <(compgen -d -- "$cur")
    return
  fi
  local words=() i
  for ((i = 1; i < COMP_CWORD; i++)); do
    case ${COMP_WORDS[i]} in
      --state) ((i++)) ;;
      -*) ;;
      *) words+=("${COMP_WORDS[i]}") ;;
    esac
  done
  # The command typed so far: the longest run of leading words that is one.
  local n=${#words[@]} command=""
  for ((; n > 0; n--)); do
    if [[ -v options["@${words[*]:0:n}"] ]]; then command="@${words[*]:0:n}"; break; fi
  done
  local candidates
  if [[ $cur == -* ]]; then
)");
  std::printf("    candidates=\"%s${command:+ ${options[$command]}}\"\n", joined_set(global).c_str());
  std::printf("%s", R"(  else
    candidates="${next["@${words[*]}"]}"
    [[ -n $command && $command == "@${words[*]}" ]] && candidates+=" ${values[$command]}"
  fi
  mapfile -t COMPREPLY < <(compgen -W "$candidates" -- "$cur")
}
complete -F _vornpalctl vornpalctl
)");
}

}  // namespace ctl
