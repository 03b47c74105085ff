#!/usr/bin/env python3
"""The figures of docs/registry.md: what tool_admit's report says of public calls, as they were
published and rewritten in the ways in which clients write the same call differently.

Usage: bench/registry_figures.py TOOL_ADMIT TOOLS CALLS

TOOLS is an array of tools as a tools/list answer carries it; CALLS has one {"tool", "arguments"} a line.
"""

import copy
import json
import pathlib
import re
import subprocess
import sys
import tempfile
from collections import Counter, defaultdict

PROGRAM, TOOLS, CALLS = sys.argv[1:]


def properties(tool):
    return tool["inputSchema"].get("properties", {})


def is_number(value):
    return isinstance(value, (int, float)) and not isinstance(value, bool)


def other_spelling(name):
    return re.sub(r"_(\w)", lambda m: m[1].upper(), name) if "_" in name else re.sub(
        r"(?<=[a-z0-9])([A-Z])", lambda m: "_" + m[1].lower(), name)


def by_value(change):
    """A rewriting of every argument's value, given its property."""
    return lambda tool, arguments: {
        name: change(value, properties(tool).get(name, {})) for name, value in arguments.items()}


def as_text(value, _):
    return value if isinstance(value, (str, list, dict)) else json.dumps(value)


def list_as_text(value, _):
    is_plain = isinstance(value, list) and all(isinstance(item, str) and "," not in item for item in value)
    return ", ".join(value) if is_plain else value


def entry(change):
    return lambda value, schema: change(value) if isinstance(value, str) and "enum" in schema else value


def left_out_as_blank(tool, arguments):
    return arguments | {name: "" for name in properties(tool) if name not in arguments}


def respelt(_, arguments):
    return {other_spelling(name): value for name, value in arguments.items()}


def beside(_, arguments):
    return arguments | {name + "s": value for name, value in list(arguments.items())[:1]}


def first_text_blank(_, arguments):
    blank = next((name for name, value in arguments.items() if isinstance(value, str)), None)
    return arguments | ({blank: ""} if blank else {})


ROWS = [
    ("as published", lambda _, arguments: arguments),
    ('every value as text (`"5"`, `"true"`)', by_value(as_text)),
    ('lists as text (`"a, b"`)', by_value(list_as_text)),
    ("values of enumerations in capitals", by_value(entry(str.upper))),
    ("values of enumerations with an `s` more", by_value(entry(lambda value: value + "s"))),
    ("every parameter left out sent as blank text", left_out_as_blank),
    ("the first text sent as blank", first_text_blank),
    ("names in the other spelling (`maxResults` for `max_results`)", respelt),
    ("names in the other spelling, and the declared ones as blank text",
     lambda tool, arguments: {name: "" for name in properties(tool)} | respelt(tool, arguments)),
    ("a second name beside the first parameter (`limits` beside `limit`)", beside),
]


def report(tools, calls, directory, *options):
    for name, lines in (("tools.json", [tools]), ("calls.jsonl", calls)):
        (directory / name).write_text("".join(json.dumps(line) + "\n" for line in lines))
    patched = directory / "patched.json"
    done = subprocess.run([PROGRAM, "--tools", directory / "tools.json", "--report", "json", "--propose",
                           patched, *options, directory / "calls.jsonl"], capture_output=True, check=True)
    return json.loads(done.stdout), json.loads(patched.read_text())


def show(name, counts):
    kinds = Counter(proposal["keyword"] for proposal in counts["proposals"])
    proposed = ", ".join(f"{count} {kind}" for kind, count in sorted(kinds.items())) or "none"
    figures = [f"{counts[member]:,}" for member in
               ("admitted_as_sent", "admitted_with_changes", "refused")]
    print(f"| {name} | {' | '.join(figures)} | {proposed} | "
          f"{counts['measured']['refused_with_proposals']:,} |")


def with_bounds(tools, calls):
    """A bound at the greatest number that the published calls send."""
    tools = copy.deepcopy(tools)
    by_name = {tool["name"]: tool for tool in tools}
    for call in calls:
        for name, value in call["arguments"].items():
            schema = properties(by_name[call["tool"]]).get(name, {})
            if is_number(value) and value > 0 and schema.get("type") in ("integer", "number"):
                schema["maximum"] = max(value, schema.get("maximum", value))
    return tools


def by_family(tools, calls, needs_by_action):
    """Tools named FAMILY.ACTION as one tool with actions, which share parameters of one type."""
    families = defaultdict(list)
    for tool in tools:
        family, _, action = tool["name"].rpartition(".")
        schemas = properties(tool)
        if family and action and "action" not in schemas and not {"repo", "repo_root"} & set(schemas):
            families[family].append((action, tool))
    joined, place = [], {}
    for family, members in families.items():
        shared, needs = {}, defaultdict(list)
        for action, tool in members:
            schemas = properties(tool)
            if any(shared.get(name, schema).get("type") != schema.get("type")
                   for name, schema in schemas.items()):
                continue
            for name, schema in schemas.items():
                shared.setdefault(name, {"type": schema.get("type"), "items": schema.get("items", {})}
                                  if schema.get("type") == "array" else {"type": schema.get("type")})
            for name in tool["inputSchema"].get("required", []):
                needs[name].append(action)
            place[tool["name"]] = (family, action)
        actions = [action for name, (owner, action) in place.items() if owner == family]
        if len(actions) < 2:
            place = {name: where for name, where in place.items() if where[0] != family}
            continue
        for name, of in needs.items():
            if needs_by_action:
                shared[name]["x-required-for"] = of
        schema = {"type": "object", "properties": {"action": {"type": "string", "enum": actions}} | shared,
                  "required": ["action"] + ([] if needs_by_action else sorted(needs))}
        joined.append({"name": family, "inputSchema": schema})
    moved = [{"tool": place[call["tool"]][0],
              "arguments": {"action": place[call["tool"]][1]} | call["arguments"]}
             for call in calls if call["tool"] in place]
    return joined, moved


def main():
    tools = json.loads(pathlib.Path(TOOLS).read_text())
    calls = [json.loads(line) for line in pathlib.Path(CALLS).read_text().splitlines()]
    by_name = {tool["name"]: tool for tool in tools}
    with tempfile.TemporaryDirectory() as name:
        directory = pathlib.Path(name)
        print(f"| the {len(calls):,} calls | admitted as sent | with changes | refused | proposals "
              "| refused with them |\n| --- | ---: | ---: | ---: | --- | ---: |")
        for title, change in ROWS:
            changed = [{"tool": call["tool"], "arguments": change(by_name[call["tool"]], call["arguments"])}
                       for call in calls]
            counts, _ = report(tools, changed, directory)
            if title == "as published":
                unused = sum(len(tool["unused"]) for tool in counts["tools"].values())
                declared = sum(len(properties(tool)) for tool in tools)
            show(title, counts)
        print(f"\nnever sent: {unused:,} of {declared:,} parameters\n")
        ten_times = [call | {"arguments": {key: value * 10 if is_number(value) else value
                                           for key, value in call["arguments"].items()}} for call in calls]
        bounded = with_bounds(tools, calls)
        before, patched = report(bounded, ten_times, directory, "--values")
        after, _ = report(patched, ten_times, directory, "--values")
        show("numbers ten times as large as the bounds", before)
        print(f"\nclamped: {before['changes']['clamped']:,}, with the proposals "
              f"{after['changes']['clamped']:,}\n")
        for needs_by_action in (False, True):
            joined, moved = by_family(tools, calls, needs_by_action)
            counts, _ = report(joined, moved, directory)
            show(f"{len(moved)} calls of {len(joined)} tools with actions, needs "
                 + ("by action" if needs_by_action else "for all"), counts)
        for title, action in (("in capitals", str.upper), ("left out", lambda _: None)):
            sent = [call | {"arguments": call["arguments"] | {"action": action(call["arguments"]["action"])}}
                    for call in moved]
            show(f"the action {title}", report(joined, sent, directory)[0])


main()
