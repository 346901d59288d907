#!/usr/bin/env bash
# From a bare machine to the volumes of a survey: installs what is missing, builds, makes a synthetic survey of 2 million
# points, and plays the life of a project with it: import, make, copy, merge, rename, remove, volumes, a terrain model,
# pictures.
#
#   scripts/demo.sh [DIR]     results go to DIR (default: build/demo)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
out=${1:-$root/build/demo}
mkdir -p "$out"
out=$(cd "$out" && pwd)
cd "$root"

scripts/setup.sh build
scripts/setup.sh worker || echo "Without Open3D the worker is not built."
cmake --preset release -DPOINTS_CLOUD_BUILD_TESTS=OFF -DPOINTS_CLOUD_BUILD_BENCH=OFF -B build/demo-build
cmake --build build/demo-build
ptcloud=$root/build/demo-build/bin/ptcloud

step() { printf '\n--- %s\n' "$1"; }

cd "$out"
rm -rf project survey.ptcloud west.las east.las

step "A survey of 2 million points: rolling ground, buildings, trees, flown in strips"
"$ptcloud" demo-las survey.las --points 2000000

step "What is in the LAS file, and will positions be the true coordinates?"
"$ptcloud" las survey.las

step "Its points, sorted into blocks"
"$ptcloud" build survey.ptcloud survey.las
"$ptcloud" dump survey.ptcloud | sed -n 1,8p

step "Delivered in two halves"
"$ptcloud" export survey.ptcloud west.las --box 0,0,0,1250,2000,9999
"$ptcloud" export survey.ptcloud east.las --box 1250.001,0,0,2000,2000,9999

step "A project with a data set of each half"
"$ptcloud" new -p project
cd project
"$ptcloud" import ../west.las ../east.las
"$ptcloud" make west west.las
"$ptcloud" make east east.las
"$ptcloud" copy west backup
"$ptcloud" list

step "The halves become one, under a better name"
"$ptcloud" merge site west east --remove-sources
"$ptcloud" rename site quarry
"$ptcloud" remove backup
"$ptcloud" list

step "Dig and fill of two areas; the results are kept with the data set"
cat > ../areas.geojson <<'EOF'
{"type": "FeatureCollection", "features": [
  {"type": "Feature", "properties": {"name": "pit", "ground_height": 140, "grid_size": 0.5},
   "geometry": {"type": "Polygon", "coordinates": [[[1050, 1050], [1200, 1080], [1180, 1220], [1060, 1190], [1050, 1050]]]}},
  {"type": "Feature", "properties": {"name": "heap", "ground_height": 138, "grid_size": 0.5},
   "geometry": {"type": "Polygon", "coordinates": [[[1230, 1230], [1420, 1250], [1390, 1410], [1230, 1230]]]}}]}
EOF
"$ptcloud" volume quarry --areas ../areas.geojson --picture ../volumes.png

step "The merged data set from above, by height and by colour"
"$ptcloud" picture quarry/Points ../height.png --by height
"$ptcloud" picture quarry/Points ../colour.png --by colour

step "A terrain model of it"
if [ -x "$root/build/demo-build/bin/open3d_wrapper" ]; then
    "$ptcloud" dem quarry --pixels 1000 --contours 25
    cp quarry/dem.height.png ../height-map.png
    "$ptcloud" picture quarry/dem.demmesh ../ground.png --by height --view oblique
    "$ptcloud" picture quarry/dem.demmesh ../contours.png --by hillshade --contours quarry/dem.contour
    "$ptcloud" picture quarry/dem.classify ../classification.png --by classification
else
    echo "left out: the worker was not built, as Open3D is missing"
fi

step "Pictures"
ls "$out"/*.png
