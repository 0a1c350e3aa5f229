#!/usr/bin/python3
"""Holds the lines that were run against the list of those that are not.

    check.py COUNTS SUMMARY ROOT LIST

COUNTS is the report of gcovr in JSON, with paths from the folder ROOT on, and SUMMARY its summary
of the same with the branches that the compiler makes for exceptions. Prints a line with the totals,
and before it what does not agree with LIST, which makes the status 1.
"""

import json
import pathlib
import sys
from collections import defaultdict


def read_list(path):
    """When (never, sometimes) a line is run, by (source, line)."""
    entries = {}
    for line in pathlib.Path(path).read_text(encoding="ascii").splitlines():
        if line and not line.startswith("#"):
            when, source, text, reason = line.split("\t")
            if when not in ("never", "sometimes") or not reason:
                sys.exit(f"{path}: neither never nor sometimes, or no reason: {line}")
            entries[source, text] = when
    return entries


def read_counts(path, root):
    """How often each line was run: lists of (number, count), by (source, line)."""
    counts = defaultdict(list)
    for file in json.loads(pathlib.Path(path).read_text())["files"]:
        source = file["file"].removeprefix("SharedLibraries/")
        text = (pathlib.Path(root) / file["file"]).read_text(encoding="ascii").splitlines()
        for line in file["lines"]:
            if not line["gcovr/noncode"]:
                number = line["line_number"]
                counts[source, text[number - 1].strip()].append((number, line["count"]))
    return counts


def disagreements(counts, entries):
    """Equal lines of a source are taken for one, which is run when all of them are."""
    for (source, text), lines in sorted(counts.items()):
        missed = [number for number, count in lines if count == 0]
        when = entries.get((source, text))
        if missed and when is None:
            yield from (f"{source}:{number}: not run, nor listed: {text}" for number in missed)
        elif not missed and when == "never":
            yield f"{source}: listed, and run all the same: {text}"
    for source, text in entries.keys() - counts.keys():
        yield f"{source}: listed, and not in the source: {text}"


def share(part, whole):
    return f"{part} of {whole} ({100 * part / whole:.2f} %)"


def main():
    counts_path, summary_path, root, list_path = sys.argv[1:]
    counts = read_counts(counts_path, root)
    lines = [count for places in counts.values() for _, count in places]
    branches = [branch["count"]
                for file in json.loads(pathlib.Path(counts_path).read_text())["files"]
                for line in file["lines"] for branch in line["branches"]]
    summary = json.loads(pathlib.Path(summary_path).read_text())
    found = list(disagreements(counts, read_list(list_path)))
    for line in found:
        print(line)
    print(f"run: lines {share(sum(map(bool, lines)), len(lines))},"
          f" branches {share(sum(map(bool, branches)), len(branches))},"
          f" with those of exceptions"
          f" {share(summary['branch_covered'], summary['branch_total'])}")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
