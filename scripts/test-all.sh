#!/bin/bash
# Every test of the project: the host suite under ASan+UBSan, the threaded
# tests under TSan, the armhf cross build under qemu-arm, the Debian packages
# of an optimised host build and of the armhf build, short fuzz runs.
# Each test process runs in the sandbox (tools/sandbox/vornpal-sandbox). The
# long soaks (CTest label "soak") are left out: ctest -L soak runs them.
#   scripts/test-all.sh            all stages
#   VORNPAL_STAGES="asan armhf" scripts/test-all.sh
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
out=${VORNPAL_TEST_DIR:-$root/build-test}
stages=${VORNPAL_STAGES:-"asan tsan armhf fuzz packages"}
jobs=$(nproc)
passed=0
failed=0
mkdir -p "$out"

# A stage's tests mostly wait (on the simulated modem, on the test clock),
# so they run in the background while the next stage builds; one stage's
# tests at a time, reported in stage order.
testing_pid=""
testing_name=""

# Counts the results of the stage whose ctest log is $1.ctest.log.
tally() {
  local log=$1.ctest.log line total fails
  grep -q 'No tests were found' "$log" && return
  line=$(grep -E 'tests passed, [0-9]+ tests failed out of [0-9]+' "$log" | tail -1)
  if [ -z "$line" ]; then failed=$((failed + 1)); return; fi
  total=$(echo "$line" | sed -E 's/.*out of ([0-9]+).*/\1/')
  fails=$(echo "$line" | sed -E 's/.* ([0-9]+) tests failed.*/\1/')
  passed=$((passed + total - fails))
  failed=$((failed + fails))
}

# Waits for the tests running in the background and reports them.
finish_tests() {
  [ -n "$testing_pid" ] || return 0
  wait "$testing_pid"
  echo "=== $testing_name: tests"
  cat "$out/$testing_name.ctest.log"
  tally "$out/$testing_name"
  testing_pid=""
}

# Builds with cmake arguments "$@" in $out/$1, then starts ctest with the
# remaining ctest arguments after "--" once the previous stage's tests are
# done.
run_stage() {
  local name=$1; shift
  local cmake_args=() ctest_args=()
  while [ $# -gt 0 ] && [ "$1" != "--" ]; do cmake_args+=("$1"); shift; done
  [ $# -gt 0 ] && shift
  ctest_args=("$@")
  echo "=== $name: build"
  local dir="$out/$name"
  if ! cmake -S "$root" -B "$dir" -G Ninja "${cmake_args[@]}" >"$dir.configure.log" 2>&1; then
    cat "$dir.configure.log"; failed=$((failed + 1)); return
  fi
  if ! cmake --build "$dir" -j "$jobs" >"$dir.build.log" 2>&1; then
    grep -E 'error|Error' "$dir.build.log" | head -40; failed=$((failed + 1)); return
  fi
  finish_tests
  ctest --test-dir "$dir" -j "$jobs" --output-on-failure "${ctest_args[@]}" >"$dir.ctest.log" 2>&1 &
  testing_pid=$!
  testing_name=$name
}

for stage in $stages; do
  case "$stage" in
    asan)
      run_stage asan -DCMAKE_BUILD_TYPE=Debug -DVORNPAL_SANITIZE=address,undefined -DVORNPAL_BENCH=OFF \
        -- -LE soak ;;
    tsan)
      # -O1 with line tables: what TSan needs for its reports, and a third
      # less compile time than -O2 -g.
      run_stage tsan -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_FLAGS_DEBUG="-O1 -g1" -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1" \
        -DVORNPAL_SANITIZE=thread -DVORNPAL_BENCH=OFF -- -LE 'no-tsan|soak' ;;
    armhf)
      "$root/scripts/armhf-sysroot.sh" "$out/armhf-sysroot" || { failed=$((failed + 1)); continue; }
      # Optimised as it ships: the packages stage packages this build.
      run_stage armhf -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-armhf.cmake" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DVORNPAL_ARMHF_SYSROOT="$out/armhf-sysroot" -DVORNPAL_BENCH=OFF -- -LE soak ;;
    packages)
      # A lean host build (library, simulated modem, tools) packaged, and
      # the armhf stage's build when this run made it.
      armhf_build=""
      [[ " $stages " == *" armhf "* ]] && armhf_build="$out/armhf"
      run_stage packages -DCMAKE_BUILD_TYPE=Release -DVORNPAL_TESTS=OFF -DVORNPAL_BENCH=OFF \
        -DVORNPAL_PACKAGE_ARMHF_BUILD="$armhf_build" -- -L package ;;
    fuzz)
      run_stage fuzz -DVORNPAL_FUZZ=ON -DVORNPAL_TESTS=OFF -DVORNPAL_BENCH=OFF -DVORNPAL_TOOLS=OFF \
        -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -- -L fuzz ;;
    *) echo "unknown stage $stage"; failed=$((failed + 1)) ;;
  esac
done

finish_tests
echo "vornpal: $passed passed, $failed failed"
[ "$failed" = 0 ]
