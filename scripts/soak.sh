#!/usr/bin/env bash
# Plays thousands of commands of all kinds on one project in one process, runs of a worker and failures among them, and
# looks after each tenth at what the process holds: memory, files, threads, child processes, shared memory, semaphores.
# Fails where that is more than after the first few. Ends every worker of this user, as the library does.
#
#   scripts/soak.sh [COMMANDS [SEED]]     default: 10000 commands, seed 1; some six minutes
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

scripts/setup.sh test
cmake --preset release -DPOINTS_CLOUD_BUILD_WORKER=OFF -DPOINTS_CLOUD_BUILD_BENCH=OFF -B build/soak
cmake --build build/soak --target points_cloud_soak_tests
# Without this the C library keeps blocks that were freed, and counts them as in use.
export GLIBC_TUNABLES=glibc.malloc.tcache_count=0
SOAK_COMMANDS=${1:-10000} SOAK_SEED=${2:-1} exec build/soak/bin/points_cloud_soak_tests
