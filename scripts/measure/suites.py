"""The test programs of a build tree, and how one suite of one of them is run: one process a suite, since a process for each
test, as ctest has it, costs more than most tests do."""

import os
import shutil
import signal
import subprocess
import tempfile
import time
from dataclasses import dataclass
from pathlib import Path

GIBIBYTE = 1 << 30
LONGEST_SUITE = 1800  # seconds, where nothing is changed
# Opening a project stops every worker of this user on the machine, and takes a block of shared memory that there is one of.
ALONE = ["unshare", "-pifm", "--mount-proc", "--kill-child"]
# A library that was changed at random may delete anything: the file system is for reading only, but for what is listed.
# The shell stays, as the first process of its kind: signals that a program sends itself do nothing to a first process.
PROTECTED = ["sh", "-c", """
    for directory in $WRITABLE; do mount --bind "$directory" "$directory" || exit; done
    mount -o remount,bind,ro / && cd "$TMPDIR" || exit
    "$@"
    exit $?""", "sh"]
LIMITS = ["prlimit", f"--as={8 * GIBIBYTE}", "--core=0"]
LEAST_FREE_DISK = 4 * GIBIBYTE  # no limit of a file's length would do: tests make long files that are all hole


@dataclass(frozen=True, order=True)
class Suite:
    program: str
    name: str

    def __str__(self):
        return f"{self.program}:{self.name}"

    @staticmethod
    def of(text):
        return Suite(*text.split(":", 1))


@dataclass(frozen=True)
class Outcome:
    passed: bool
    ended: bool
    seconds: float
    output: str


def suite_names(listing):
    """The suites in what a test program prints for --gtest_list_tests."""
    lines = (line.split("#")[0].rstrip() for line in listing.splitlines())
    return [line[:-1] for line in lines if line.endswith(".") and not line.startswith(" ")]


def all_suites(build):
    found = []
    for program in sorted((Path(build) / "bin").glob("points_cloud*_tests")):
        listing = subprocess.run([program, "--gtest_list_tests"], check=True, capture_output=True, text=True).stdout
        found += [Suite(program.name, name) for name in suite_names(listing)]
    return found


def ends_by_itself(process, deadline, scratch):
    """Waits until a process ends, or must be ended, since its time is over or it fills the disk."""
    while True:
        try:
            process.wait(min(1, max(0, deadline - time.monotonic())))
            return True
        except subprocess.TimeoutExpired:
            if time.monotonic() >= deadline or shutil.disk_usage(scratch).free < LEAST_FREE_DISK:
                return False


def run_suite(build, suite, seconds, extra_arguments=(), writable=()):
    """Runs a suite in a scratch directory of its own, which goes with it, and for no longer than `seconds`. Nothing else is
    written to, but for the directories in `writable`, whose names must have no spaces."""
    command = [*ALONE, *PROTECTED, *LIMITS, str(Path(build).resolve() / "bin" / suite.program), f"--gtest_filter={suite.name}.*",
               "--gtest_brief=1", *extra_arguments]
    with tempfile.TemporaryDirectory(prefix="suite-", ignore_cleanup_errors=True) as scratch:
        environment = {**os.environ, "TMPDIR": scratch, "HOME": scratch, "WRITABLE": " ".join([scratch, *map(str, writable)])}
        begin = time.monotonic()
        with tempfile.TemporaryFile() as output:
            process = subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stdout=output,
                                       stderr=subprocess.STDOUT, start_new_session=True)
            try:
                ended = ends_by_itself(process, begin + seconds, scratch)
            finally:
                if process.returncode is None:
                    os.killpg(process.pid, signal.SIGKILL)
                    process.wait()
            output.seek(max(0, output.seek(0, os.SEEK_END) - 20000))
            text = output.read().decode(errors="replace")
        return Outcome(process.returncode == 0, ended, time.monotonic() - begin, text)
