#!/usr/bin/env bash
# Runs the window on a display of its own, against simulated tracking systems, and writes pictures
# of it as PNG files: idle, opening, streaming, missing (one tool out of sight), error, dialog.
#
#     scripts/screenshots.sh [FOLDER]      default: build/screenshots
#
# Installs what is missing and builds first; PRESET names the build to use (default: release).
set -euo pipefail
cd "$(dirname "$0")/.."

folder=$(realpath -m "${1:-build/screenshots}")
preset=${PRESET:-release}
work=$(mktemp -d)
display=
cleanup() {
  [ -z "$display" ] || { kill "$display" && wait "$display"; } 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

scripts/install-deps.sh
if ! { cmake --preset "$preset" && cmake --build --preset "$preset" -j "$(nproc)" \
  --target window_pictures MorvalinNDI; } >"$work/build.log" 2>&1; then
  cat "$work/build.log" >&2
  exit 1
fi

Xvfb -displayfd 3 -screen 0 1600x900x24 -nolisten tcp 3>"$work/display" 2>"$work/xvfb.log" &
display=$!
for _ in $(seq 100); do
  [ -s "$work/display" ] && break
  kill -0 "$display" 2>/dev/null || { cat "$work/xvfb.log" >&2; exit 1; }
  sleep 0.1
done

tools=()
for tool in 8700340:Pointer 8700339:Reference 8700449:Drill; do
  tools+=("$work/${tool#*:}.rom")
  python3 resources/tools/make_tool.py --part-number "${tool%:*}" "${tools[-1]}"
done
mkdir -p "$folder"
rm -f "$folder"/*.png
DISPLAY=":$(cat "$work/display")" QT_QPA_PLATFORM=xcb \
  "build/$preset/bin/window_pictures" "$folder" "${tools[@]}"
pngquant --ext .png --force --speed 1 "$folder"/*.png
