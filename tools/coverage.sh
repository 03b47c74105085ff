#!/bin/sh
# Prints which share of the lines and branches of src/ the tests run, and fails under the goals.
# With MORE set (a directory), writes there which lines and branches are left, as HTML.
set -eu
cd "$(dirname "$0")/.."

tools/setup.sh cmake ninja-build g++ nlohmann-json3-dev libcli11-dev zlib1g-dev libgtest-dev libicu-dev rapidjson-dev unicode-data \
  pkg-config gcovr
build=${BUILD:-build/coverage}
cmake --preset coverage -B "$build" >/dev/null
cmake --build "$build"
find "$build" -name '*.gcda' -delete
ctest --test-dir "$build" --output-on-failure --no-tests=error -Q
[ -z "${MORE:-}" ] || { mkdir -p "$MORE"; set -- --html-details "$MORE/index.html"; }
gcovr --root . --filter 'src/' --exclude-throw-branches --exclude-unreachable-branches \
  --print-summary --fail-under-line 98 --fail-under-branch 95 "$@" "$build/CMakeFiles/tool_binding.dir"
