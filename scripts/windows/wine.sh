# Sourced by scripts/windows.sh: a Windows of the cache's own, without a display.

windows_wine_environment() {
  export WINEPREFIX=$cache/wine WINEARCH=win64 WINEDEBUG=-all
  # Neither the browser nor the runtime that Wine would offer to fetch, nor entries in menus.
  export WINEDLLOVERRIDES='mscoree=;mshtml=;winemenubuilder.exe='
  unset DISPLAY WAYLAND_DISPLAY
}

# COM ports stand for links in $cache/ports, which the tests point at pseudo-terminals: Wine reads
# the names when it starts, and follows the links when a port is opened.
windows_prepare_wine() {
  windows_wine_environment
  [ -f "$WINEPREFIX/.complete" ] && return
  echo "Preparing Wine in $WINEPREFIX"
  mkdir -p "$WINEPREFIX" "$cache/ports"
  local number
  {
    wineboot -i
    for number in $windows_com_ports; do
      wine reg add 'HKLM\Software\Wine\Ports' /v "COM$number" /d "$cache/ports/COM$number" /f
    done
  } >"$cache/wine.log" 2>&1 || windows_stop "Wine could not be prepared, see $cache/wine.log"
  windows_stop_wine
  touch "$WINEPREFIX/.complete"
}

# A server that stays between programs saves a second for each of them. Whatever is started first
# starts Windows's services too, and those would hold the output of a test open. The server's own
# words are of no use: a line that hangs up makes it list all it knows.
windows_start_wine() {
  windows_stop_wine # a run that was killed leaves one behind
  { wineserver -p && wine cmd /c exit; } >/dev/null 2>&1 </dev/null 9>&-
}

windows_stop_wine() {
  wineserver -k >/dev/null 2>&1 || true
  wineserver -w >/dev/null 2>&1 || true
}
