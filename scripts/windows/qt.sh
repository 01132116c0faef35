# Sourced by scripts/windows.sh: Qt 5 Core, Gui and Widgets for Windows. Debian has none, but its
# source package, the third-party code in it included, builds with the cross-compiler.

windows_build_qt() {
  [ -f "$cache/qt/.complete" ] && return
  windows_fetch_source qtbase-opensource-src
  local source=$cache/sources/qtbase-opensource-src build=$cache/build/qt
  mkdir -p "$build"
  windows_compiler_names
  echo "Building Qt once into $cache/qt (a quarter of an hour or more; log: $build/log)"
  (
    cd "$build"
    export PATH=$cache/bin:$PATH
    [ -f config.summary ] || "$source/configure" \
      -prefix "$cache/qt" -platform linux-g++ \
      -xplatform win32-g++ -device-option CROSS_COMPILE=x86_64-w64-mingw32- \
      -release -opensource -confirm-license -silent \
      -no-opengl -no-dbus -no-icu -no-openssl -no-angle -no-pkg-config \
      -no-feature-vulkan -no-feature-printer -no-feature-sql -no-feature-network \
      -no-feature-tabletevent -no-feature-direct2d \
      -qt-zlib -qt-pcre -qt-libpng -qt-libjpeg -qt-freetype -qt-harfbuzz \
      -nomake examples -nomake tests
    nice make -j "$(nproc)"
    make install
    touch "$cache/qt/.complete"
  ) >"$build/log" 2>&1 || windows_stop "Qt did not build, see $build/log"
  rm -rf "$build" "$cache/sources/qtbase-opensource-src"
}

# Debian's plain names of the cross-compiler may stand for either thread model; these do not.
windows_compiler_names() {
  local tool
  mkdir -p "$cache/bin"
  for tool in gcc g++; do
    ln -sf "$(command -v x86_64-w64-mingw32-$tool-posix)" "$cache/bin/x86_64-w64-mingw32-$tool"
  done
}
