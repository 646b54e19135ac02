#!/bin/bash
# Installs what building and testing libvornpal needs on Debian 12.
set -euo pipefail
sudo=""
[ "$(id -u)" = 0 ] || sudo=sudo

packages=(
  build-essential cmake ninja-build pkg-config perl
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  libsqlite3-dev sqlite3 libgammu-dev
  bubblewrap iproute2 bridge-utils procps iputils-ping
  g++-arm-linux-gnueabihf qemu-user
  clang libclang-rt-14-dev
  dpkg-dev lintian man-db groff-base bash-completion
)

# The armhf sysroot is unpacked from Debian's armhf packages.
$sudo dpkg --add-architecture armhf
# A mirror in sync can fail one index for a moment; what is needed is still there.
$sudo apt-get update || $sudo apt-get update || true
$sudo apt-get install -y --no-install-recommends "${packages[@]}"
