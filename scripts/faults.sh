#!/usr/bin/env bash
# Makes every system call of every command and builder fail, one after the other, in each way that it can: the complete
# form of the tests of tests/faults, of which scripts/test.sh runs a part. Tells how many runs there were and how many
# faults they reached.
#
#   scripts/faults.sh [PRESET [GTEST ARGUMENT...]]     PRESET: release (default), debug, asan, clang
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
preset=${1:-release}
[ $# -eq 0 ] || shift
cd "$root"

scripts/setup.sh test
cmake --preset "$preset"
cmake --build --preset "$preset" --target points_cloud_fault_tests

# The library stops every worker of this user on the machine: here it sees those of the tests alone.
own_processes=()
if unshare -pif --kill-child --mount-proc true 2>/dev/null; then
    own_processes=(unshare -pif --kill-child --mount-proc)
fi
log=build/$preset/faults.log
status=0
FAULTS=all "${own_processes[@]}" "build/$preset/bin/points_cloud_fault_tests" "$@" | tee "$log" || status=$?
awk '/^\[ FAULTS / { runs += $(NF - 4); reached += $(NF - 2) }
     END { printf "%d runs, %d faults reached\n", runs, reached }' "$log"
exit "$status"
