#!/usr/bin/env bash
# Makes the pictures of the README anew: builds the host and the worker, makes a synthetic survey of 400,000 points, sends
# it through the worker, and draws what comes out.
#
#   scripts/gallery.sh [DIR]     pictures go to DIR (default: docs/pictures)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
out=${1:-$root/docs/pictures}
mkdir -p "$out"
out=$(cd "$out" && pwd)
cd "$root"

scripts/setup.sh build worker
cmake --preset release -DPOINTS_CLOUD_BUILD_TESTS=OFF -DPOINTS_CLOUD_BUILD_BENCH=OFF -B build/demo-build
cmake --build build/demo-build
ptcloud=$root/build/demo-build/bin/ptcloud
[ -x "$root/build/demo-build/bin/open3d_wrapper" ] || { echo "The worker was not built: Open3D is missing." >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
"$ptcloud" demo-las site.las --points 400000 --number 3
"$ptcloud" new -p project
cd project
"$ptcloud" import ../site.las
"$ptcloud" make site site.las

# What stands on the ground becomes a data set of its own, to be told apart thing by thing.
"$ptcloud" split site rest --method csf --remove-ground
"$ptcloud" export site ../things.las --split rest
"$ptcloud" import ../things.las
"$ptcloud" make things things.las
"$ptcloud" split things each --method euclidean --tolerance 1.2
"$ptcloud" dem site --pixels 320 --contours 20

draw() { "$ptcloud" picture "$1" "$out/$2.png" --size 480 "${@:3}"; }
draw site/Points survey-by-height
draw site/Points survey-by-colour --by colour --view oblique
draw site/Points survey-by-block --by block
draw site/dem.classify classification --by classification --view oblique
draw things/each.split clusters --by block --view oblique
draw site/dem.demmesh ground --by hillshade --view oblique
draw site/dem.demmesh contours --by hillshade --contours site/dem.contour
cp site/dem.height.png "$out/height-map.png"
