#!/bin/sh
# Checks what no unit test can: that the generated tables still come from their script, that both
# compilers build the library without a warning, and that an installed copy works for its users.
set -eu
cd "$(dirname "$0")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

echo '-- generated tables'
python3 tools/generate_unicode_tables.py --output "$work/tables.inc"
cmp "$work/tables.inc" src/unicode/tables.inc

echo '-- clang++ without a warning'
cmake -S . -B "$work/clang" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_COMPILE_WARNING_AS_ERROR=ON \
  -DTOOL_BINDING_BUILD_TESTS=OFF >"$work/log" || { cat "$work/log"; exit 1; }
cmake --build "$work/clang" >"$work/log" || { cat "$work/log"; exit 1; }

for shared in OFF ON; do
  echo "-- users of an installed copy, BUILD_SHARED_LIBS=$shared"
  prefix=$work/prefix-$shared
  {
    cmake -S . -B "$work/build-$shared" -G Ninja -DBUILD_SHARED_LIBS=$shared \
      -DTOOL_BINDING_BUILD_TESTS=OFF -DTOOL_BINDING_BUILD_APPS=OFF \
      -DTOOL_BINDING_BUILD_EXAMPLES=OFF -DTOOL_BINDING_BUILD_JSON=ON
    cmake --build "$work/build-$shared"
    cmake --install "$work/build-$shared" --prefix "$prefix"
    cmake -S tests/package -B "$work/user-$shared" -G Ninja -DCMAKE_PREFIX_PATH="$prefix"
    cmake --build "$work/user-$shared"
  } >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
  "$work/user-$shared/user"
  libraries=$(dirname "$(find "$prefix" -name 'libtool_binding.*' | head -n 1)")
  PKG_CONFIG_PATH=$libraries/pkgconfig
  export PKG_CONFIG_PATH
  # shellcheck disable=SC2046  # flags, one word each
  g++ -std=c++20 tests/package/user.cpp $(pkg-config --define-variable=prefix="$prefix" --cflags \
    --libs tool_binding) -o "$work/by-pkg-config"
  LD_LIBRARY_PATH=$libraries "$work/by-pkg-config"
done

echo '-- a user who adds the source tree'
{
  cmake -S tests/package -B "$work/subdirectory" -G Ninja -DTOOL_BINDING_SOURCE="$PWD"
  cmake --build "$work/subdirectory"
} >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
"$work/subdirectory/user"
echo '-- all checks passed'
