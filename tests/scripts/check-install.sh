#!/bin/bash
# Installs the build into a scratch prefix and builds a C99 and a C++ program
# against it through pkg-config, and a CMake project through find_package;
# then runs them against the simulated modem.
set -euo pipefail
build=$1
src=$2
prefix=/tmp/vornpal-install
work=/tmp/vornpal-install-work
rm -rf "$prefix" "$work"; mkdir -p "$work"
cmake --install "$build" --prefix "$prefix" >/dev/null

export PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name vornpal.pc)")
libdir=$(pkg-config --variable=libdir vornpal)
test -e "$libdir/libvornpal.so.1" || { echo "no libvornpal.so.1 in $libdir"; exit 1; }

# Every public header, in C99 and in C++.
for h in "$prefix"/include/vornpal/*.h; do echo "#include <vornpal/$(basename "$h")>"; done > "$work/all.h"
sim="-L$build/sim -lvornsim -Wl,-rpath,$build/sim"
# A sanitized library needs its runtime in the program too.
sanitize=$(sed -n 's/^VORNPAL_SANITIZE:STRING=//p' "$build/CMakeCache.txt")
[ -n "$sanitize" ] && sim="$sim -fsanitize=$sanitize"
cc -std=c99 -Wall -Wextra -Werror -pedantic -include "$work/all.h" "$src/hello.c" -o "$work/hello_c" \
  $(pkg-config --cflags --libs vornpal) $sim -Wl,-rpath,"$libdir"
c++ -std=c++17 -Wall -Wextra -Werror -include "$work/all.h" "$src/hello.cpp" -o "$work/hello_cpp" \
  $(pkg-config --cflags --libs vornpal) $sim -Wl,-rpath,"$libdir"
[ "$("$work/hello_c")" = "c: level 3, check -6" ] || { echo "hello_c: $("$work/hello_c")"; exit 1; }
[ "$("$work/hello_cpp")" = "c++: level 2, check 0" ] || { echo "hello_cpp: $("$work/hello_cpp")"; exit 1; }

flags=()
[ -n "$sanitize" ] && flags=(-DCMAKE_C_FLAGS="-fsanitize=$sanitize" -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=$sanitize")
cmake -S "$src/cmake" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" -DVORNSIM_DIR="$build/sim" "${flags[@]}" >/dev/null
cmake --build "$work/cmake" >/dev/null
[ "$("$work/cmake/hello_cmake")" = "cmake: level 4" ] || { echo "hello_cmake failed"; exit 1; }
echo "installed tree builds C99, C++ and CMake programs"
