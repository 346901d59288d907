#!/usr/bin/env bash
# Runs all tests on a bare machine: installs what is missing, configures, builds, checks the format of the code, tests.
#
#   scripts/test.sh [PRESET [CTEST ARGUMENT...]]     PRESET: release (default), debug, asan, tsan, clang, coverage
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
preset=${1:-release}
[ $# -eq 0 ] || shift
cd "$root"

scripts/setup.sh test
scripts/check-format.sh
cmake --preset "$preset"
cmake --build --preset "$preset"
ctest --preset "$preset" "$@"
