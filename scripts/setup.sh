#!/usr/bin/env bash
# Installs what the project needs from Debian's packages; does nothing where all of it is there. With sudo when not root.
#
#   scripts/setup.sh [GROUP...]
#
#   build   what building the library and its command-line host takes (the default)
#   worker  what building the worker program takes
#   test    all of that, and what the tests, the benchmarks and the checks of the code take
set -euo pipefail

build_packages=(g++ cmake ninja-build ccache pkg-config qtbase5-dev libcli11-dev)
worker_packages=(libopen3d-dev libnanoflann-dev libeigen3-dev libboost-dev)
test_packages=(libgtest-dev libbenchmark-dev libeigen3-dev doxygen clang clang-format clang-tidy libclang-rt-14-dev llvm-14
               python3)

packages=()
[ $# -gt 0 ] || set -- build
for group in "$@"; do
    case $group in
        build) packages+=("${build_packages[@]}") ;;
        worker) packages+=("${worker_packages[@]}") ;;
        test) packages+=("${build_packages[@]}" "${worker_packages[@]}" "${test_packages[@]}") ;;
        *) sed -n '2,8p' "$0" >&2; exit 2 ;;
    esac
done

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -q
"${as_root[@]}" apt-get install -q -y --no-install-recommends "${missing[@]}"
