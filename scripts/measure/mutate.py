"""Tries small changes of the library one by one, and tells which of them no test notices.

    mutate.py [--survivors] DIRECTORY COUNT SEED

Works in DIRECTORY: a copy of the sources, its build, and results.csv, which an interrupted run goes on from."""

import argparse
import csv
import hashlib
import json
import os
import signal
import sys
from dataclasses import dataclass
from pathlib import Path

from coverage import measure
from mutants import drawn
from private_tree import PrivateTree
from suites import Suite, run_suite

COLUMNS = ["file", "line", "column", "kind", "original", "mutated", "result", "by"]
# What is no change at all, or no program, says nothing of the tests: another mutant is drawn for it.
NOT_COUNTED = ("does not compile", "same code")
WHAT_TESTS_DEPEND_ON = ("include/", "platform/", "src/", "tests/", "tools/")


@dataclass
class Baseline:
    """What the tests do with the sources as they are: how long each suite takes, and for each line of each file the suites
    that reach it."""
    seconds: dict
    reached: dict

    def suites_for(self, mutant):
        """The suites that reach a mutant's line, in the order in which they most likely notice it: those with the name of its
        file first, then the quick ones."""
        lines = {int(number): suites for number, suites in self.reached.get(mutant.file, {}).items()}
        # A line in the middle of a statement counts with the line where the statement is counted.
        counted = [number for number in lines if number <= mutant.line]
        reaching = set(lines[max(counted)] if counted else self.seconds) & set(self.seconds)
        if mutant.file.endswith(".h"):
            # What tests of internals include is compiled into them too, and not counted there.
            reaching |= {suite for suite in self.seconds if suite.startswith("points_cloud_internal_tests:")}
        return self.ordered(mutant, reaching)

    def ordered(self, mutant, suites):
        stem = Path(mutant.file).stem.split("_")[-1].lower()
        return sorted((Suite.of(suite) for suite in suites),
                      key=lambda suite: (stem not in suite.name.lower(), self.seconds[str(suite)]))

    def limit(self, suite):
        return 20 + 5 * self.seconds[str(suite)]


class Results:
    def __init__(self, path):
        self.path = path
        self.rows = {}
        if path.exists():
            with path.open(newline="") as file:
                for row in csv.DictReader(file):
                    self.rows[self.key(row)] = row

    @staticmethod
    def key(row):
        return (row["file"], str(row["line"]), str(row["column"]), row["mutated"])

    def row(self, mutant):
        return {"file": mutant.file, "line": str(mutant.line), "column": str(mutant.column), "kind": mutant.kind,
                "original": " ".join(mutant.original.split()), "mutated": " ".join(mutant.replacement.split())}

    def find(self, mutant):
        return self.rows.get(self.key(self.row(mutant)))

    def add(self, mutant, result, by):
        row = {**self.row(mutant), "result": result, "by": by}
        self.rows[self.key(row)] = row
        scratch = self.path.with_suffix(".new")
        with scratch.open("w", newline="") as file:
            writer = csv.DictWriter(file, COLUMNS)
            writer.writeheader()
            writer.writerows(self.rows.values())
        scratch.replace(self.path)
        return row


def notices(build, suite, limit):
    """How a suite notices the mutant that is built; none where it does not. A failure has to come twice, since a machine that
    is busy can fail a test too."""
    first = run_suite(build, suite, limit, ["--gtest_fail_fast"])
    if first.passed:
        return None
    if not first.ended:
        return f"{suite} (did not end)"
    return None if run_suite(build, suite, limit, ["--gtest_fail_fast"]).passed else str(suite)


def judge(tree, baseline, mutant, text):
    suites = baseline.suites_for(mutant)
    tree.put(mutant.file, mutant.applied(text))
    try:
        if not tree.builds("points_cloud"):
            return "does not compile", ""
        if tree.is_same_code():
            return "same code", ""
        if not suites:
            return "survived", "no test reaches the line"
        built = set()
        for suite in suites:
            # Some programs hold the objects of the library.
            if suite.program not in built and not tree.builds(suite.program):
                return "does not compile", ""
            built.add(suite.program)
            by = notices(tree.build, suite, baseline.limit(suite))
            if by:
                return "killed", by
        return "survived", ""
    finally:
        tree.put(mutant.file, text)


def sources_of(tree):
    return {str(path.relative_to(tree.sources)): path.read_text()
            for path in sorted((tree.sources / "src").rglob("*")) if path.suffix in (".cpp", ".h")}


def digest_of(names_and_texts):
    return hashlib.sha256(json.dumps(names_and_texts, sort_keys=True).encode()).hexdigest()


def open_results(directory, sources):
    """Results of other sources are of no use: line numbers have moved."""
    digest = digest_of(sources)
    mark, results = directory / "sources.sha256", directory / "results.csv"
    if results.exists() and (not mark.exists() or mark.read_text() != digest):
        results.rename(directory / "results-of-older-sources.csv")
    mark.write_text(digest)
    return Results(results)


def measure_baseline(tree):
    """Measured once for what the tree is now, with sources and tests."""
    path = tree.directory / "baseline.json"
    digest = digest_of(sorted((name, (tree.sources / name).read_bytes().hex()) for name in tree.files()
                              if name.startswith(WHAT_TESTS_DEPEND_ON)))
    known = json.loads(path.read_text()) if path.exists() else {}
    if known.get("digest") != digest:
        tree.make(coverage=True)
        coverage, failed = measure(tree.build, tree.sources)
        for suite in failed:
            print(f"Left out, since it fails without any change: {suite}", flush=True)
            del coverage.seconds[str(suite)]
        path.write_text(json.dumps({"digest": digest, "seconds": coverage.seconds, "reached": coverage.suites}))
        known = json.loads(path.read_text())
    return Baseline(known["seconds"], known["reached"])


def print_summary(rows):
    counted = [row for row in rows if row["result"] not in NOT_COUNTED]
    survivors = [row for row in counted if row["result"] == "survived"]
    print(f"\n{len(counted)} mutants, {len(counted) - len(survivors)} killed, {len(survivors)} survived; "
          f"drawn and not counted: {len(rows) - len(counted)}")
    for row in survivors:
        print(f"  {row['file']}:{row['line']}:{row['column']}: {row['kind']}: {row['original']} -> {row['mutated'] or '(nothing)'}"
              + (f"   [{row['by']}]" if row["by"] else ""))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--survivors", action="store_true")
    parser.add_argument("directory", type=Path)
    parser.add_argument("count", type=int)
    parser.add_argument("seed", type=int)
    arguments = parser.parse_args()

    tree = PrivateTree(Path(__file__).resolve().parents[2], arguments.directory.resolve())
    # What the tree compiles is the same from one machine and checkout to the next, so a cache of objects may be shared.
    os.environ.update(CCACHE_BASEDIR=str(tree.directory), CCACHE_NOHASHDIR="1")
    tree.update()
    sources = sources_of(tree)
    results = open_results(tree.directory, sources)
    baseline = measure_baseline(tree)
    tree.make(coverage=False)
    rows = []
    for mutant in drawn(sources, arguments.seed):
        row = results.find(mutant)
        if row is None or (arguments.survivors and row["result"] == "survived"):
            row = results.add(mutant, *judge(tree, baseline, mutant, sources[mutant.file]))
            print(f"{row['file']}:{row['line']}: {row['kind']}: {row['result']} {row['by']}", flush=True)
        rows.append(row)
        if sum(row["result"] not in NOT_COUNTED for row in rows) == arguments.count:
            break
    print_summary(rows)


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    main()
