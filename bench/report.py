#!/usr/bin/env python3
"""Writes results/ from the raw results of run.sh.

Usage: report.py RAW_DIRECTORY MACHINE

A time of a run is what a request takes while nothing else slows the processor: the lowest decile of
its repetitions, which holds still where a median does not. Over the runs, times are medians, and a
ratio is the median of the runs' ratios.
"""

import collections
import html
import json
import math
import pathlib
import re
import statistics
import sys

CASES = ["clean", "text", "notes", "refused", "action",
         *(f"{kind}/{n}" for kind in ("list", "unknown") for n in (10, 100, 1000, 10000)),
         "tools/10", "tools/1000", "wide/10", "wide/1000"]
WAYS = ["limit", "admit_bind", "admit_bind_move"]
PEERS = ["ajv", "zod", "ajv_in_place", "zod_plain", "rapidjson_bind", "rapidjson_validate"]
ROADS = ["limit_wire", "wire", "ajv_wire", "zod_wire", "nlohmann_wire", "rapidjson_wire"]
INSTRUCTED_ROADS = ["limit_wire", "wire", "limit_wire_answer", "wire_answer"]
PLOTTED = ["clean", "text", "notes", "action", "refused", "list/1000", "unknown/100"]
COLORS = {"limit": "#222222", "admit_bind": "#1f6fb4", "admit_bind_move": "#7db8e8",
          "ajv": "#d9822b", "zod": "#b0413e", "ajv_in_place": "#f0c489", "zod_plain": "#e3a5a3",
          "rapidjson_bind": "#4c8c4a", "rapidjson_validate": "#a5cf9f", "nlohmann": "#8a63a8"}


def undisturbed(name, times):
    """Two threads need both processors undisturbed at once, which is seldom: the lowest."""
    return min(times) if name.startswith("threads") else sorted(times)[len(times) // 10]


class Results:
    def __init__(self, raw):
        self.runs = []  # of each run: nanoseconds by "WAY/CASE"
        self.counters = {}
        for file in sorted(raw.glob("run*[0-9].json")):
            repetitions = collections.defaultdict(list)
            entries = json.loads(file.read_text())["benchmarks"]
            of_json = file.with_suffix(".text.json")
            if of_json.exists():
                entries += json.loads(of_json.read_text())["benchmarks"]
            for entry in entries:
                if entry["run_type"] != "iteration":
                    continue
                name = re.sub("/(min_time|repeats|manual_time|real_time)[^/]*", "", entry["run_name"])
                self.counters[name] = entry
                many = "items_per_second" in entry
                repetitions[name].append(1e9 / entry["items_per_second"] if many
                                         else entry["real_time"])
            times = {name: undisturbed(name, each) for name, each in repetitions.items()}
            for line in file.with_suffix(".txt").read_text().splitlines():
                name, nanoseconds = line.split()
                times[name] = float(nanoseconds)
            self.runs.append(times)
        # Of each comparison that bench_handlers makes by itself, the runs' figures.
        self.compared = collections.defaultdict(list)
        for file in sorted(raw.glob("run*.handlers.json")):
            for entry in json.loads(file.read_text())["benchmarks"]:
                name = entry["name"].split("/iterations")[0]
                self.compared[name].append(entry.get("ratio") or 1 / entry["speedup"])
        lines = (raw / "instructions.txt").read_text().splitlines()
        self.instructions = {name: int(count) for name, count in map(str.split, lines)}

    def time(self, name):
        times = [run[name] for run in self.runs if name in run]
        return statistics.median(times) if times else None

    def ratio(self, name, base):
        ratios = [run[name] / run[base] for run in self.runs if name in run and base in run]
        return statistics.median(ratios) if ratios else None

    def instruction_ratio(self, name, base):
        if name not in self.instructions or base not in self.instructions:
            return None
        return self.instructions[name] / self.instructions[base]


def shown(number):
    if number is None:
        return "–"
    return f"{number:,.0f}" if number >= 100 else f"{number:.1f}"


def times(ratio):
    return "–" if ratio is None else f"{ratio:.2f}×"


def with_ratio(results, name, base):
    time = results.time(name)
    return "–" if time is None else f"{shown(time)} ({times(results.ratio(name, base))})"


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + " --- |" + " ---: |" * (len(head) - 1)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


def goals(results):
    """Rows of (what, the most it should be, what it is), of what was measured."""
    rows = []

    def time(name, base, most):
        rows.append((f"{name} over {base}", most, results.ratio(name, base)))

    for case in ("clean", "text", "notes", "action"):
        time(f"admit_bind/{case}", f"limit/{case}", 1.5)
        time(f"admit_bind_move/{case}", f"limit/{case}", 1.5)
        rows.append((f"admit_bind/{case} over limit, instructions", 2.0,
                     results.instruction_ratio(f"admit_bind/{case}", f"limit/{case}")))
    for case, most in (("refused", 1.5), ("list/1000", 1.1), ("unknown/100", 1.0),
                       ("unknown/1000", 1.0), ("unknown/10000", 1.0)):
        time(f"admit_bind/{case}", f"limit/{case}", most)
    for case in ("clean", "text", "notes", "action", "refused", "list/1000", "unknown/1000"):
        beyond = (results.counters[f"admit_bind/{case}"]["allocations"]
                  - results.counters[f"limit/{case}"]["allocations"])
        rows.append((f"admit_bind/{case}, allocations beyond limit's", 1.0, beyond))
    time("admit_bind/tools/1000", "admit_bind/tools/10", 1.3)
    rows.append(("admit_bind/wide/1000 over admit_bind/wide/10, a parameter", 1.3,
                 results.ratio("admit_bind/wide/1000", "admit_bind/wide/10") / 100))
    time("try_admit_bind/refused", "ajv/refused", 0.6)
    for case in CASES:
        for peer in ("ajv", "zod", "rapidjson_bind"):
            time(f"admit_bind/{case}", f"{peer}/{case}", 1.0)
    time("wire/clean", "limit_wire/clean", 1.5)
    for case in CASES:
        time(f"wire/{case}", f"ajv_wire/{case}", 1.2 if case in ("list/1000", "list/10000") else 0.8)
    for case, most in (("clean", 1.25), ("list/1000", 1.0), ("mixed", 2.0)):
        time(f"parse_json/{case}", f"simdjson/{case}", most)
    for case, most in (("clean", 0.6), ("list/1000", 1.0)):
        time(f"parse_json/{case}", f"json_parse/{case}", most)
    for case in ("clean", "list/1000"):
        time(f"json_text/{case}", f"json_stringify/{case}", 0.6)
    for way in ("threads/clean", "threads/refused", "threads_try/refused", "threads_wire/clean"):
        rows.append((f"time a request of two threads over one, {way}", 1 / 1.9,
                     results.ratio(f"{way}/threads:2", f"{way}/threads:1")))
    for name, ratios in results.compared.items():
        most = {"typed_call": 1.15, "service_call": 1.1}.get(name.split("/")[0], 1 / 1.9)
        rows.append((f"{name} over the same by hand" if "/" in name
                     else "time a call of two threads over one, service",
                     most, statistics.median(ratios)))
    return [row for row in rows if row[2] is not None]


def tables(results, machine):
    def allocations(name):
        counters = results.counters.get(name)
        if counters is None:
            return "–"
        return f"{counters['allocations']:,.0f} / {counters['heap_bytes']:,.0f}"

    def times_row(case):
        limit = f"limit/{case}"
        return [case, shown(results.time(limit)), with_ratio(results, f"admit_bind/{case}", limit),
                with_ratio(results, f"admit_bind_move/{case}", limit)]

    def instructions_row(case):
        counts = results.instructions

        def cell(way, base):
            name = f"{way}/{case}"
            if name not in counts:
                return "–"
            return f"{counts[name]:,} ({times(results.instruction_ratio(name, f'{base}/{case}'))})"

        return [case, *(cell(way, "limit") for way in WAYS),
                *(cell(way, way if way.startswith("limit_") else f"limit_{way}")
                  for way in INSTRUCTED_ROADS)]

    def roads(suffix):
        ways = [way + suffix for way in ROADS]
        return table(["case", *ways],
                     [[case, *(with_ratio(results, f"{way}/{case}", f"{ways[0]}/{case}")
                               for way in ways)] for case in CASES])

    def micro(case):
        names = [f"{way}/{case}" for way in ("parse_json", "simdjson", "json_parse", "json_text",
                                             "json_stringify")]
        return [case, *(shown(results.time(name)) for name in names)]

    def met(ratio, most):
        return "yes" if ratio <= most else "**no**"

    return "\n\n".join([
        f"{machine}; lowest deciles of a run's repetitions, medians of {len(results.runs)} runs.",
        "Nanoseconds a request, and the ratio to `limit` (the median of the runs' own ratios):",
        table(["case", *WAYS], map(times_row, CASES)),
        "The peers, likewise (to the left those given the same work):",
        table(["case", "limit", "admit_bind", *PEERS],
              [[case, shown(results.time(f"limit/{case}")),
                *(with_ratio(results, f"{way}/{case}", f"limit/{case}")
                  for way in ["admit_bind", *PEERS])]
               for case in CASES if any(results.time(f"{peer}/{case}") for peer in PEERS)]),
        "From the bytes of a line to bound arguments, and the ratio to `limit_wire`:",
        roads(""),
        "And to the bytes of the answer:",
        roads("_answer"),
        "Reading and writing JSON alone:",
        table(["text", "parse_json", "simdjson into Value", "JSON.parse", "json_text",
               "JSON.stringify"], map(micro, ("clean", "list/1000", "mixed"))),
        "A refusal that is returned, not thrown:",
        table(["case", "try_limit", "try_admit_bind"],
              [["refused", shown(results.time("try_limit/refused")),
                with_ratio(results, "try_admit_bind/refused", "try_limit/refused")]]),
        "Instructions a request:",
        table(["case", *WAYS, *INSTRUCTED_ROADS],
              [instructions_row(case) for case in CASES
               if f"admit_bind/{case}" in results.instructions]),
        "Allocations a request / bytes that they ask for:",
        table(["case", *WAYS],
              [[case, *(allocations(f"{way}/{case}") for way in WAYS)] for case in CASES]),
        "Goals:",
        table(["what", "at most", "is", "met"],
              [[what, f"{most:.2f}", f"{is_now:.2f}", met(is_now, most)]
               for what, most, is_now in goals(results)]),
    ]) + "\n"


def color_of(way):
    """A road has the colour of what it goes through."""
    road = way.removesuffix("wire").removesuffix("_")
    return COLORS.get(way) or COLORS.get(road) or COLORS[f"{road}_bind" if road else "admit_bind"]


def plot(results, machine):
    ways = ["limit", "admit_bind", "admit_bind_move", *PEERS, *ROADS]
    left, top, bar, width = 230, 84, 15, 640
    rows = []  # (y, way, name)
    labels = []  # (y, case)
    y = top
    for case in PLOTTED:
        shown_ways = [way for way in ways if results.time(f"{way}/{case}") is not None]
        labels.append((y + bar * len(shown_ways) / 2, case))
        for way in shown_ways:
            rows.append((y, way, case))
            y += bar
        y += 14
    low = math.floor(math.log10(min(results.time(f"{w}/{c}") for _, w, c in rows)))
    high = math.ceil(math.log10(max(results.time(f"{w}/{c}") for _, w, c in rows)))

    def x(nanoseconds):
        return left + width * (math.log10(nanoseconds) - low) / (high - low)

    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + width + 150}" '
             f'height="{y + 40}" font-family="sans-serif" font-size="11">',
             '<rect width="100%" height="100%" fill="white"/>',
             '<text x="12" y="24" font-size="15">Nanoseconds a request (logarithmic), and the '
             'ratio to limit; from a line of JSON (wire), to limit_wire</text>',
             f'<text x="12" y="44" fill="#555">{html.escape(machine)}</text>']
    for power in range(low, high + 1):
        parts.append(f'<line x1="{x(10 ** power):.1f}" x2="{x(10 ** power):.1f}" y1="{top - 8}" '
                     f'y2="{y - 6}" stroke="#ddd"/>')
        parts.append(f'<text x="{x(10 ** power):.1f}" y="{top - 12}" text-anchor="middle" '
                     f'fill="#555">{10 ** power:,} ns</text>')
    for middle, case in labels:
        parts.append(f'<text x="12" y="{middle + 5:.1f}" font-size="14" font-weight="bold">'
                     f'{case}</text>')
    for y_bar, way, case in rows:
        base = "limit_wire" if way.endswith("wire") else "limit"
        name, limit = f"{way}/{case}", f"{base}/{case}"
        time = results.time(name)
        parts.append(f'<text x="{left - 6}" y="{y_bar + 11}" text-anchor="end">{way}</text>')
        parts.append(f'<rect x="{left}" y="{y_bar + 1}" width="{x(time) - left:.1f}" '
                     f'height="{bar - 3}" fill="{color_of(way)}"/>')
        parts.append(f'<text x="{x(time) + 5:.1f}" y="{y_bar + 11}">{shown(time)} '
                     f'({times(results.ratio(name, limit))})</text>')
    return "\n".join(parts + ["</svg>"]) + "\n"


def main():
    raw, machine = pathlib.Path(sys.argv[1]), sys.argv[2]
    here = pathlib.Path(__file__).parent
    results = Results(raw)
    shown_tables = tables(results, machine)
    (here / "results" / "table.md").write_text(shown_tables)
    (here / "results" / "plot.svg").write_text(plot(results, machine))


if __name__ == "__main__":
    main()
