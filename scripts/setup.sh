#!/usr/bin/env bash
# Installs everything Vivark needs to build, test, benchmark and fuzz, from
# Debian 12's packages. Idempotent: packages already present are not
# reinstalled, and apt-get is not called at all when nothing is missing.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config
  libgtest-dev libgmock-dev libbenchmark-dev
  libjpeg-dev libturbojpeg0-dev
  libcli11-dev
  clang libclang-rt-14-dev clang-format
  zlib1g-dev libpng-dev libgif-dev libdeflate-dev libtiff-dev
  ccache
  netpbm imagemagick libtiff-tools giflib-tools uudeview sharutils libjpeg-turbo-progs
  ghostscript poppler-utils xvfb x11-apps
  libvips-tools graphicsmagick parallel python3-pil
  qt6-base-dev libsane-dev
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if ((${#missing[@]})); then
  echo "setup: installing ${missing[*]}"
  if [[ $(id -u) -ne 0 ]]; then sudo=sudo; else sudo=; fi
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
else
  echo "setup: all build dependencies are installed"
fi
