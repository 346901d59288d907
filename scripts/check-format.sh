#!/usr/bin/env bash
# Fails if a source file is not as clang-format would write it. `scripts/check-format.sh --fix` writes them so.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t files < <(git ls-files '*.h' '*.cpp')
if [ "${1:-}" = --fix ]; then
    clang-format -i "${files[@]}"
else
    clang-format --dry-run --Werror "${files[@]}"
fi
