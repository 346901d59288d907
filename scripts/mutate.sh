#!/usr/bin/env bash
# Checks the tests: changes src/ in COUNT small ways, one at a time (a comparison, an off-by-one, a condition, a call that is
# left out), builds, and runs the tests that reach the changed line. Lists the changes that no test noticed. SEED decides which
# changes are drawn. Works in build/mutate, in a copy of the sources, and goes on where an earlier run was interrupted; a run
# with --survivors tries once more what survived earlier. The results are in build/mutate/results.csv.
#
#   scripts/mutate.sh [--survivors] [COUNT [SEED]]          200 and 1 by default
set -euo pipefail
cd "$(dirname "$0")/.."
again=()
if [ "${1:-}" = --survivors ]; then
    again=(--survivors)
    shift
fi
scripts/setup.sh test
exec python3 -B scripts/measure/mutate.py "${again[@]}" build/mutate "${1:-200}" "${2:-1}"
