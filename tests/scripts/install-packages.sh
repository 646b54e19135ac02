#!/bin/bash
# Run in the sandbox by check-packages.sh: installs the host packages in
# directory $1 with dpkg into a clean root (/usr under an overlay that starts
# as the system's, a scratch copy of the system's dpkg database, so Depends
# are checked against what is really there), then as a daemon developer
# would: builds the daemon in $2 with pkg-config and with CMake's
# find_package, runs it against the simulated modem, uses vornpalctl, its
# manual page and its completion, and removes the packages again.
#   install-packages.sh PACKAGE_DIR DAEMON_SOURCE
set -euo pipefail
packages=$1
daemon_src=$2
[ "${VORNPAL_SANDBOX:-}" = 1 ] || { echo "install-packages.sh runs in the sandbox"; exit 2; }
status=0
problem() { echo "installed packages: $*"; status=1; }

root=/tmp/clean-root
mkdir -p "$root/upper" "$root/work" "$root/build"
mount -t overlay overlay -o "lowerdir=/usr,upperdir=$root/upper,workdir=$root/work" /usr
# The ldconfig trigger rewrites the cache: a copy of it, not the host's.
cp /etc/ld.so.cache "$root/ld.so.cache"
umount /etc/ld.so.cache
cp "$root/ld.so.cache" /etc/ld.so.cache
admin=$root/dpkg
cp -a /var/lib/dpkg "$admin"
dpkg_=(dpkg --admindir="$admin" --log="$root/dpkg.log")
[ ! -e /usr/include/vornpal ] || { echo "the root already has vornpal headers"; exit 1; }

"${dpkg_[@]}" -i "$packages"/*.deb >"$root/install.log" 2>&1 || { cat "$root/install.log"; exit 1; }
for name in libvornpal1 libvornpal-dev vornpal-sim vornpal-tools; do
  state=$(dpkg-query --admindir="$admin" -W -f '${Status}' "$name")
  [ "$state" = "install ok installed" ] || problem "$name is '$state'"
done

# The daemon through pkg-config, from the system's paths only.
unset PKG_CONFIG_PATH
multiarch=$(dpkg-architecture -qDEB_HOST_MULTIARCH 2>/dev/null)
[ "$(realpath "$(pkg-config --variable=libdir vornpal)")" = "/usr/lib/$multiarch" ] ||
  problem "pkg-config's libdir is '$(pkg-config --variable=libdir vornpal)'"
c++ -std=c++17 -Wall -Wextra -Werror "$daemon_src/daemon.cpp" -o "$root/build/daemon_pc" \
  $(pkg-config --cflags --libs vornpal) -lvornsim || problem "the daemon does not build with pkg-config"
expected="daemon: Vorn Wireless VN5G-FWA100"  # the simulated modem's identity
out=$("$root/build/daemon_pc" 2>&1) || true
[ "$out" = "$expected" ] || problem "the daemon (pkg-config) printed '$out'"

# The daemon through find_package(vornpal), with no prefix given.
if cmake -S "$daemon_src" -B "$root/build/cmake" >"$root/cmake.log" 2>&1 &&
   cmake --build "$root/build/cmake" >>"$root/cmake.log" 2>&1; then
  out=$("$root/build/cmake/vornpal_daemon" 2>&1) || true
  [ "$out" = "$expected" ] || problem "vornpal_daemon (CMake) printed '$out'"
  grep -q "/usr/lib/$multiarch/cmake/vornpal" "$root/build/cmake/CMakeCache.txt" ||
    problem "CMake did not find the installed package"
else
  cat "$root/cmake.log"; problem "the daemon does not build with find_package(vornpal)"
fi

# dpkg-shlibdeps gives a program linked to the library the shlibs' version.
mkdir -p "$root/shlibdeps/debian" && touch "$root/shlibdeps/debian/control"
needs=$(cd "$root/shlibdeps" && DPKG_ADMINDIR=$admin dpkg-shlibdeps -O -e "$root/build/daemon_pc" 2>/dev/null)
grep -q "libvornpal1 (>= " <<<"$needs" || problem "dpkg-shlibdeps of the daemon: '$needs'"

# vornpalctl from the package, its manual pages and its completion.
out=$(vornpalctl device info 2>&1) || problem "vornpalctl device info failed: $out"
grep -q "VN5G-FWA100" <<<"$out" || problem "vornpalctl device info printed '$out'"
[ "$(man -w vornpalctl)" = /usr/share/man/man1/vornpalctl.1.gz ] || problem "man finds no vornpalctl page"
man vornpalctl 2>/dev/null | grep -q "device info" || problem "man vornpalctl does not render the commands"
man 3 vornpal 2>/dev/null | grep -q "vornpal/device.h" || problem "man 3 vornpal does not lead to the headers"
completion=$(bash -c '. /usr/share/bash-completion/bash_completion
  __load_completion vornpalctl || exit 1
  COMP_WORDS=(vornpalctl devi); COMP_CWORD=1; _vornpalctl; echo "${COMPREPLY[*]}"')
[ "$completion" = device ] || problem "bash completes 'vornpalctl devi' to '$completion'"

# Removal takes every file back out.
"${dpkg_[@]}" -r vornpal-tools vornpal-sim libvornpal-dev libvornpal1 >>"$root/install.log" 2>&1 ||
  { cat "$root/install.log"; problem "the packages do not remove"; }
for path in /usr/include/vornpal /usr/bin/vornpalctl "/usr/lib/$multiarch/libvornpal.so.1"; do
  [ ! -e "$path" ] || problem "$path is left after removal"
done

[ $status = 0 ] && echo "installed packages build and run the daemon with pkg-config and find_package"
exit $status
