#!/usr/bin/env bash
# Cross-builds everything for Windows and tests it under Wine, headless. Compiler and Wine are
# Debian's packages; the libraries that Debian does not have for Windows are built once into
# ${XDG_CACHE_HOME:-~/.cache}/morvalin-windows, Qt among them: the first run takes half an hour.
#
#   scripts/windows.sh              everything
#   scripts/windows.sh --protocol   the device protocol library alone, without Qt: a few minutes
set -euo pipefail
cd "$(dirname "$0")/.."

cache=${XDG_CACHE_HOME:-$HOME/.cache}/morvalin-windows
windows_com_ports='5 6 7 8 12 13'
for part in packages wine libraries qt; do
  . "scripts/windows/$part.sh"
done

windows_stop() {
  echo "windows.sh: $1" >&2
  exit 1
}

case "${1:-}" in
'') scope=full preset=windows ;;
--protocol) scope=protocol preset=windows-protocol ;;
*) windows_stop "unknown argument '$1' (--protocol is the only one)" ;;
esac

mkdir -p "$cache"
exec 9>"$cache/lock"
flock 9 # the ports and the Wine server are one set

scripts/install-deps.sh
windows_install_packages "$scope"
mkdir -p "$cache/prefix"
if [ "$scope" = full ]; then
  windows_build_libraries
  windows_build_qt
else
  windows_build_test_framework
fi
windows_prepare_wine

# The device at the other end of the line is this system's own simulator.
cmake --preset release >/dev/null
cmake --build --preset release --target ndi-simulator -j "$(nproc)"

echo "== $preset: configure and build"
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j "$(nproc)"

echo "== $preset: test under Wine"
windows_wine_environment
trap windows_stop_wine EXIT
windows_start_wine
ctest --preset "$preset" -j "$(nproc)"
