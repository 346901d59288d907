#!/usr/bin/env bash
# Measures the library side by side with the floor, in turns in one run, and prints ratios. Times on a busy machine are
# noisy: the best of the rounds is taken on both sides.
#
#   bench/compare.sh [--build DIR] [--rounds N] [--growth]
#
# --growth also builds 1, 10 and 100 million points (needs 13 GB of disk and some minutes).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/release
rounds=5
growth=no
while [ $# -gt 0 ]; do
    case $1 in
        --build) build=$2; shift 2 ;;
        --rounds) rounds=$2; shift 2 ;;
        --growth) growth=yes; shift ;;
        *) sed -n '2,8p' "$0"; exit 2 ;;
    esac
done
bin=$build/bin
data=$build/bench-data
mkdir -p "$data"

survey() { # points order
    local file=$data/$2-$1.las
    [ -f "$file" ] || "$bin/ptcloud" demo-las "$file" --points "$1" --order "$2" >/dev/null 2>&1
    echo "$file"
}

best() { sort -g | head -n 1; }

# Builds one survey with both programs in turns; prints a row of the table and fails if the files differ.
compare() { # points order columns
    local las floor library floor_times=() library_times=() memory runs largest
    las=$(survey "$1" "$2")
    for _ in $(seq "$rounds"); do
        read -r floor runs largest < <("$bin/las_floor" "$las" "$data/floor.blk" "$3")
        read -r library memory < <("$bin/las_build" "$las" "$data/library.blk" "$3")
        floor_times+=("$floor")
        library_times+=("$library")
    done
    cmp "$data/floor.blk" "$data/library.blk"
    floor=$(printf '%s\n' "${floor_times[@]}" | best)
    library=$(printf '%s\n' "${library_times[@]}" | best)
    awk -v n="$1" -v order="$2" -v columns="$3" -v f="$floor" -v l="$library" -v m="$memory" -v runs="$runs" \
        -v largest="$largest" 'BEGIN {
            window = n < 1000000 ? n : 1000000
            bound = (2 * window * 34 + largest + 24 * runs) / 1048576 + 64
            printf "%11d  %-7s %-5s %8.3f s %8.3f s   %5.2f   %7.0f MiB (bound %.0f)\n", n, order, columns, l, f, f / l, m, bound
        }'
    cp "$data/library.blk" "$data/$2.blk"
}

echo "     points  order   cols     library      floor   ratio   peak memory"
for order in flight random; do
    for columns in all some; do
        compare 10000000 "$order" "$columns"
    done
done
if [ "$growth" = yes ]; then
    for points in 1000000 10000000 100000000; do
        for order in flight random; do
            compare "$points" "$order" all
        done
    done
fi
rm -f "$data/floor.blk" "$data/library.blk"

echo
echo "Reading all blocks back in key order, readBlock beside one plain read for each block:"
for order in flight random; do
    printf '%-7s ' "$order"
    "$bin/read_blocks" "$data/$order.blk" "$rounds"
done

echo
echo "Merging both, beside cat of both into one:"
"$bin/merge_files" "$data/merged.blk" "$data/flight.blk" "$data/random.blk" "$rounds"
rm -f "$data/flight.blk" "$data/random.blk"

echo
echo "10 million points of an array into a file, beside binning in memory and one write:"
"$bin/array_build" "$data" "$rounds"

echo
echo "Earth volumes beside the least that they can cost:"
"$bin/volume_areas" "$data" "$rounds"

echo
echo "Opening a project:"
"$bin/restore_project" "$data"

echo
echo "The command-line host on a project:"
"$bin/host_startup" "$data"
