#!/usr/bin/env bash
# Runs each of the worker's functions by hand on synthetic surveys and prints what it cost from start to end, reading and
# writing among it: seconds by the clock, seconds of all cores, the most memory that the process held, and that in bytes a
# point beyond the source file and what the program takes by itself. On a busy machine look at the seconds of the cores.
#
#   bench/worker_functions.sh [--build DIR] [--points "N..."] [--functions "NAME..."] [--limit SECONDS]
#
# By default 100000, 1000000 and 10000000 points (about eight to a square metre), all functions, and 600 seconds for each run.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/release
points="100000 1000000 10000000"
wanted=""
limit=600
while [ $# -gt 0 ]; do
    case $1 in
        --build) build=$2; shift 2 ;;
        --points) points=$2; shift 2 ;;
        --functions) wanted=$2; shift 2 ;;
        --limit) limit=$2; shift 2 ;;
        *) sed -n '2,8p' "$0"; exit 2 ;;
    esac
done

# A copy under another name in a directory for temporary files of its own: no host finds and ends it.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/tmp"
cp "$build/bin/open3d_wrapper" "$work/worker_by_hand"
export LD_LIBRARY_PATH=$build/bin:$build/lib:${LD_LIBRARY_PATH:-}

functions="
mesh_alpha             function=0;fastNormal=true;alpha=2
mesh_alpha_consistent  function=0;fastNormal=false;alpha=2
mesh_ball_pivoting     function=1;fastNormal=true;radius=0
mesh_poisson           function=2;fastNormal=true;depth=9;width=0;desity_divide=0.02
dem                    function=3;largePixels=2048;contourPeace=50;meshAbsFilepath=$work/mesh;heightMapAbsFilepath=$work/map.png;contourAbsFilepath=$work/contours;treeClassifyAbsFilepath=$work/classes
split_dbscan           function=100;epsilon=1;minpts=10;retainNoise=true
split_kmeans           function=101;maxIteration=50;clusterNum=10
split_kmeans_extra     function=102;maxIteration=50;clusterNum=10
split_euclidean        function=103;tolerance=1;minCluster=10;maxCluster=1000000000
split_euclidean_fast   function=104;disTh=1;maxSize=0
split_region_growing   function=105;tolerance=30;smooth=8;cure=0.05;minCluster=50;maxCluster=1000000000
split_patchwork        function=106
split_csf              function=107;sloopSmooth=true;class_threshold=0.5;cloth_resolution=0.5;interations=500;rigidness=2;time_step=0.65;remove_ground=false
sample_points          function=200;targetPercents=10;init_factor=5;makeMeshAlpha=0
sample_mesh            function=200;targetPercents=10;init_factor=5;makeMeshAlpha=2
"

run() { # settings source; prints both seconds, kilobytes and the exit code
    printf '[section]\n%s\nsource_filepath=%s\ndest_filepath=%s\n' "${1//;/$'\n'}" "$2" "$work/result" >"$work/settings.ini"
    local code=0
    TMPDIR=$work/tmp timeout "$limit" /usr/bin/time -f 'cost %e %U %S %M' -o "$work/cost" "$work/worker_by_hand" "$work/settings.ini" \
        2>"$work/messages" || code=$?
    echo "$(awk '/^cost/ { print $2, $3 + $4, $5 }' "$work/cost" || true) $code"
}

printf '%-22s %10s %10s %10s %10s %16s  %s\n' function points seconds cores MiB "bytes a point" "last message"
for count in $points; do
    "$build/bin/ptcloud" demo-las "$work/survey.las" --points "$count" >/dev/null 2>&1
    "$build/bin/ptcloud" build "$work/survey" "$work/survey.las" >/dev/null 2>&1
    rm "$work/survey.las"
    size=$(stat -c %s "$work/survey")
    # What the program takes before it has read a point.
    read -r _ _ empty _ < <(run "function=100;epsilon=0" "$work/survey")
    while read -r name settings; do
        [ -n "$name" ] || continue
        [ -z "$wanted" ] || [[ " $wanted " == *" $name "* ]] || continue
        read -r seconds cores memory code < <(run "$settings" "$work/survey") || true
        if [ "$code" = 124 ]; then
            printf '%-22s %10d   not done within %s seconds\n' "$name" "$count" "$limit"
            continue
        fi
        awk -v name="$name" -v n="$count" -v s="$seconds" -v c="$cores" -v m="$memory" -v e="$empty" -v size="$size" -v code="$code" \
            -v message="$(tail -n 1 "$work/messages")" 'BEGIN {
                printf "%-22s %10d %10.2f %10.2f %10.0f %16.0f  %s%s\n", name, n, s, c, m / 1024, ((m - e) * 1024 - size) / n,
                    code == 0 ? "" : "exit " code ": ", message
            }'
    done <<<"$functions"
done
