#!/usr/bin/env python3
"""Checks that the tests notice when the library is wrong.

Each row of MUTATIONS is a single change that breaks src/. One after the other is made in a scratch
copy of the tree, built, and must make a test fail: one of tests/, since the replay of the fuzz targets
stops by the clock. Fails when one survives, does not build, or when its old text is no longer exactly
once in its file.

    tools/mutate.py                 all of them (some twenty minutes)
    tools/mutate.py --only trim     those of the files whose name holds this
    tools/mutate.py --check         only whether the old texts are still in their files
"""

import argparse
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

MUTATIONS = [
    # file below src/, old text, new text
    ("value/mapping_access.hpp", "? --left : other", "? left - 1 : other"),
    ("value/numbers.cpp", "left_negative ? 0 <=> by_magnitude : by_magnitude", "by_magnitude"),
    ("value/numbers.cpp", "magnitude < 1e16", "magnitude <= 1e16"),
    ("value/numbers.cpp", "negative ? -moved : moved", "negative ? moved : -moved"),
    ("value/numbers.cpp", "if (after_underscore) return std::nullopt;", ""),
    ("json/plain_text.hpp", "byte >= 0x20", "byte >= 0x1F"),
    ("json/reader.cpp", "is_high_surrogate(code_point) || is_low_surrogate(code_point)",
     "is_high_surrogate(code_point)"),
    ("json/reader.cpp", "number.digits <= 19", "number.digits <= 20"),
    ("json/reader.cpp", "leads_with_zero && number.digits > 1", "leads_with_zero && false"),
    ("json/reader.cpp", "code_point > 0x10FFFF", "code_point > 0x1FFFFF"),
    ("json/writer.cpp", "head.value < 0xD800 ||", "true ||"),
    ("text/lines.hpp", "&text != &texts.front()", "&text != &texts.back()"),
    ("text/lower_case.cpp", "if (is_case_ignorable(head.value)) continue;", ""),
    ("text/lower_case.cpp", "c <= 'Z'", "c < 'Z'"),
    ("text/similarity.cpp", "most_size_ = size_ * (1 - least) / least", "most_size_ = size_"),
    ("text/similarity.cpp", "size / 100 + 1", "size / 100"),
    ("text/similarity.cpp", "return left.empty() && !right.empty();", "return right.empty();"),
    ("text/trim.cpp", "!is_white_space(tail.value)", "tail.value != U' '"),
    ("tool_binding.cpp", "return !items->empty();", "return true;"),
    ("tool_binding.cpp", "' was left out: '", "' was dropped: '"),
    ("tool_binding.cpp", "} else if (alias_hit) {", "} else if (false) {"),
    ("tool_binding.cpp", "*bit == 0 || *bit == 1", "*bit >= 0"),
    ("text/similarity.hpp", "NEAR_NAME_CUTOFF_ = 0.6", "NEAR_NAME_CUTOFF_ = 0.61"),
    ("registry/tool_registry.cpp", "if (trimmed(entry) == entry) add_position", "add_position"),
    ("registry/tool_registry.cpp", "tool.defaults.contains(ACTION_PARAM)", "tool.binds_action"),
    ("schemas/effective_action.cpp", "given->is_none() || ", ""),
    ("handlers/frame.cpp", "if (name == action) return value;", ""),
    ("handlers/frame.cpp", "if (type.accepts_item(items[i])) continue;", ""),
    ("handlers/cpp_type.cpp", "catch (const std::overflow_error&) {  // an integer",
     "catch (const std::bad_alloc&) {  // an integer"),
    ("handlers/match_type.cpp", "if (is_own && word.empty()) return true;", ""),
    ("handlers/plan.cpp", "if (names.size() > 1) return", "if (names.size() > 2) return"),
    ("handlers/plan.cpp", "for (const SchemaProblem& problem : check_tool",
     "if (false) for (const SchemaProblem& problem : check_tool"),
    ("schemas/checks.cpp", "compare_numbers(low, high) > 0", "compare_numbers(low, high) >= 0"),
    ("schemas/property.cpp", "*outer == entry.value) continue", "false) continue"),
    ("schemas/wire.cpp", "is_among(data_keywords, keyword)", "false"),
    ("schemas/publish.cpp", "if (!tool.default_action()) required", "required"),
    ("schemas/read.cpp", "general != nullptr ? general : unpublished", "general"),
    ("schemas/read.cpp", "!is_required && !has_default", "!has_default"),
    ("unicode/tables.cpp", "% row->step != 0", "% row->step > 1"),
    ("unicode/tables.hpp", "code_point <= 0x1F", "code_point < 0x1F"),
    ("unicode/utf8.cpp", "value > 0x10FFFF", "value > 0x1FFFFF"),
    ("utils/split_csv.cpp", "brackets_.has_lone_closer_before(partner) || ", ""),
    ("utils/split_csv.cpp", "doubt_ = \"a '[' has no ']'\";", ""),
    ("utils/split_csv.cpp", "in_vain = true;", ""),
    ("utils/split_csv.cpp", "(end - run) % 2 == 1", "end > run"),
    ("value/value.cpp", "digits10 + 2) {", "digits10 + 1) {"),
    ("value/display.cpp", "text.find('\\'') != text.npos && ", ""),
]


def run(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)


class Tree:
    """A scratch copy of the tree with a build of its own."""

    def __init__(self, source, directory, jobs):
        self.source = directory / "tree"
        self.build = directory / "build"
        self.jobs = str(jobs)
        ignored = shutil.ignore_patterns(".git", "build*", "node_modules")
        shutil.copytree(source, self.source, ignore=ignored)
        configured = run("cmake", "-S", self.source, "--preset", "dev", "-B", self.build,
                         "-DCMAKE_COMPILE_WARNING_AS_ERROR=OFF",
                         "-DTOOL_BINDING_BUILD_SERVER=OFF", "-DTOOL_BINDING_BUILD_EXAMPLES=OFF")
        if configured.returncode != 0:
            sys.exit(configured.stdout)
        if self.failure() is not None:
            sys.exit("the tests must pass before anything is changed: " + self.failure())

    def failure(self):
        """What fails first: the build, or a test by its name; None when all pass."""
        built = run("cmake", "--build", self.build, "-j", self.jobs)
        if built.returncode != 0:
            return "BUILD\n" + built.stdout
        tested = run("ctest", "--test-dir", self.build, "-j", self.jobs, "--stop-on-failure",
                     "--timeout", "120", "--no-tests=error", "-E", r"^(fuzz|compile_fail)\.")
        if tested.returncode == 0:
            return None
        failed = re.search(r"^\s*\d+ - (.*) \(.*\)$", tested.stdout, re.MULTILINE)
        return failed.group(1) if failed else tested.stdout

    def failure_with(self, name, old, new):
        path = self.source / "src" / name
        text = path.read_text()
        path.write_text(text.replace(old, new))
        try:
            return self.failure()
        finally:
            path.write_text(text)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--only", default="", help="part of a file's name")
    parser.add_argument("--check", action="store_true", help="build nothing")
    parser.add_argument("--jobs", type=int, default=2)
    options = parser.parse_args()
    root = pathlib.Path(__file__).resolve().parent.parent
    mutations = [row for row in MUTATIONS if options.only in row[0]]
    bad = [f"{name}: not exactly once: {old}" for name, old, _ in mutations
           if (root / "src" / name).read_text().count(old) != 1]
    if not bad and not options.check:
        with tempfile.TemporaryDirectory() as directory:
            tree = Tree(root, pathlib.Path(directory), options.jobs)
            for name, old, new in mutations:
                caught_by = tree.failure_with(name, old, new)
                what = f"{name}: {old!r} -> {new!r}"
                print(f"{what}: {caught_by or 'SURVIVES'}", flush=True)
                if caught_by is None or caught_by.startswith("BUILD"):
                    bad.append("not caught: " + what)
    print(f"{len(mutations)} changes, {len(bad)} at fault", *bad, sep="\n")
    return 1 if bad or not mutations else 0


if __name__ == "__main__":
    sys.exit(main())
