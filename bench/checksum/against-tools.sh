#!/usr/bin/env bash
# Compares the checksum report (CRC-32, Adler-32, sums, MD5, SHA-1, SHA-256, entropy) with the MD5
# alone of OpenSSL's own program on the same file: by the clock, and in processor time, which says
# more on a busy machine, where two threads do not get a core each. All take turns; the best of
# several runs of each counts. OpenSSL's program reads its file, which costs what `cat` does; the
# editor has the document in memory when a report is asked for.
# Usage: bench/checksum/against-tools.sh [MIB]   (default 1024; needs the bench preset built)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
bench=$root/build/bench/bin/quillmor_bench
mib=${1:-1024}
export LC_ALL=C QUILLMOR_BENCH_ROUNDS=2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export QUILLMOR_BENCH_FILE=$folder/file
runs=5

declare -A clock processor

keep() { # name clock processor: the least of each so far
  [[ -n $2 && -n $3 ]] || { echo "no time for $1" >&2; exit 1; }
  ((${clock[$1]:-0} > 0 && ${clock[$1]:-0} <= $2)) || clock[$1]=$2
  ((${processor[$1]:-0} > 0 && ${processor[$1]:-0} <= $3)) || processor[$1]=$3
}

run() { # name command...
  local name=$1 TIMEFORMAT='%3R %3U %3S' spent
  shift
  spent=$({ time "$@" >/dev/null 2>&1; } 2>&1 | awk '{ printf "%d %d", $1 * 1000, ($2 + $3) * 1000 }')
  keep "$name" ${spent}
}

report() {
  local spent
  spent=$("$bench" --benchmark_filter='checksum/report' 2>/dev/null | awk '$1 ~ /^checksum\/report/ {
    processor = $0
    sub(/.*processor_ms=/, "", processor)
    sub(/ .*/, "", processor)
    scale = processor ~ /k$/ ? 1000 : 1
    printf "%d %d", $2, processor * scale
  }')
  keep report ${spent}
}

echo "writing $mib MiB..." >&2
head -c "${mib}M" /dev/urandom >"$QUILLMOR_BENCH_FILE"
for ((i = 0; i < runs; ++i)); do
  run cat cat "$QUILLMOR_BENCH_FILE"
  for digest in md5 sha1 sha256; do
    run "openssl dgst -$digest" openssl dgst -$digest "$QUILLMOR_BENCH_FILE"
  done
  report
done
printf '%-22s %10s %14s\n' '' 'clock ms' 'processor ms'
for name in cat 'openssl dgst -md5' 'openssl dgst -sha1' 'openssl dgst -sha256' report; do
  printf '%-22s %10d %14d\n' "$name" "${clock[$name]}" "${processor[$name]}"
done
awk -v md5="${clock['openssl dgst -md5']}" -v report="${clock[report]}" \
  'BEGIN { printf "by the clock the report takes %.2f times openssl dgst -md5\n", report / md5 }'
awk -v md5="${processor['openssl dgst -md5']}" -v report="${processor[report]}" \
  'BEGIN { printf "half of its processor time, a core each, is %.2f times\n", report / 2 / md5 }'
