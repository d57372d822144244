#!/usr/bin/env bash
# Compares searches for what is not there with those of ripgrep and GNU grep: processor time of
# their processes on a file of each kind of data, less that of getting at the file's bytes, against
# the time that the editor's search takes on the same bytes. The best of several runs each.
# grep reads its input, which costs what `cat` does. ripgrep maps it, which costs next to nothing
# when the system has the file in memory, so only its start on an empty file is taken off.
# Usage: bench/search/against-tools.sh [MIB]   (default 1024; needs the bench preset built)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
bench=$root/build/bench/bin/quillmor_bench
export QUILLMOR_BENCH_MIB=${1:-1024} LC_ALL=C
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
runs=5

milliseconds() { # command...: processor time, the least of the runs
  local best=999999999 spent
  for ((i = 0; i < runs; ++i)); do
    TIMEFORMAT='%3U %3S'
    spent=$({ time "$@" >/dev/null 2>&1 || true; } 2>&1 | awk '{ printf "%d", ($1 + $2) * 1000 }')
    ((spent < best)) && best=$spent
  done
  echo "$best"
}

report() { # kind name pattern our-benchmark
  local kind=$1 name=$2 pattern=$3 file=$folder/$1 ours rg grep
  if rg -qobUa "(?s-u)$pattern" "$file" || grep -qobUaP "(?s)$pattern" "$file"; then
    echo "$name is in the $kind data" >&2
    exit 1
  fi
  ours=$(awk -v name="search/$kind/$4/" 'index($1, name) == 1 { print $2 }' "$folder/ours")
  rg=$(milliseconds rg -obUa "(?s-u)$pattern" "$file")
  grep=$(milliseconds grep -obUaP "(?s)$pattern" "$file")
  awk -v kind="$kind" -v name="$name" -v ours="$ours" -v rg="$((rg - start))" \
    -v grep="$((grep - read))" 'BEGIN {
      printf "%-7s %-16s %9.1f %9d %9d %9.1f %9.1f\n", kind, name, ours, rg, grep, rg / ours, grep / ours
    }'
}

echo "writing the data and measuring our searches of $QUILLMOR_BENCH_MIB MiB..." >&2
QUILLMOR_BENCH_FOLDER=$folder "$bench" \
  --benchmark_filter='search/(random|text|zeros)/(file|avx2/(absent(8|15)/forward|wildcard))' \
  >"$folder/ours" 2>/dev/null

: >"$folder/empty"
start=$(milliseconds rg -obUa x "$folder/empty")
printf '%-7s %-16s %9s %9s %9s %9s %9s\n' data needle 'ours ms' 'rg ms' 'grep ms' 'rg/ours' 'grep/ours'
for kind in random text zeros; do
  cat "$folder/$kind" >/dev/null
  read=$(milliseconds cat "$folder/$kind")
  case $kind in # the needles of SearchBench.cpp
    random)
      eight='\x93\x51\x0E\xC8\x77\x32\xB1\xEF'
      fifteen=$eight'\x48\x65\x9A\xD3\x21\x5C\x84'
      ;;
    text)
      eight='my query'
      fifteen='my querying key'
      ;;
    zeros)
      eight='\x00\x00\x00\x01\x00\x00\x00\x02'
      fifteen=$eight'\x00\x00\x00\x03\x00\x00\x00'
      ;;
  esac
  report "$kind" '8 bytes' "$eight" avx2/absent8/forward
  report "$kind" '15 bytes' "$fifteen" avx2/absent15/forward
  report "$kind" 'F0 ?? E6 0F' '\xF0.\xE6\x0F' avx2/wildcard/F0
  report "$kind" 'AA ?? BB ?? CC' '\xAA.\xBB.\xCC' avx2/wildcard/AA
done
