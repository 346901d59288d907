#!/usr/bin/env bash
# Shows how time and memory grow with numbers and sizes: data sets of a project, contents of a data set, blocks of a file, a
# LAS file of more than 4 GiB of records, a block file of more than 4 GiB; and that every point that comes back from the
# large ones is right. A table for each: what one item costs at each size, and the last size divided by the first. 1.0 is
# linear growth; less is what a start costs once. Time is that of the processor, in all threads; memory is the peak of the
# step beyond what was there before.
#
#   scripts/large.sh [DIR]     some twenty minutes; takes up to 16 GB below DIR (default: the system's for temporary
#                              files) and 8 GB of memory, and leaves nothing. Ends every worker of this user
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d -p "${1:-${TMPDIR:-/tmp}}")
trap 'rm -rf "$work"' EXIT
cd "$root"

scripts/setup.sh test
cmake --preset release -DPOINTS_CLOUD_BUILD_WORKER=OFF -DPOINTS_CLOUD_BUILD_TESTS=OFF -B build/large
cmake --build build/large --target ptcloud many_data_sets many_contents many_blocks large_las large_blocks
bin=$root/build/large/bin
"$bin/ptcloud" demo-las "$work/small.las" --points 100

# Runs a program once for each size and puts the rows side by side.
table() { # program sizes...
    local program=$1
    shift
    echo
    echo "$program"
    for size in "$@"; do
        "$bin/$program" "$work" "$size"
    done | awk -F '\t' '
        !($1 in seen) { seen[$1] = 1; steps[++n] = $1 }
        !($2 in known) { known[$2] = 1; sizes[++m] = $2 }
        { time[$1, $2] = $3; memory[$1, $2] = $4 }
        function ratio(figure, step) {
            return figure[step, sizes[1]] > 0 ? sprintf("%.2f", figure[step, sizes[m]] / figure[step, sizes[1]]) : "-"
        }
        END {
            printf "%-30s", "microseconds | bytes an item"
            for (i = 1; i <= m; ++i) printf "%12d", sizes[i]
            printf "%8s |", "ratio"
            for (i = 1; i <= m; ++i) printf "%12d", sizes[i]
            printf "%8s\n", "ratio"
            for (k = 1; k <= n; ++k) {
                printf "%-30s", steps[k]
                for (i = 1; i <= m; ++i) printf "%12.3f", time[steps[k], sizes[i]]
                printf "%8s |", ratio(time, steps[k])
                for (i = 1; i <= m; ++i) printf "%12.1f", memory[steps[k], sizes[i]]
                printf "%8s\n", ratio(memory, steps[k])
            }
        }'
}

table many_data_sets 1000 3000 10000
table many_contents 1000 3000 10000
table many_blocks 10000 30000 100000
table large_las 7000000 21000000 70000000
table large_blocks 30 90 250
