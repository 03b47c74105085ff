#!/bin/sh
# What tool_admit takes for 400,000 request lines: processor time (user and system), wall time and the
# most memory, the least of several runs.
# Usage: bench/tool_admit.sh TOOL_ADMIT [OTHER_TOOL_ADMIT...]
# Programs take turns, so that a machine's drift meets them alike; each is compared with the first, and
# where a program has --jobs, its two jobs with its one. RUNS and LINES change how much is done.
set -eu

runs=${RUNS:-5}
lines=${LINES:-400000}
"$(dirname "$0")/../tools/setup.sh" time
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The tool and the clean request of cases.cpp.
cat >"$work/tools.json" <<'END'
{"tools": [{"name": "code_search", "inputSchema": {"type": "object", "required": ["query"], "properties": {
  "query": {"type": "string", "x-synonyms": ["q", "pattern"]},
  "path": {"type": "string", "x-synonyms": ["file"]},
  "limit": {"type": "integer", "minimum": 1, "maximum": 1000, "default": 50},
  "offset": {"type": "integer", "minimum": 0},
  "context": {"type": "number", "minimum": 0, "maximum": 10, "default": 2},
  "case_sensitive": {"type": "boolean", "default": true},
  "regex": {"type": "boolean"},
  "kind": {"type": "string", "enum": ["any", "function", "class", "variable", "file", "comment"], "default": "any"},
  "languages": {"type": "array", "items": {"type": "string"}},
  "since": {"type": "string"}}}}]}
END
yes '{"tool":"code_search","arguments":{"query":"def open_connection","limit":50,"context":2.5,"case_sensitive":true,"languages":["cpp","python"]}}' |
  head -n "$lines" >"$work/requests.jsonl"

# Usage: measure NAME PROGRAM [OPTION...]; adds a line "CPU WALL MEGABYTES" to times-NAME.
measure() {
  name=$1
  shift
  /usr/bin/time -f '%U %S %e %M' -o "$work/time" "$@" --tools "$work/tools.json" \
    "$work/requests.jsonl" >"$work/answers"
  [ "$(wc -l <"$work/answers")" -eq "$lines" ] || { echo "$*: not an answer to each line" >&2; exit 1; }
  awk '{print $1 + $2, $3, $4 / 1024}' "$work/time" >>"$work/times-$name"
  [ -e "$work/first-answers" ] || cp "$work/answers" "$work/first-answers"
  cmp -s "$work/answers" "$work/first-answers" || echo "$*: not the first program's answers" >&2
}

has_jobs() { "$1" --help | grep -q -e --jobs; }

for _ in $(seq "$runs"); do
  number=0
  for program in "$@"; do
    number=$((number + 1))
    if has_jobs "$program"; then
      measure "$number-1" "$program" --jobs 1
      measure "$number-2" "$program" --jobs 2
    else
      measure "$number-1" "$program"
    fi
  done
done

# Usage: least COLUMN NAME
least() { sort -g -k "$1,$1" "$work/times-$2" | head -n 1 | cut -d ' ' -f "$1"; }

number=0
for program in "$@"; do
  number=$((number + 1))
  echo "$program"
  awk -v cpu="$(least 1 "$number-1")" -v first="$(least 1 1-1)" -v wall="$(least 2 "$number-1")" \
    -v memory="$(least 3 "$number-1")" -v lines="$lines" 'BEGIN {
      printf "  processor time %.2f s (%.2f us a line, %.2f of the first), wall %.2f s, %.0f MB\n",
        cpu, 1e6 * cpu / lines, cpu / first, wall, memory }'
  if [ -e "$work/times-$number-2" ]; then
    awk -v one="$(least 2 "$number-1")" -v two="$(least 2 "$number-2")" \
      -v memory="$(least 3 "$number-2")" 'BEGIN {
        printf "  two jobs: wall %.2f s (%.2f of one), %.0f MB\n", two, two / one, memory }'
  fi
done
