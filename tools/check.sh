#!/bin/sh
# Checks what no unit test can: that the generated tables still come from their script, and that an
# installed copy works for its users.
set -eu
cd "$(dirname "$0")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

echo '-- generated tables'
python3 tools/generate_unicode_tables.py --output "$work/tables.inc"
cmp "$work/tables.inc" src/unicode/tables.inc

# Whether a user's server answers.
answers() {
  request='{"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18"}}'
  echo "$request" | "$1" | grep -q '"package_test"' || { echo "$1 does not answer"; exit 1; }
}

for shared in OFF ON; do
  echo "-- users of an installed copy, BUILD_SHARED_LIBS=$shared"
  prefix=$work/prefix-$shared
  # Relative directories first, then absolute ones.
  libraries=lib include=include found_in=$prefix/lib
  [ "$shared" = OFF ] || libraries=$work/elsewhere/lib include=$work/elsewhere/include found_in=$libraries
  {
    cmake -S . -B "$work/build-$shared" -G Ninja -DBUILD_SHARED_LIBS=$shared \
      -DCMAKE_INSTALL_LIBDIR="$libraries" -DCMAKE_INSTALL_INCLUDEDIR="$include" \
      -DTOOL_BINDING_BUILD_TESTS=OFF -DTOOL_BINDING_BUILD_APPS=OFF \
      -DTOOL_BINDING_BUILD_EXAMPLES=OFF -DTOOL_BINDING_BUILD_NLOHMANN_JSON=ON
    cmake --build "$work/build-$shared"
    cmake --install "$work/build-$shared" --prefix "$prefix"
    cmake -S tests/package -B "$work/user-$shared" -G Ninja \
      -Dtool_binding_DIR="$found_in/cmake/tool_binding"
    cmake --build "$work/user-$shared"
  } >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
  "$work/user-$shared/user"
  answers "$work/user-$shared/server"
  cmp LICENSE "$prefix/share/doc/tool_binding/LICENSE"
  PKG_CONFIG_PATH=$found_in/pkgconfig
  export PKG_CONFIG_PATH
  # shellcheck disable=SC2046  # flags, one word each
  g++ -std=c++20 tests/package/user.cpp $(pkg-config --define-variable=prefix="$prefix" --cflags \
    --libs tool_binding) -o "$work/by-pkg-config"
  LD_LIBRARY_PATH=$found_in "$work/by-pkg-config"
  # shellcheck disable=SC2046
  g++ -std=c++20 tests/package/server.cpp $(pkg-config --define-variable=prefix="$prefix" --cflags \
    --libs tool_binding_server) -o "$work/server-by-pkg-config"
  (export LD_LIBRARY_PATH="$found_in"; answers "$work/server-by-pkg-config")
done

echo '-- each installed header by itself'
find "$include" -name '*.hpp' -exec g++ -std=c++20 -fsyntax-only -I"$include" -xc++ {} +

echo '-- a user who adds the source tree'
{
  cmake -S tests/package -B "$work/subdirectory" -G Ninja -DTOOL_BINDING_SOURCE="$PWD"
  cmake --build "$work/subdirectory"
} >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
"$work/subdirectory/user"
answers "$work/subdirectory/server"
echo '-- all checks passed'
