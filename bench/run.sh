#!/bin/sh
# Measures everything and writes bench/results/.
# Usage: bench/run.sh [BUILD_DIR [RUNS]]
# The programs and the peers' processes take turns. In a run, many short repetitions of all cases are
# interleaved, since a machine's speed drifts.
set -eu
cd "$(dirname "$0")/.."

build=${1:-build/bench}
runs=${2:-5}
tools/setup.sh g++ cmake make nlohmann-json3-dev libbenchmark-dev rapidjson-dev libsimdjson-dev \
  valgrind python3
command -v npm >/dev/null || tools/setup.sh nodejs npm

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG" \
  -DTOOL_BINDING_BUILD_BENCH=ON -DTOOL_BINDING_BUILD_TESTS=OFF -DTOOL_BINDING_BUILD_APPS=OFF \
  -DTOOL_BINDING_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$build" --target bench >/dev/null
program=$build/bench/bench_tool_binding

raw=$build/raw
rm -rf "$raw"
mkdir -p "$raw" "$build/peers"
cp bench/peers/package.json bench/peers/peers.mjs "$build/peers"
npm install --prefix "$build/peers" --no-package-lock --no-audit --no-fund --silent
"$program" --cases >"$raw/cases.json"
node "$build/peers/peers.mjs" "$raw/cases.json" >"$raw/pairs.txt"

echo "instructions..."
bench/instructions.sh "$program" >"$raw/instructions.txt"
run=1
while [ "$run" -le "$runs" ]; do
  echo "run $run of $runs..."
  "$program" --benchmark_min_time=0.002 --benchmark_repetitions=101 \
    --benchmark_enable_random_interleaving=true \
    --benchmark_out="$raw/run$run.json" >/dev/null 2>"$raw/log.txt" ||
    { cat "$raw/log.txt"; exit 1; }
  "$build/bench/bench_json" --benchmark_min_time=0.002 --benchmark_repetitions=101 \
    --benchmark_enable_random_interleaving=true --benchmark_out="$raw/run$run.text.json" \
    >/dev/null 2>"$raw/log.txt" || { cat "$raw/log.txt"; exit 1; }
  "$build/bench/bench_handlers" --benchmark_out="$raw/run$run.handlers.json" \
    >/dev/null 2>"$raw/log.txt" || { cat "$raw/log.txt"; exit 1; }
  while read -r peer case; do
    echo "$peer/$case $(node "$build/peers/peers.mjs" "$raw/cases.json" "$peer" "$case")"
  done <"$raw/pairs.txt" >"$raw/run$run.txt"
  run=$((run + 1))
done

machine="$(sed -n 's/^model name\t*: //p' /proc/cpuinfo | head -n 1), $(nproc) processors"
bench/report.py "$raw" "$machine; $(c++ --version | head -n 1), -O2; Node.js $(node --version)"
