"""Runs every suite of a build that is instrumented for coverage and tells what of the library's sources it reached.

    coverage.py BUILD_DIR

Prints a table by file, and the lines that nothing reached."""

import json
import signal
import subprocess
import sys
from collections import defaultdict
from pathlib import Path

from suites import LONGEST_SUITE, all_suites, run_suite

MEASURED = ("src/", "platform/")


class Coverage:
    """For each file and line: how often it ran, its branches, and the suites that reached it."""

    def __init__(self):
        self.counts = defaultdict(lambda: defaultdict(int))
        self.branches = defaultdict(lambda: defaultdict(list))
        self.suites = defaultdict(lambda: defaultdict(list))
        self.seconds = {}

    def add(self, suite, report, root):
        for unit in report["files"]:
            path = (Path(report["current_working_directory"]) / unit["file"]).resolve()
            if not path.is_relative_to(root) or not str(path.relative_to(root)).startswith(MEASURED):
                continue
            self.add_lines(suite, str(path.relative_to(root)), unit["lines"])

    def add_lines(self, suite, name, lines):
        # A line of a template stands once for each instance, and a file once for each that includes it.
        seen = defaultdict(int)
        for line in lines:
            number = line["line_number"]
            self.counts[name][number] += line["count"]
            reached = self.suites[name][number]
            if line["count"] > 0 and str(suite) not in reached:
                reached.append(str(suite))
            known = self.branches[name][number]
            for count in decisions(line["branches"]):
                index = seen[number]
                seen[number] += 1
                if index == len(known):
                    known.append(0)
                known[index] += count

    def rows(self):
        for name in sorted(self.counts):
            lines = self.counts[name].values()
            branches = [count for known in self.branches[name].values() for count in known]
            yield (name, sum(count > 0 for count in lines), len(lines), sum(count > 0 for count in branches), len(branches))

    def unreached(self, name):
        return sorted(number for number, count in self.counts[name].items() if count == 0)


def decisions(branches):
    """How often each way of each decision was taken, without the ways that exceptions take out of every call."""
    taken = []
    for i, branch in enumerate(branches):
        is_call = i + 1 < len(branches) and branches[i + 1]["throw"] and branch["fallthrough"]
        if not branch["throw"] and not is_call:
            taken.append(branch["count"])
    return taken


def read_counts(build):
    """What gcov makes of all counts that lie there now, then takes the counts away."""
    data = [path for part in ("src", "platform") for path in (build / part).rglob("*.gcda")]
    if data:
        printed = subprocess.run(["gcov", "--json-format", "--stdout", "--branch-probabilities", *data], check=True,
                                 capture_output=True, text=True, cwd=build).stdout
        for line in printed.splitlines():
            if line.strip():
                yield json.loads(line)
    for path in data:
        path.unlink()


def measure(build, root):
    coverage, failed = Coverage(), []
    list(read_counts(build))
    for suite in all_suites(build):
        outcome = run_suite(build, suite, LONGEST_SUITE, writable=[build])
        coverage.seconds[str(suite)] = outcome.seconds
        if not outcome.passed:
            failed.append(suite)
            print(f"FAILED: {suite}\n{outcome.output}", file=sys.stderr)
        for report in read_counts(build):
            coverage.add(suite, report, root)
    return coverage, failed


def percent(part, whole):
    return f"{100 * part / whole:5.1f}" if whole else "    -"


def ranges(numbers):
    """1, 2, 3, 7 as "1-3, 7"."""
    found = []
    for number in numbers:
        if found and number == found[-1][1] + 1:
            found[-1][1] = number
        else:
            found.append([number, number])
    return ", ".join(str(first) if first == last else f"{first}-{last}" for first, last in found)


def print_table(coverage):
    def show(name, lines_hit, lines, branches_hit, branches):
        print(f"{name:<52}{lines_hit:>6} / {lines:<6}{percent(lines_hit, lines)} %{branches_hit:>7} / {branches:<6}"
              f"{percent(branches_hit, branches)} %")

    rows = list(coverage.rows())
    print(f"{'':<52}{'lines':>14}{'':>10}{'branches':>16}")
    for part in MEASURED:
        own = [row for row in rows if row[0].startswith(part)]
        for row in own:
            show(*row)
        show(f"all of {part}", *(sum(row[i] for row in own) for i in range(1, 5)))
    print("\nLines that no test reached:")
    for row in rows:
        numbers = coverage.unreached(row[0])
        if numbers:
            print(f"  {row[0]}: {ranges(numbers)}")


def main():
    build = Path(sys.argv[1]).resolve()
    root = Path(__file__).resolve().parents[2]
    coverage, failed = measure(build, root)
    print_table(coverage)
    return 1 if failed else 0


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    sys.exit(main())
