#!/usr/bin/env bash
# Compares the time from process start to the first painted window (and its picture, to make painting
# observable) of the editor with that of an empty Qt main window, in pairs. Prints both medians and
# the median of the ratios. Usage: bench/startup/startup.sh [RUNS]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
bin=$root/build/bench/bin
runs=${1:-21}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
head -c 65536 /dev/urandom >"$folder/data.bin"

milliseconds() { # command...
  local start=$EPOCHREALTIME
  "$@" >/dev/null
  local end=$EPOCHREALTIME
  echo $(((${end/./} - ${start/./}) / 10))
}

"$bin/quillmor" --screenshot "$folder/a.png" "$folder/data.bin"
"$bin/quillmor_empty_window" "$folder/b.png"
for ((i = 0; i < runs; ++i)); do
  editor=$(milliseconds "$bin/quillmor" --screenshot "$folder/a.png" "$folder/data.bin")
  empty=$(milliseconds "$bin/quillmor_empty_window" "$folder/b.png")
  echo "$editor $empty $((editor * 1000 / empty))"
done | awk '
  { a[NR] = $1; b[NR] = $2; r[NR] = $3 }
  END {
    n = NR
    for (i = 1; i <= n; ++i) for (j = i + 1; j <= n; ++j) {
      if (a[j] < a[i]) { t = a[i]; a[i] = a[j]; a[j] = t }
      if (b[j] < b[i]) { t = b[i]; b[i] = b[j]; b[j] = t }
      if (r[j] < r[i]) { t = r[i]; r[i] = r[j]; r[j] = t }
    }
    m = int((n + 1) / 2)
    printf "editor %.1f ms, empty window %.1f ms, ratio %.2f (medians of %d pairs)\n", a[m] / 100, b[m] / 100, r[m] / 1000, n
  }'
