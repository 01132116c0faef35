# Sourced by scripts/windows.sh: the libraries other than Qt, in $cache/prefix. Those that are
# nothing but headers are Debian's own, reached by links: /usr/include itself would bring the
# headers of another system along.

windows_build_library() {
  local name=$1 source=$2
  shift 2
  [ -f "$cache/prefix/.$name" ] && return
  echo "Building $name"
  local build=$cache/build/$name
  rm -rf "$build" && mkdir -p "$build"
  {
    cmake -S "$source" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/mingw-w64.cmake" -DCMAKE_INSTALL_PREFIX="$cache/prefix" \
      "$@" &&
      cmake --build "$build" && cmake --install "$build"
  } >"$build/log" 2>&1 || windows_stop "$name did not build, see $build/log"
  touch "$cache/prefix/.$name"
  rm -rf "$build"
}

windows_build_test_framework() {
  windows_build_library googletest /usr/src/googletest
}

windows_link_headers() {
  local include=$cache/prefix/include share=$cache/prefix/share
  mkdir -p "$include" "$share/cmake" "$share/eigen3"
  ln -sfn /usr/include/boost "$include/boost"
  ln -sfn /usr/include/eigen3 "$include/eigen3"
  ln -sfn /usr/include/nlohmann "$include/nlohmann"
  ln -sfn /usr/include/CLI "$include/CLI"
  cp -r /usr/share/cmake/CLI11 /usr/share/cmake/nlohmann_json "$share/cmake"
  cp -r /usr/share/eigen3/cmake "$share/eigen3"
}

windows_build_libraries() {
  mkdir -p "$cache/prefix"
  windows_link_headers
  windows_build_test_framework
  [ -f "$cache/prefix/.pugixml" ] || windows_fetch_source pugixml
  windows_build_library pugixml "$cache/sources/pugixml"
  rm -rf "$cache/sources/pugixml"
}
