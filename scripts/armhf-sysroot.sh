#!/bin/bash
# Makes the armhf sysroot for the cross build: the toolchain's C and C++
# libraries plus Debian's armhf packages the project links (sqlite3, and
# libgammu with what it needs at run time for the SMS tests, and Debian's
# prebuilt GoogleTest), unpacked: no multiarch install on the host. Needs the armhf architecture in dpkg's list
# (scripts/install-deps.sh adds it).
#   scripts/armhf-sysroot.sh DIR
set -euo pipefail
dir=$(realpath -m "${1:?usage: armhf-sysroot.sh DIR}")
packages=(
  libsqlite3-0 libsqlite3-dev
  libgammu8 libgammu-dev libgsmsd8 libbluetooth3 libglib2.0-0 libusb-1.0-0 libudev1
  libffi8 libpcre2-8-0 libmount1 libselinux1 zlib1g libblkid1
  libgtest-dev libgmock-dev
)
# A sysroot made from another package list is made again.
stamp="$dir/.complete-$(echo "${packages[*]}" | md5sum | cut -c1-8)"
[ -e "$stamp" ] && exit 0
rm -rf "$dir"; mkdir -p "$dir/debs"
cp -a /usr/arm-linux-gnueabihf/lib "$dir/lib"
cd "$dir/debs"
apt-get download "${packages[@]/%/:armhf}" >/dev/null
for deb in *.deb; do dpkg -x "$deb" "$dir"; done
rm -rf "$dir/debs"
touch "$stamp"
echo "armhf sysroot in $dir"
