#!/usr/bin/env bash
# Kills hosts at work on a project, one after the other, and looks after each kill at what is left: what is not whole, and
# not told to be so, is a failure, which prints what was killed when. Ends with a table of the kills.
#
#   scripts/crash.sh [KILLS [SEED]]     default: 1000 kills, seed 1; another seed is another life of the projects
#
# Like every host of the library it stops the worker programs of this user.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh test
cmake --preset release
cmake --build --preset release --target points_cloud_crash_tests
POINTS_CLOUD_KILLS=${1:-1000} POINTS_CLOUD_KILL_SEED=${2:-1} \
    build/release/bin/points_cloud_crash_tests --gtest_filter='Kills.*'
