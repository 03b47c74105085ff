#!/bin/sh
# Instructions a request, by callgrind, which counts only within answer_once. Writes lines
# "WAY/CASE INSTRUCTIONS".
# Usage: bench/instructions.sh BENCH_TOOL_BINDING [CASE...]
set -eu

program=$1
shift
[ $# -gt 0 ] || set -- clean text notes refused action list/1000 unknown/100 tools/1000 \
  wide/10 wide/1000
ways='admit_bind admit_bind_move wire wire_answer'
out=$(mktemp)
trap 'rm -f "$out"' EXIT

for case in "$@"; do
  count=200
  case $case in list/* | unknown/* | wide/1000) count=20 ;; esac
  others='limit limit_wire limit_wire_answer'
  case $case in wide/*) others= ;; refused) others="$others try_limit try_admit_bind" ;; esac
  for way in $ways $others; do
    valgrind --tool=callgrind --callgrind-out-file=/dev/null --toggle-collect='*answer_once*' \
      "$program" --answer $way "$case" $count 2>"$out" || { cat "$out" >&2; exit 1; }
    echo "$way/$case $(($(sed -n 's/.*Collected : //p' "$out") / count))"
  done
done
