#!/usr/bin/env bash
# Installs what is missing, builds and starts one simulated tracker of every family.
#
#   scripts/demo.sh         streams from each through the plug-in; succeeds only if every pose agrees
#                           with the path on which the simulator moves its tools
#   scripts/demo.sh --gui   shows them in a window until it is closed
#
# SECONDS_EACH=N streams for so long (default 4).
set -euo pipefail
cd "$(dirname "$0")/.."

case "$*" in
'' | --gui) mode=$* ;;
*)
  echo "demo.sh: unknown arguments '$*' (--gui is the only one)" >&2
  exit 2
  ;;
esac

seconds=${SECONDS_EACH:-4}
preset=${PRESET:-release}
bin=build/$preset/bin

work=$(mktemp -d)
simulators=()
cleanup() {
  for pid in "${simulators[@]}"; do kill "$pid" 2>/dev/null || true; done
  for pid in "${simulators[@]}"; do wait "$pid" 2>/dev/null || true; done
  rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

scripts/install-deps.sh
echo "Building (the first time takes some minutes) ..."
if ! { cmake --preset "$preset" && cmake --build --preset "$preset" -j "$(nproc)" \
  --target ndi-simulator morvalin-host MorvalinNDI; } >"$work/build.log" 2>&1; then
  cat "$work/build.log" >&2
  exit 1
fi

# simulate NAME ARGUMENTS...: starts a simulator; its address stands in $address once it answers.
simulate() {
  local name=$1
  shift
  : >"$work/$name.out"
  "$bin/ndi-simulator" "$@" >"$work/$name.out" &
  simulators+=($!)
  for _ in $(seq 100); do
    address=$(sed -n 's/^ready //p' "$work/$name.out")
    [ -n "$address" ] && return
    kill -0 $! 2>/dev/null || break
    sleep 0.1
  done
  echo "the $name simulator does not answer" >&2
  exit 1
}

for part in 610059 610060 610061; do
  python3 resources/tools/make_tool.py --part-number "$part" "$work/$part.rom"
done
simulate vega --family vega --listen 0 --strays 4
vega=$address
simulate vicra --family vicra --pty "$work/vicra" --strays 2
simulate aurora --family aurora --pty "$work/aurora" --tool 1:reference --tool 2:probe

# block ALGORITHM DEVICE PORT TOOL...: of a workspace whose streams open and start by themselves
block() {
  local algorithm=$1 device=$2 port=$3 tool
  shift 3
  printf '<block name="NDITracking.%s">' "$algorithm"
  printf '<parameter name="%s" value="%s"/>' hardwareDevice "$device" hardwarePort "$port" \
    open 1 start 1
  printf '<block name="TrackingTargets">'
  for tool in "$@"; do
    printf '<block name="%s.rom"><parameter name="Path" value="%s/%s.rom"/>' "$tool" "$work" "$tool"
    printf '<parameter name="Port" value="1"/></block>'
  done
  printf '</block></block>\n'
}

if [ "$mode" = --gui ]; then
  {
    printf '<block name="Workspace"><block name="Algorithms">\n'
    block PolarisVegaTrackingStream "${vega%:*}" "${vega##*:}" 610059 610060 610061
    block PolarisVicraTrackingStream COM1 0 610059 610060 610061
    block AuroraTrackingStream COM2 0
    printf '</block></block>\n'
  } >"$work/demo.xml"
  "$bin/morvalin-host" gui "$work/demo.xml" \
    --serial-port COM1="$work/vicra" --serial-port COM2="$work/aurora"
  exit
fi

failed=0
# stream TITLE FAMILY ALGORITHM TOOLS SHOWN-ONE-OF ARGUMENTS...
stream() {
  local title=$1 family=$2 algorithm=$3 tools=$4 every=$5
  shift 5
  echo
  echo "== $title"
  "$bin/morvalin-host" stream "$algorithm" --json --seconds "$seconds" "$@" |
    python3 scripts/demo_poses.py --family "$family" --tools "$tools" --every "$every" || failed=1
}

optical_tools=(--tool "$work/610059.rom" --tool "$work/610060.rom" --tool "$work/610061.rom")
stream "Polaris Vega/Lyra over TCP at $vega" vega NDITracking.PolarisVegaTrackingStream 3 60 \
  --set hardwareDevice="${vega%:*}" --set hardwarePort="${vega##*:}" "${optical_tools[@]}"
stream "Polaris Vicra/Spectra on a serial line" vicra NDITracking.PolarisVicraTrackingStream 3 20 \
  --serial-port COM1="$work/vicra" --set hardwareDevice=auto "${optical_tools[@]}"
stream "Aurora on a serial line" aurora NDITracking.AuroraTrackingStream 2 40 \
  --serial-port COM1="$work/aurora" --set hardwareDevice=auto

echo
if [ "$failed" -eq 0 ]; then
  echo "All three streams delivered the poses that the simulators measured."
else
  echo "At least one stream went wrong." >&2
fi
exit "$failed"
