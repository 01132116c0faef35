#!/usr/bin/env bash
# Installs the Debian packages that building, testing and the demo need, if any of them is missing.
# Package names given as arguments are installed besides.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config
  qtbase5-dev
  libboost-dev libboost-thread-dev libboost-system-dev
  libeigen3-dev libpugixml-dev nlohmann-json3-dev libcli11-dev
  googletest libgtest-dev libgmock-dev
  git clang-format
  python3 jq
  xvfb fonts-dejavu-core pngquant
  "$@"
)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
  [ "$status" = "install ok installed" ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
  apt-get install -y -qq --no-install-recommends "${missing[@]}"
