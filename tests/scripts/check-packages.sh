#!/bin/bash
# The Debian packages of a build: CPack makes them from the build, lintian
# finds no error in them, their Depends cover what dpkg-shlibdeps finds, and
# installed by dpkg into a clean root (install-packages.sh in the sandbox)
# they build and run a small daemon. Given an armhf build too: its packages
# hold an ARM library that exports the same symbols as the host's.
#   check-packages.sh BUILD SOURCE [ARMHF_BUILD]
set -euo pipefail
build=$(realpath "$1")
src=$(realpath "$2")
armhf=${3:+$(realpath "$3")}
project_version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
status=0
problem() { echo "packages: $*"; status=1; }

# Builds the packages of build directory $1 into $1/packages.
make_packages() {
  rm -rf "$1/packages"
  cpack --config "$1/CPackConfig.cmake" -B "$1/packages" >"$1/packages.log" 2>&1 ||
    { cat "$1/packages.log"; exit 1; }
  rm -rf "$1/packages/_CPack_Packages"
}
# The names of the packages in directory $1, sorted, on one line.
package_names() { for deb in "$1"/*.deb; do dpkg-deb -f "$deb" Package; done | sort | xargs; }
# The .deb of package $2 in directory $1.
deb_of() { ls "$1/$2"_*.deb; }

make_packages "$build"
host_arch=$(dpkg --print-architecture)
expected="libvornpal-dev libvornpal1 vornpal-sim vornpal-tools"
[ "$(package_names "$build/packages")" = "$expected" ] ||
  problem "host packages are '$(package_names "$build/packages")', not '$expected'"
debs=("$build"/packages/*.deb)
if [ -n "$armhf" ]; then
  make_packages "$armhf"
  [ "$(package_names "$armhf/packages")" = "libvornpal-dev libvornpal1" ] ||
    problem "armhf packages are '$(package_names "$armhf/packages")'"
  debs+=("$armhf"/packages/*.deb)
fi
for deb in "${debs[@]}"; do
  version=$(dpkg-deb -f "$deb" Version)
  [ "$version" = "$project_version" ] ||
    problem "$(basename "$deb"): version $version is not the project's"
done

# lintian: no error; the warnings are listed.
lintian --fail-on error "${debs[@]}" >"$build/packages/lintian.log" 2>&1 ||
  { grep '^E:' "$build/packages/lintian.log" || cat "$build/packages/lintian.log"; problem "lintian found errors"; }
grep -E '^[WE]:' "$build/packages/lintian.log" | sed 's/^/  lintian /' || true

# libvornpal1 tells dependants which version they need.
shlibs=$(dpkg-deb --ctrl-tarfile "$(deb_of "$build/packages" libvornpal1)" | tar -xOf - ./shlibs)
[ "$shlibs" = "libvornpal 1 libvornpal1 (>= $project_version)" ] || problem "libvornpal1's shlibs: '$shlibs'"

# Every run-time need that dpkg-shlibdeps finds in a host package's ELF files
# is in its Depends, at that version or a later one.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$scratch/debian" && touch "$scratch/debian/control"
for deb in "$build"/packages/*.deb; do dpkg-deb -x "$deb" "$scratch/$(dpkg-deb -f "$deb" Package)"; done
libdirs=$(find "$scratch" -name 'lib*.so.*' -printf '-l%h\n' | sort -u)
for deb in "$build"/packages/*.deb; do
  name=$(dpkg-deb -f "$deb" Package)
  depends=$(dpkg-deb -f "$deb" Depends)
  while IFS= read -r elf; do
    # shellcheck disable=SC2086
    if ! needs=$(cd "$scratch" && dpkg-shlibdeps -O --ignore-missing-info $libdirs -e "$elf" 2>"$scratch/err"); then
      problem "dpkg-shlibdeps fails on $(basename "$elf"): $(cat "$scratch/err")"; continue
    fi
    IFS=',' read -ra items <<<"${needs#shlibs:Depends=}"
    for item in "${items[@]}"; do
      read -r pkg _ min <<<"$(echo "$item" | tr -d '()')"
      declared=$(echo "$depends" | tr ',' '\n' | sed -n "s/^ *$pkg (>= \(.*\))$/\1/p")
      if [ -z "$declared" ]; then
        problem "$name: $(basename "$elf") needs $pkg, which Depends lacks"
      elif [ -n "$min" ] && ! dpkg --compare-versions "$declared" ge "$min"; then
        problem "$name: $(basename "$elf") needs $pkg >= $min, Depends says >= $declared"
      fi
    done
  done < <(find "$scratch/$name" -type f \( -name '*.so*' -o -perm -u+x \) -exec sh -c 'head -c4 "$1" | grep -q ELF' _ {} \; -print)
done
grep -q bubblewrap <<<"$(dpkg-deb -f "$(deb_of "$build/packages" vornpal-tools)" Depends)" ||
  problem "vornpal-tools does not depend on bubblewrap"

# The armhf library is an ARM ELF that exports what the host's exports.
if [ -n "$armhf" ]; then
  dpkg-deb -x "$(deb_of "$armhf/packages" libvornpal1)" "$scratch/armhf"
  dpkg-deb -x "$(deb_of "$build/packages" libvornpal1)" "$scratch/host"
  arm_lib=$(echo "$scratch"/armhf/usr/lib/arm-linux-gnueabihf/libvornpal.so.1)
  host_lib=$(echo "$scratch"/host/usr/lib/*-linux-gnu/libvornpal.so.1)
  machine=$(readelf -h "$arm_lib" | sed -n 's/^ *Machine: *//p')
  [ "$machine" = ARM ] || problem "the armhf library's machine is '$machine'"
  [ "$(dpkg-deb -f "$(deb_of "$armhf/packages" libvornpal1)" Architecture)" = armhf ] ||
    problem "the armhf libvornpal1 is not Architecture: armhf"
  exports() { nm -D --defined-only "$1" | awk '{print $3}' | sort; }
  diff <(exports "$host_lib") <(exports "$arm_lib") >"$scratch/exports.diff" ||
    { cat "$scratch/exports.diff"; problem "the armhf library's exports differ from the host's"; }
  count=$(exports "$arm_lib" | wc -l)
  [ "$count" -ge 100 ] || problem "the armhf library exports only $count symbols"
  echo "packages: armhf libvornpal.so.1 is ARM and exports the host's $count symbols"
fi

# Installed into a clean root, they build and run a daemon.
"$src/tools/sandbox/vornpal-sandbox" --expose "$build/packages" --expose "$src" -- \
  "$src/tests/scripts/install-packages.sh" "$build/packages" "$src/tests/install/daemon" || status=1

[ $status = 0 ] && echo "packages: $expected ($host_arch)${armhf:+, libvornpal1 and libvornpal-dev (armhf)} pass"
exit $status
