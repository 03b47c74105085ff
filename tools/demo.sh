#!/bin/sh
# Builds tool_admit and lets it answer the sample requests: the whole of the first look.
set -eu
cd "$(dirname "$0")/.."

tools/setup.sh cmake ninja-build g++ libcli11-dev zlib1g-dev
cmake --preset release
cmake --build --preset release
echo
# Some of the samples are refused, which is what exit status 1 says.
build/release/apps/tool_admit/tool_admit "$@" examples/requests.jsonl || [ $? -eq 1 ]
