#!/usr/bin/env bash
# Builds with the preset `coverage`, runs the tests, and prints which lines and branches of src/ and platform/ they reached,
# by file and in total, and the lines that none reached. The tests of the worker program are left out: they start from what
# the library's own tests have to prove.
#
#   scripts/coverage.sh
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh test
cmake --preset coverage -DPOINTS_CLOUD_BUILD_WORKER=OFF >/dev/null
cmake --build --preset coverage
exec python3 -B scripts/measure/coverage.py build/coverage
