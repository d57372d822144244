#!/usr/bin/env bash
# Compares the lists of strings and of differences, and the comparison of two files, with GNU strings
# and cmp on the same files in one run. Both sides read their files and write their lists to files;
# ours ends with the list safe on the disk, which processor time does not count.
# Milliseconds of processor and on the wall, each the best of several runs.
# Usage: bench/compare/against-tools.sh [MIB]   (default 64; needs the bench preset built)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
bench=$root/build/bench/bin/quillmor_bench
export QUILLMOR_BENCH_MIB=${1:-64} LC_ALL=C
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export QUILLMOR_BENCH_FOLDER=$folder
runs=5

milliseconds() { # output command...: processor and wall time, the least of the runs
  local output=$1 best=999999999 bestWall=999999999 processor wall
  shift
  for ((i = 0; i < runs; ++i)); do
    rm -f "$output"
    TIMEFORMAT='%3R %3U %3S'
    read -r processor wall < <({ time "$@" >"$output" 2>/dev/null || true; } 2>&1 |
      awk '{ printf "%d %d\n", ($2 + $3) * 1000, $1 * 1000 }')
    ((processor < best)) && best=$processor
    ((wall < bestWall)) && bestWall=$wall
  done
  echo "$best $bestWall"
}

report() { # name our-benchmark output command...
  local name=$1 ours=$2 theirs
  shift 2
  theirs=$(milliseconds "$@")
  awk -F, -v name="$name" -v key="\"$ours/" -v theirs="$theirs" '
    $1 == "name" { for (i = 1; i <= NF; ++i) column[$i] = i }
    index($1, key) == 1 {
      processor = $column["real_time"]
      wall = $column["\"wall_ms\""]
      split(theirs, their, " ")
      printf "%-24s %9.1f %9.1f %9d %9d %9.1f %9.1f\n", name, processor, wall, their[1], their[2],
        their[1] / processor, their[2] / wall
    }' "$folder/ours"
}

echo "writing the data and measuring our exports of $QUILLMOR_BENCH_MIB MiB..." >&2
"$bench" --benchmark_filter='(strings|compare)/.*/(file|export|report|summary)/' \
  --benchmark_format=csv >"$folder/ours" 2>/dev/null

printf '%-24s %9s %9s %9s %9s %9s %9s\n' work 'ours cpu' 'ours wall' 'tool cpu' 'tool wall' 'cpu x' 'wall x'
for kind in random text zeros letters; do
  report "strings -t x, $kind" "strings/$kind/export" "$folder/theirs" \
    strings -a -t x -n 4 "$folder/$kind"
done
for kind in few all; do
  report "cmp -l, $kind differ" "compare/$kind/report" "$folder/theirs" \
    cmp -l "$folder/document" "$folder/$kind"
done
report "cmp, equal" compare/equal/summary "$folder/theirs" cmp "$folder/document" "$folder/equal"
