#!/usr/bin/env bash
# Instructions per calculation of each case of ordo_peers, counted by
# callgrind inside RunMeasured only: stable where times are not.
#   bench/peers/measure-instructions.sh [path/to/ordo_peers]
set -euo pipefail
program=${1:-build/release/bench/ordo_peers}

"$program" --cases | while IFS=$'\t' read -r name engine; do
    case $name in
        *threads*) continue ;;  # callgrind runs one thread at a time
        "[1.."*) count=3 ;;
        prepare*) count=300 ;;
        *) count=3000 ;;
    esac
    total=$(valgrind --tool=callgrind --callgrind-out-file=/dev/null --collect-atstart=no \
        --toggle-collect='*RunMeasured*' "$program" --measure "$name" "$engine" "$count" 2>&1 |
        sed -n 's/.*Collected : \([0-9]*\).*/\1/p')
    printf '%-34s %-10s %12d\n' "$name" "$engine" $((total / count))
done
