#!/usr/bin/env bash
# Compares exports with the tools for the same task, all on one file system: the processor time that
# a file takes to the hex dump of xxd (in its layout and in ours) and to the Intel HEX of srec_cat
# and of objcopy, and a document in the editor to ours; beside it, ours with the document read from
# the file first. The bytes are random and in the system's memory. The best of several runs each.
# Waiting is left out: only ours waits until the file is safe on its disk.
# Usage: bench/export/against-tools.sh [MIB [FOLDER]]   (default 64, the folder for temporary files;
# needs the bench preset built)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
export QUILLMOR_BENCH_MIB=${1:-64} LC_ALL=C
folder=$(mktemp -d -p "${2:-${TMPDIR:-/tmp}}")
trap 'rm -rf "$folder"' EXIT
export QUILLMOR_BENCH_FOLDER=$folder
runs=5

milliseconds() { # command...: processor time, the least of the runs
  local best=999999999 spent
  for ((i = 0; i < runs; ++i)); do
    rm -f "$folder/out"
    TIMEFORMAT='%3U %3S'
    spent=$({ time "$@" >/dev/null 2>&1; } 2>&1 | awk '{ printf "%d", ($1 + $2) * 1000 }')
    ((spent < best)) && best=$spent
  done
  echo "$best"
}

ours() { # benchmark: its milliseconds
  awk -v name="$1/iterations" 'index($1, name) == 1 { print $2 }' "$folder/ours"
}

report() { # export tool command...
  awk -v what="$1" -v tool="$2" -v ours="$(ours "$1/file")" -v whole="$(ours "$1/read_and_file")" \
    -v theirs="$(milliseconds "${@:3}")" 'BEGIN {
      printf "%-9s %-10s %8.0f %13.0f %8d %10.1f %11.1f\n",
        what, tool, ours, whole, theirs, theirs / ours, theirs / whole }'
}

head -c "${QUILLMOR_BENCH_MIB}M" /dev/urandom >"$folder/in"
cat "$folder/in" >/dev/null
"$root/build/bench/bin/quillmor_bench" --benchmark_filter='(hexdump|intelhex)/(read_and_)?file' \
  >"$folder/ours" 2>/dev/null

printf '%-9s %-10s %8s %13s %8s %10s %11s\n' export tool 'ours ms' 'with reading' 'tool ms' 'tool/ours' 'tool/whole'
report hexdump xxd xxd "$folder/in" "$folder/out"
report hexdump 'xxd -u -g1' xxd -u -g 1 "$folder/in" "$folder/out"
report intelhex srec_cat srec_cat "$folder/in" -binary -o "$folder/out" -intel -obs=16
report intelhex objcopy objcopy -I binary -O ihex "$folder/in" "$folder/out"
