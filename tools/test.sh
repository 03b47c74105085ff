#!/bin/sh
# Builds everything and passes all tests: as users build it, with clang and a shared library, under
# the address and undefined-behaviour sanitizers, and those with threads under the thread sanitizer.
# PRESETS chooses others (see CMakePresets.json).
set -eu
cd "$(dirname "$0")/.."

tools/setup.sh cmake ninja-build g++ clang nlohmann-json3-dev libcli11-dev zlib1g-dev libgtest-dev \
  libicu-dev rapidjson-dev unicode-data python3-minimal pkg-config
# The end-to-end tests of the server install the protocol's clients.
command -v npm >/dev/null || tools/setup.sh nodejs npm
for preset in ${PRESETS:-dev clang asan tsan}; do
  cmake --preset "$preset"
  cmake --build --preset "$preset"
  ctest --preset "$preset"
done
tools/check.sh
