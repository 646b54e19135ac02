#!/bin/bash
# Runs a test executable as a client of a modem daemon started for it on a
# scratch directory (VORNSIM_SOCKET set), so that every request and control
# call of its cases crosses the daemon's socket; ends the daemon after it.
#   with-vornsimd.sh VORNSIMD TEST [ARG]...
set -u
daemon=$1; shift
dir=$(mktemp -d /tmp/vornsimd.XXXXXX)
# The modem keeps the tests' clock, as the test process sets it for itself.
export VORNPAL_TIME_SCALE=${VORNPAL_TIME_SCALE:-100}
"$daemon" --dir "$dir" 2>"$dir/log" &
pid=$!
for _ in $(seq 1000); do
  grep -q "serving" "$dir/log" 2>/dev/null && break
  kill -0 "$pid" 2>/dev/null || break
  sleep 0.01
done
if ! grep -q "serving" "$dir/log"; then
  echo "with-vornsimd: the daemon did not start:" >&2; cat "$dir/log" >&2; exit 1
fi
VORNSIM_SOCKET="$dir/vornsimd.sock" "$@"
rc=$?
kill -TERM "$pid"
if ! wait "$pid"; then
  echo "with-vornsimd: the daemon did not end cleanly:" >&2; rc=1
fi
if [ "$rc" != 0 ]; then echo "--- the daemon's log" >&2; cat "$dir/log" >&2; fi
exit "$rc"
