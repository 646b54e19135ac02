#!/bin/bash
# The dynamic symbol table of the library holds the public interface and
# nothing else: every name declared VORNPAL_API in the public headers, no C++
# internals, no platform or simulator symbols.
set -euo pipefail
lib=$1
headers=$2

nm=${NM:-nm}
exported=$($nm -D --defined-only "$lib" | awk '{print $3}' | sort -u)
declared=$(cat "$headers"/*.h | grep -v '^[[:space:]]*#' | perl -0777 -ne 'while (/VORNPAL_API\s+[^;{]*?(\w+)\s*(?:\(|\[|;)/g) { print "$1\n" }' | sort -u)

status=0
extra=$(comm -23 <(echo "$exported") <(echo "$declared"))
missing=$(comm -13 <(echo "$exported") <(echo "$declared"))
if [ -n "$extra" ]; then
  echo "exported but not declared in a public header:"; echo "$extra" | sed 's/^/  /'; status=1
fi
if [ -n "$missing" ]; then
  echo "declared in a public header but not exported:"; echo "$missing" | sed 's/^/  /'; status=1
fi
count=$(echo "$exported" | grep -c . || true)
if [ "$count" -lt 10 ]; then echo "only $count symbols exported"; status=1; fi
[ $status = 0 ] && echo "exports: $count public symbols, nothing else"
exit $status
