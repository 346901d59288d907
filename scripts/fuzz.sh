#!/usr/bin/env bash
# Searches for inputs that break a reader, from the corpora of earlier runs on; or shows what the corpora reach.
#
#   scripts/fuzz.sh SECONDS [DRIVER]      SECONDS for each driver, one after the other; DRIVER: Las, BlockFile, ...
#   scripts/fuzz.sh --coverage [DRIVER]   lines of the product that no input reached
#
# Different drivers can run at the same time. Below build/fuzz:
#   corpus/DRIVER      inputs that reached something new
#   artifacts/DRIVER   inputs that broke something; docs/fuzzing.md tells how to keep one
#   figures.csv        a line for each run
#   coverage           the report
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
work=$root/build/fuzz
figures=$work/figures.csv
slice=600    # seconds that one process searches: its figures are safe then
most_crashes=20

usage() {
    sed -n '2,11p' "$0" >&2
    exit 2
}

build() {
    cd "$root"
    scripts/setup.sh test
    exec 8> "$root/build/$1.lock"
    flock 8
    [ -f "build/$1/build.ninja" ] || cmake --preset "$1" > /dev/null
    cmake --build --preset "$1" > "build/$1-build.log" 2>&1 || { cat "build/$1-build.log" >&2; exit 1; }
    exec 8>&-
}

drivers() {
    local known
    known=$(cd "$root/fuzz" && ls ./?*Driver.cpp | sed 's,^\./\(.*\)Driver\.cpp$,\1,')
    if [ -z "$1" ]; then
        echo "$known"
    elif grep -qx -- "$1" <<< "$known"; then
        echo "$1"
    else
        echo "fuzz.sh: no driver $1; there are:" $known >&2
        exit 2
    fi
}

# Temporary files lie in memory where that is possible, under a name that the next run finds and empties.
take_scratch() {
    local base=${TMPDIR:-/tmp}
    [ ! -w /dev/shm ] || base=/dev/shm
    scratch=$base/points_cloud_fuzz-$(id -u)-$(cksum <<< "$root" | cut -d ' ' -f 1)-$1
    rm -rf "$scratch"
    mkdir -p "$scratch"
    trap 'rm -rf "$scratch"' EXIT
}

# The library stops workers on the whole machine: a driver has processes of its own where the system allows it.
isolation() {
    isolated=()
    if unshare -pif --kill-child --mount-proc true 2> /dev/null; then
        isolated=(unshare -pif --kill-child --mount-proc)
    fi
}

# One process: search $2 seconds, and write the figures down. It ends with the first input that breaks something.
search() {
    local driver=$1 seconds=$2 log=$work/logs/$1.log status=0 cpu row
    TIMEFORMAT='%U %S'
    cpu=$({ time TMPDIR=$scratch "${isolated[@]}" "$work/bin/fuzz_$driver" \
        -max_len=1048576 -rss_limit_mb=2048 -timeout=10 -max_total_time="$seconds" -print_final_stats=1 \
        -artifact_prefix="$work/artifacts/$driver/" "$work/corpus/$driver" > "$log" 2>&1 8>&- 9>&-; } 2>&1) || status=$?
    row=$(awk -v driver="$driver" -v cpu="$cpu" -v crashes=$((status != 0)) '
        / cov: / { for (i = 1; i < NF; ++i) { if ($i == "cov:") cov = $(i + 1); if ($i == "corp:") corp = $(i + 1) } }
        /stat::number_of_executed_units:/ { runs = $2 }
        END {
            sub("/.*", "", corp); split(cpu, part, " ")
            printf "%s,%d,%.1f,%d,%d,%d\n", driver, runs, part[1] + part[2], cov, corp, crashes
        }' "$log")
    (flock 7; echo "$row" | tee -a "$figures") 7> "$figures.lock"
    [ "$status" -ne 0 ] || return 0
    cp "$log" "$work/logs/$driver-broken-$(date +%s).log"
    grep -m 1 -E 'ERROR|what\(\)' "$log"
    return 1
}

run_driver() {
    local driver=$1 end=$((SECONDS + $2)) broken=0 left
    mkdir -p "$work"/{corpus,artifacts,logs}/"$driver"
    exec 9> "$work/logs/$driver.lock"
    flock -n 9 || { echo "fuzz.sh: $driver runs already" >&2; exit 1; }
    cp "$work/seeds/$driver"/* "$work/corpus/$driver/"
    [ ! -d "$root/fuzz/kept/$driver" ] || cp "$root/fuzz/kept/$driver"/* "$work/corpus/$driver/"
    take_scratch "$driver"
    while left=$((end - SECONDS)); [ "$left" -gt 0 ] && [ "$broken" -lt "$most_crashes" ]; do
        search "$driver" "$((left < slice ? left : slice))" || broken=$((broken + 1))
    done
    exec 9>&-
    [ "$broken" -eq 0 ]
}

search_all() {
    local driver failed=0
    build fuzz
    isolation
    mkdir -p "$work/seeds"
    "$work/bin/fuzz_seeds" "$work/seeds"
    [ -f "$figures" ] || echo "driver,executions,cpu_seconds,edges,corpus,crashes" > "$figures"
    for driver in $(drivers "$2"); do
        (run_driver "$driver" "$1") || failed=1
    done
    return "$failed"
}

replay_corpus() {
    local driver=$1
    take_scratch "$driver-coverage"
    find "$work/corpus/$driver" "$work/seeds/$driver" -type f -print0 |
        TMPDIR=$scratch LLVM_PROFILE_FILE=$work/coverage/$driver-%p-%m.profraw xargs -0 -n 20000 \
        "${isolated[@]}" "$root/build/fuzz-coverage/bin/fuzz_$driver" > "$work/coverage/$driver.log" 2>&1
}

show_coverage() {
    local driver bin=$root/build/fuzz-coverage objects=()
    build fuzz-coverage
    isolation
    rm -rf "$work/coverage"
    mkdir -p "$work/coverage"
    for driver in $(drivers "$1"); do
        [ -d "$work/corpus/$driver" ] || continue
        (replay_corpus "$driver")
        objects+=(-object "$bin/bin/fuzz_$driver")
    done
    llvm-profdata-14 merge -sparse "$work"/coverage/*.profraw -o "$work/coverage/all.profdata"
    local what=("$bin/lib/libpoints_cloud.so" "${objects[@]}" -instr-profile "$work/coverage/all.profdata"
        -ignore-filename-regex "^($root|\.\./\.\.)/(fuzz|tests)/|^/usr/|_autogen/")
    llvm-cov-14 report "${what[@]}" > "$work/coverage/report.txt"
    llvm-cov-14 show "${what[@]}" > "$work/coverage/lines.txt"
    awk '/^[^ ].*:$/ { file = $0 } / +[0-9]+\| +0\|/ { if (file != "") print file; file = ""; print }' \
        "$work/coverage/lines.txt" > "$work/coverage/unreached.txt"
    cat "$work/coverage/report.txt"
    echo "Unreached lines: $work/coverage/unreached.txt"
}

case ${1:-} in
    --coverage) show_coverage "${2:-}" ;;
    *[!0-9]* | '') usage ;;
    *) search_all "$1" "${2:-}" ;;
esac
