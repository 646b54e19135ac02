#!/bin/bash
# vornpalctl's manual page and bash completion against its --help: the page
# renders without warnings and has a section for every command --help lists,
# every example in it is a command of the tool, and the completion offers
# every command word by word, the commands' options and their fixed values.
# vornpal(3) renders and names every public header.
#   check-manual.sh VORNPALCTL PAGE COMPLETION LIBRARY_PAGE HEADER_DIR
set -euo pipefail
ctl=$1
page=$2
completion=$3
library_page=$4
headers=$5
status=0
problem() { echo "manual: $*"; status=1; }
warnings=$(mktemp)
trap 'rm -f "$warnings"' EXIT

# The commands of --help: the path is in the columns 3 to 30 of its line.
help=$("$ctl" --help)
mapfile -t commands < <(sed -n '/^commands:$/,$p' <<<"$help" | tail -n +2 |
  awk '{ if (substr($0, 31, 1) != " ") { print "?" $0; next } p = substr($0, 3, 28); sub(/ +$/, "", p); print p }')
unread=$(printf '%s\n' "${commands[@]}" | grep '^?' || true)
[ -z "$unread" ] || problem "cannot read the help lines: $unread"
[ ${#commands[@]} -ge 50 ] || problem "--help lists only ${#commands[@]} commands"

# Renders a page as a reader sees it; groff's warnings go to $warnings.
render() { MANWIDTH=100 man --warnings -E UTF-8 -l "$1" 2>"$warnings" | col -bx; }
rendered=$(render "$page")
[ ! -s "$warnings" ] || { cat "$warnings"; problem "groff warns about the page"; }
for heading in NAME SYNOPSIS DESCRIPTION OPTIONS COMMANDS "EXIT STATUS"; do
  grep -qx "$heading" <<<"$rendered" || problem "the page has no $heading"
done
# A command's section: its path as a subsection heading, then its synopsis.
missing=$(printf '%s\n' "${commands[@]}" | awk -v page="$rendered" '
  BEGIN { n = split(page, lines, "\n")
          for (i = 1; i <= n; i++) {
            if (lines[i] ~ /^   [a-z]/) heading[substr(lines[i], 4)] = 1
            if (lines[i] ~ /^       vornpalctl /) synopsis[substr(lines[i], 19) " "] = 1 } }
  { if (!($0 in heading)) print "no section for \"" $0 "\""
    found = 0
    for (s in synopsis) if (index(s, $0 " ") == 1) { found = 1; break }
    if (!found) print "no synopsis for \"" $0 "\"" }')
[ -z "$missing" ] || problem "$missing"
sections=$(grep -c '^   [a-z]' <<<"$rendered" || true)
[ "$sections" = ${#commands[@]} ] || problem "$sections sections for ${#commands[@]} commands"

# Every command has an example, and every example names a command of the
# tool (its leading words are a path).
without=$(sed -n '/^COMMANDS$/,/^EXIT STATUS$/p' <<<"$rendered" |
  awk '/^   [a-z]/ || /^EXIT STATUS$/ { if (name != "" && !example) print name; name = $0; example = 0 }
       /^ *Examples?:/ { example = 1 }' | sed 's/^ *//')
[ -z "$without" ] || problem "commands without an example: $(echo $without)"
examples=$(sed -n 's/^ *vornpalctl \(.*\)/\1/p' <<<"$(awk '/^ *Examples?:/{e=1; next} e && /^ *vornpalctl /{print; next} e && NF{e=0}' <<<"$rendered")")
[ "$(grep -c . <<<"$examples")" -ge 40 ] || problem "only $(grep -c . <<<"$examples") examples"
while IFS= read -r example; do
  example=${example#--json }
  known=0
  for path in "${commands[@]}"; do
    [[ "$example " == "$path "* ]] && { known=1; break; }
  done
  [ $known = 1 ] || problem "the example 'vornpalctl $example' is no command"
done <<<"$examples"

# Completion: what bash offers after the words typed.
complete_words() {
  bash -c '. "$1"; shift; COMP_WORDS=(vornpalctl "$@"); COMP_CWORD=$(($# )); _vornpalctl
           printf "%s\n" "${COMPREPLY[@]}"' _ "$completion" "$@" | sort | xargs
}
firsts=$(printf '%s\n' "${commands[@]}" | awk '{print $1}' | sort -u | xargs)
[ "$(complete_words "")" = "$firsts" ] || problem "completes '' to '$(complete_words "")', not '$firsts'"
# Each command, word by word: the word is offered after the ones before it.
script=". '$completion'"
for path in "${commands[@]}"; do
  read -ra words <<<"$path"
  for ((i = 0; i < ${#words[@]}; i++)); do
    typed=$(printf '"%s" ' "${words[@]:0:i}")
    script+=$'\n'"COMP_WORDS=(vornpalctl $typed\"${words[i]}\"); COMP_CWORD=$((i + 1)); _vornpalctl
[[ \" \${COMPREPLY[*]} \" == *' ${words[i]} '* ]] || echo 'not offered: ${words[*]:0:i+1}'"
  done
done
missing=$(bash -c "$script")
[ -z "$missing" ] || { echo "$missing" | head; problem "the completion misses command words"; }
[ "$(complete_words nv read /x --h)" = "--help --hex" ] ||
  problem "completes an option of 'nv read' to '$(complete_words nv read /x --h)'"
[ "$(complete_words device mimo set "")" = "lte nr" ] ||
  problem "completes 'device mimo set' to '$(complete_words device mimo set "")'"
[ "$(complete_words --json log to)" = "tool" ] || problem "the global option upsets the completion"

# The library's page leads to every public header.
rendered=$(render "$library_page")
[ ! -s "$warnings" ] || { cat "$warnings"; problem "groff warns about vornpal(3)"; }
for header in "$headers"/*.h; do
  grep -q "<vornpal/$(basename "$header")>" <<<"$rendered" || problem "vornpal(3) does not name $(basename "$header")"
done

[ $status = 0 ] && echo "manual: ${#commands[@]} commands, each with its section and completion"
exit $status
