#!/bin/bash
# Makes the armhf sysroot for the cross build: the toolchain's C and C++
# libraries plus Debian's armhf sqlite3 packages, unpacked (no multiarch
# install on the host). Needs the armhf architecture in dpkg's list
# (scripts/install-deps.sh adds it).
#   scripts/armhf-sysroot.sh DIR
set -euo pipefail
dir=$(realpath -m "${1:?usage: armhf-sysroot.sh DIR}")
stamp="$dir/.complete"
[ -e "$stamp" ] && exit 0
rm -rf "$dir"; mkdir -p "$dir/debs"
cp -a /usr/arm-linux-gnueabihf/lib "$dir/lib"
cd "$dir/debs"
apt-get download libsqlite3-0:armhf libsqlite3-dev:armhf >/dev/null
for deb in *.deb; do dpkg -x "$deb" "$dir"; done
rm -rf "$dir/debs"
touch "$stamp"
echo "armhf sysroot in $dir"
