#!/usr/bin/env bash
# Compares exports with the tools for the same task: the real time from a file to the hex dump of
# xxd (its own layout, and ours), to the Intel HEX of srec_cat and of objcopy, and to ours, all on the same file system. The
# file is random and in the system's memory. The best of several runs each. Ours includes the
# flush to the disk at the end, which the tools leave out: on a slow disk that is most of its time,
# and a folder in memory, such as /dev/shm, compares the work alone.
# Usage: bench/export/against-tools.sh [MIB [FOLDER]]   (default 64, the folder for temporary files;
# needs the bench preset built)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
export QUILLMOR_BENCH_MIB=${1:-64} LC_ALL=C
folder=$(mktemp -d -p "${2:-${TMPDIR:-/tmp}}")
trap 'rm -rf "$folder"' EXIT
export QUILLMOR_BENCH_FOLDER=$folder
runs=3

milliseconds() { # command...: real time, the least of the runs
  local best=999999999 spent
  for ((i = 0; i < runs; ++i)); do
    rm -f "$folder/out"
    TIMEFORMAT='%3R'
    spent=$({ time "$@" >/dev/null 2>&1; } 2>&1 | awk '{ printf "%d", $1 * 1000 }')
    ((spent < best)) && best=$spent
  done
  echo "$best"
}

report() { # our-benchmark tool command...
  local ours theirs
  ours=$(awk -v name="$1/file/" 'index($1, name) == 1 { print $2 }' "$folder/ours")
  theirs=$(milliseconds "${@:3}")
  awk -v what="$1" -v tool="$2" -v ours="$ours" -v theirs="$theirs" 'BEGIN {
      printf "%-9s %-10s %9.0f %9d %11.1f\n", what, tool, ours, theirs, theirs / ours }'
}

head -c "${QUILLMOR_BENCH_MIB}M" /dev/urandom >"$folder/in"
cat "$folder/in" >/dev/null
"$root/build/bench/bin/quillmor_bench" --benchmark_filter='(hexdump|intelhex)/file' >"$folder/ours" 2>/dev/null

printf '%-9s %-10s %9s %9s %11s\n' export tool 'ours ms' 'tool ms' 'tool / ours'
report hexdump xxd xxd "$folder/in" "$folder/out"
report hexdump 'xxd -u -g1' xxd -u -g 1 "$folder/in" "$folder/out"
report intelhex srec_cat srec_cat "$folder/in" -binary -o "$folder/out" -intel -obs=16
report intelhex objcopy objcopy -I binary -O ihex "$folder/in" "$folder/out"
