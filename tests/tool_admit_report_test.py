"""Counts of tool_admit's report against those of the log's maker, which knows what it put in.

Usage: tool_admit_report_test.py TOOL_ADMIT
"""

import gzip
import json
import pathlib
import random
import re
import subprocess
import sys
import tempfile
from collections import Counter

PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
HOSTILE = ['<script>alert(1)</script>', '"><img src=x onerror=alert(1)>', "a\u0000b\u001b[31m", "</style>&lt;"]

# A fault or change: what it does to the arguments, and the kinds that it counts for.
SEARCH = {
    "synonym": (lambda a: a.update(n=a.pop("limit", 7)), ("changes", "synonym")),
    "from_text": (lambda a: a.update(case_sensitive="yes"), ("changes", "from_text")),
    "clamped": (lambda a: a.update(limit=1000), ("changes", "clamped")),
    "unknown": (lambda a: a.update(colour="red"), ("problems", "unknown_name")),
    "hostile": (lambda a: a.update({random.choice(HOSTILE): 1}), ("problems", "unknown_name")),
    "wrong_type": (lambda a: a.update(paths=5), ("problems", "wrong_type")),
    "enumeration": (lambda a: a.update(mode="fuzzy"), ("problems", "enumeration")),
    "missing": (lambda a: a.pop("query"), ("problems", "missing")),
}
BRANCHES = {
    "action_synonym": (lambda a: a.update(action="ls"), ("changes", "action_synonym")),
    "default_action": (lambda a: a.pop("action"), ("changes", "default_action")),
    "unknown_action": (lambda a: a.update(action="explode"), ("problems", "unknown_action")),
}
MEMBERS = ("lines", "skipped", "requests", "admitted_as_sent", "admitted_with_changes", "refused")
NO_CALLS = ['{"jsonrpc": "2.0", "id": 1, "result": {}}', '{"jsonrpc": "2.0", "method": "tools/list"}',
            '{"role": "user", "content": "hello"}', "2024-05-31 started"]


def outcome_of(kinds):
    if any(where == "problems" for where, _ in kinds):
        return "refused"
    return "admitted_with_changes" if kinds else "admitted_as_sent"


def make_log(size):
    """The lines, and the counts by (tool, where, kind); tool "" for the whole."""
    lines, counts = [], Counter()
    for _ in range(size):
        counts["", "lines"] += 1
        choice = random.random()
        if choice < 0.05:
            lines.append(random.choice(NO_CALLS))
            counts["", "skipped"] += 1
            continue
        if choice < 0.1:
            lines.append(json.dumps({"tool": "serach", "arguments": {}}))
            counts.update([("", "requests"), ("", "refused"), ("", "unknown_tool")])
            continue
        tool, arguments, table = random.choice([
            ("search", {"query": "x", "limit": 5}, SEARCH), ("branches", {"action": "list"}, BRANCHES)])
        most = 1 if tool == "branches" else 3
        names = random.sample(sorted(table), random.randint(0, most))
        if "synonym" in names and "clamped" in names:
            names.remove("clamped")  # the declared name would leave the synonym out
        kinds = set()
        for name in names:
            change, kind = table[name]
            change(arguments)
            kinds.add(kind)
        outcome = outcome_of(kinds)
        counts.update((tool, "unknown", name) for name in arguments if name in ("colour", *HOSTILE))
        counts.update((key, count) for key in ("", tool) for count in ("requests", outcome))
        where = "problems" if outcome == "refused" else "changes"
        counts.update((tool, *kind) for kind in kinds if kind[0] == where)
        lines.append(json.dumps({"tool": tool, "arguments": arguments}))
    return lines, counts


def run(*arguments, **options):
    done = subprocess.run([PROGRAM, *map(str, arguments)], capture_output=True, **options)
    assert done.returncode == 0, done.stderr
    return done.stdout


def parts_of(lines, count, directory, *options):
    """The files of the reports of so many shards."""
    parts = [directory / f"part{number}" for number in range(count)]
    for number, part in enumerate(parts):
        part.write_bytes(run(*options, "--report", "json", input="\n".join(lines[number::count]).encode()))
    return parts


def check_counts(report, counts):
    for member in (*MEMBERS, "unknown_tool"):
        assert report[member] == counts["", member], member
    assert report["unknown_tools"] == [
        {"name": "serach", "count": counts["", "unknown_tool"], "nearest": "search"}]
    for tool in ("search", "branches"):
        counted = report["tools"][tool]
        for member in MEMBERS[2:]:
            assert counted[member] == counts[tool, member], (tool, member)
        for where in ("changes", "problems"):
            for kind, count in counted[where].items():
                assert count == counts[tool, where, kind], (tool, where, kind, count)
        names = {name["name"]: name["count"] for name in counted["unknown_names"]}
        assert names == {key[2]: count for key, count in counts.items()
                         if key[:2] == (tool, "unknown")}
        listed = [(-name["count"], name["name"].encode()) for name in counted["unknown_names"]]
        assert listed == sorted(listed)


def check_page(page, report):
    tags = re.findall(r"<(\w+)([^>]*)>", page)
    assert not {"script", "img", "iframe", "object"} & {tag for tag, _ in tags}
    assert not any(re.search(r"\bon\w+\s*=", attributes) for _, attributes in tags)
    figures = {term.replace(" ", "_"): int(figure)
               for term, figure in re.findall(r"<dt>([^<]*)</dt>\s*<dd>(\d+)</dd>", page)}
    for member in MEMBERS:
        assert figures[member] == report[member], member
    for tool in report["tools"].values():
        for name in tool["unknown_names"]:
            assert f'<td class="n">{name["count"]}</td>' in page
    assert "\x00" not in page and "\x1b" not in page


def check_proposals(log, directory, report):
    patched = directory / "patched.json"
    measured = json.loads(run("--calls-only", "--report", "json", "--propose", patched, log))["measured"]
    assert measured["refused"] == report["refused"]
    again = json.loads(run("--tools", patched, "--calls-only", "--report", "json", log))
    assert again["refused"] == measured["refused_with_proposals"]
    run("--tools", patched, "--check")


def main():
    random.seed(16)
    lines, counts = make_log(5000)
    with tempfile.TemporaryDirectory() as name:
        directory = pathlib.Path(name)
        log = directory / "log.jsonl"
        log.write_text("\n".join(lines) + "\n")
        compressed = directory / "log.jsonl.gz"
        half = len(lines) // 2  # two members, one after the other
        compressed.write_bytes(b"".join(gzip.compress(("\n".join(part) + "\n").encode())
                                        for part in (lines[:half], lines[half:])))
        options = ("--calls-only", "--report", "json")
        whole = run(*options, log)
        report = json.loads(whole)
        check_counts(report, counts)
        for other in (("--jobs", 3, log), (compressed,), ("--jobs", 2, compressed)):
            assert run(*options, *other) == whole, other
        assert run(*options, input=log.read_bytes()) == whole
        for word in ("red", "fuzzy", "1000"):
            assert word not in whole.decode().replace("colour", ""), word
        check_page(run("--calls-only", "--report", "html", log).decode(), report)
        check_proposals(log, directory, report)
        # Map and reduce: a report of each shard, then one of all, in any order.
        parts = parts_of(lines, 7, directory, "--calls-only")
        for _ in range(3):
            random.shuffle(parts)
            assert run("--merge", *parts) == whole
        assert run("--merge", "-", input=b"".join(part.read_bytes() for part in parts)) == whole
        half_way = directory / "half.json"
        half_way.write_bytes(run("--merge", *parts[:3]))
        half_way.write_text(json.dumps(json.loads(half_way.read_bytes()), indent=2))
        assert run("--merge", *parts[3:], half_way) == whole
        check_cap(directory, (), 1000)
        tools = [{"name": name, "inputSchema": {"properties": {"query": {"type": "string"}}}}
                 for name in ("search", *(f"tool{n}" for n in range(999)))]
        (directory / "many.json").write_text(json.dumps(tools))
        check_cap(directory, ("--tools", directory / "many.json"), 100)
        check_what_is_proposed(directory)


def check_what_is_proposed(directory):
    """Only what helps, under a name that can be declared, whatever else the request holds."""
    tools = [{"name": "t", "inputSchema": {"required": ["text", "size"], "properties": {
        "text": {"type": "string", "x-synonyms": ["body"]}, "paths": {"type": "array"},
        "size": {"anyOf": [{"type": "integer", "maximum": 10}, {"type": "null"}]}}}}]
    names = ["txet", "action", "repo", "\u2028", "\u202e\u009b<b>"]
    calls = [{"size": 99, name: "x"} for name in names] + [
        {"size": 10**400, "text": "", "Text": "x"},  # blank: as good as left out
        {"size": "", "text": "x"}, {"size": 5, "text": " "}, {"size": 5, "body": "x", "text": []}]
    (directory / "t.json").write_text(json.dumps(tools))
    log = directory / "t.jsonl"
    log.write_text("\n".join(json.dumps({"tool": "t", "arguments": call}) for call in calls))
    options = ("--tools", directory / "t.json", "--values", "--report")
    report = json.loads(run(*options, "json", "--propose", directory / "t2.json", log))
    assert [(p["keyword"], p["value"]) for p in report["proposals"]] == [
        ("x-synonyms", "Text"), ("x-synonyms", "txet"), ("x-synonyms", names[-1]),
        ("x-blank-is-value", True)]
    assert report["measured"] == {"requests": 9, "refused": 9, "refused_with_proposals": 5}
    assert report["tools"]["t"]["problems"]["missing"] == 8
    run("--tools", directory / "t2.json", "--check")
    (directory / "part.json").write_text(json.dumps(report))
    for form in ("text", "html"):
        page = run(*options, form, log)
        assert page == run("--merge", directory / "part.json", "--report", form)
        assert not set(names[-1][:2]) & set(page.decode())


def check_cap(directory, options, cap):
    """Beyond the cap, which many tools share, parts still add up to the whole, and a near name keeps its exact count."""
    names = [f"junk_{n:05}" for n in range(3000)] + ["qeury"] * 500
    random.shuffle(names)
    lines = [json.dumps({"tool": "search", "arguments": {"query": "x", name: 1}}) for name in names]
    whole = run(*options, "--report", "json", input="\n".join(lines).encode())
    assert run("--merge", *parts_of(lines, 2, directory, *options)) == whole
    counted = json.loads(whole)["tools"]["search"]
    assert counted["unknown_names"][0]["count"] == 500
    assert len(counted["unknown_names"]) == cap
    assert sum(name["count"] for name in counted["unknown_names"]) + counted["unknown_names_beyond_cap"] == 3500


main()
