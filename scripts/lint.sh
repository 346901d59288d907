#!/usr/bin/env bash
# Reads the library, the platform layer, the command-line host and the worker with clang-tidy (.clang-tidy tells what it
# looks for) and fails on the first kind of finding. Needs a configured preset: scripts/lint.sh [PRESET], by default asan.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-asan}
scripts/setup.sh test
[ -f "build/$preset/compile_commands.json" ] || cmake --preset "$preset"
git ls-files 'src/*.cpp' 'platform/*_unix.cpp' 'platform/common/*.cpp' 'platform/toolkits/*.cpp' 'tools/*.cpp' 'worker/*.cpp' \
    | xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p "build/$preset" --warnings-as-errors='*'
