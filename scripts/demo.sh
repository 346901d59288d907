#!/usr/bin/env bash
# From a bare machine to a survey in blocks: installs what is missing, builds, makes a synthetic survey of 2 million points,
# turns it into a block file and draws it.
#
#   scripts/demo.sh [DIR]     results go to DIR (default: build/demo)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
out=${1:-$root/build/demo}
mkdir -p "$out"
out=$(cd "$out" && pwd)
cd "$root"

scripts/setup.sh build
cmake --preset release -DPOINTS_CLOUD_BUILD_TESTS=OFF -DPOINTS_CLOUD_BUILD_BENCH=OFF -B build/demo-build
cmake --build build/demo-build
ptcloud=build/demo-build/bin/ptcloud

step() { printf '\n--- %s\n' "$1"; }

step "A survey of 2 million points: rolling ground, buildings, trees, flown in strips"
"$ptcloud" demo-las "$out/survey.las" --points 2000000

step "What is in the LAS file, and will positions be the true coordinates?"
"$ptcloud" las "$out/survey.las"

step "Its points, sorted into blocks"
"$ptcloud" build "$out/survey.ptcloud" "$out/survey.las"

step "The block file"
"$ptcloud" dump "$out/survey.ptcloud" | head -n 12

step "From above, by height and by colour"
"$ptcloud" picture "$out/survey.ptcloud" "$out/height.png" --by height
"$ptcloud" picture "$out/survey.ptcloud" "$out/colour.png" --by colour

step "Pictures"
echo "$out/height.png"
echo "$out/colour.png"
