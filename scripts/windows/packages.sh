# Sourced by scripts/windows.sh: what Debian brings, programs and sources.

# The cross-compiler and Wine. The libraries' headers come with scripts/install-deps.sh.
windows_install_packages() {
  local wanted=(g++-mingw-w64-x86-64-posix wine wine64 cmake ninja-build python3 googletest)
  [ "$1" = protocol ] || wanted+=(
    make perl dpkg-dev patch qtbase5-dev-tools
    libboost-dev libeigen3-dev nlohmann-json3-dev libcli11-dev)

  local missing=() package status
  for package in "${wanted[@]}"; do
    status=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
    [ "$status" = "install ok installed" ] || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return

  echo "Installing: ${missing[*]}"
  local as_root=()
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  "${as_root[@]}" apt-get update -qq
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# Fetches and unpacks a Debian source package as $cache/sources/NAME. The source lists are this
# script's own, made from the system's, so that the system's configuration stays as it is.
windows_fetch_source() {
  local name=$1 target=$cache/sources/$1 lists=$cache/apt
  [ -d "$target" ] && return
  mkdir -p "$lists/lists/partial" "$lists/archives/partial" "$lists/parts" "$cache/sources"
  windows_source_lists >"$lists/sources.list"
  local own=(-o "Dir::Etc::sourcelist=$lists/sources.list" -o "Dir::Etc::sourceparts=$lists/parts"
    -o "Dir::State::lists=$lists/lists" -o "Dir::Cache=$lists" -o APT::Sandbox::User=root)
  local work=$cache/sources/$name.part
  rm -rf "$work" && mkdir -p "$work"
  echo "Fetching the source of $name"
  apt-get "${own[@]}" update -qq
  (cd "$work" && apt-get "${own[@]}" source -qq "$name" >/dev/null)
  rm -f "$work"/*.tar.* "$work"/*.dsc
  mv "$work"/*/ "$target"
  rm -rf "$work"
}

# The system's package lists, as lists of sources in the one-line form.
windows_source_lists() {
  local file
  for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ -f "$file" ] && sed -n 's/^deb \(\[[^]]*\] \)\?/deb-src \1/p' "$file"
  done
  for file in /etc/apt/sources.list.d/*.sources; do
    [ -f "$file" ] && awk -v RS= -v FS='\n' '
      {
        delete field
        for (i = 1; i <= NF; i++)
          if (match($i, /^[A-Za-z-]+: */))
            field[substr($i, 1, index($i, ":") - 1)] = substr($i, RLENGTH + 1)
        if (field["Types"] !~ /(^| )deb( |$)/ || field["Enabled"] == "no") next
        option = field["Signed-By"] ~ /^\// ? "[signed-by=" field["Signed-By"] "] " : ""
        uris = split(field["URIs"], uri, " ")
        suites = split(field["Suites"], suite, " ")
        for (u = 1; u <= uris; u++)
          for (s = 1; s <= suites; s++)
            print "deb-src " option uri[u] " " suite[s] " " field["Components"]
      }' "$file"
  done
  return 0
}
