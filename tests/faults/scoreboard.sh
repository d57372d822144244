#!/usr/bin/env bash
# Runs the long form of the tests of saves under faults on the developer build, which must be built,
# and prints their figures as a table, a row for each kind of fault. `scoreboard.sh short` runs the short
# form. QUILLMOR_FAULTS_CLI and QUILLMOR_FAULTS_WINDOW name other programs to be judged, and
# QUILLMOR_FAULTS_WITHOUT robs them of something, so that rows turn red (docs/reliability.md).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
export QUILLMOR_FAULTS=${1:-all}
QUILLMOR_FAULTS_SCORES=$(mktemp)
export QUILLMOR_FAULTS_SCORES
trap 'rm -f "$QUILLMOR_FAULTS_SCORES"' EXIT

for program in build/dev/bin/quillmor_fault_tests build/dev/bin/quillmor_window_fault_tests; do
  # A red row is part of the table; what is missing is no table.
  if [[ ! -x $program ]]; then echo "$program is not built" >&2; exit 1; fi
  "$program" >"$QUILLMOR_FAULTS_SCORES.log" 2>&1 || true
  grep -E '^\[==========\].* ran\.' "$QUILLMOR_FAULTS_SCORES.log" >&2 ||
    { cat "$QUILLMOR_FAULTS_SCORES.log" >&2; rm "$QUILLMOR_FAULTS_SCORES.log"; exit 1; }
  rm "$QUILLMOR_FAULTS_SCORES.log"
done

changes=$(git status --porcelain --untracked-files=no | grep -q . && echo " with changes" || true)
echo "Commit $(git rev-parse --short=12 HEAD)$changes, $(date -u +%Y-%m-%d), Linux $(uname -r)${QUILLMOR_FAULTS_WITHOUT:+, without $QUILLMOR_FAULTS_WITHOUT}, by"
echo "\`tests/faults/scoreboard.sh $QUILLMOR_FAULTS\`."
echo
echo "| row | points | lost | left behind | wrong | seconds | |"
echo "|---|---:|---:|---:|---:|---:|---|"
awk -F '\t' '
  !($1 in points) { order[++rows] = $1; points[$1] = 0 }
  $6 ~ /^skipped/ { note[$1] = $6; next }
  { milliseconds[$1] += $7 }
  { points[$1] += $2; lost[$1] += $3; left[$1] += $4; wrong[$1] += $5; tests[$1]++ }
  $6 == "failed" { failed[$1] = 1 }
  END {
    for (i = 1; i <= rows; i++) {
      row = order[i]
      outcome = failed[row] ? "**red**" : (tests[row] ? "green" : "")
      if (row in note) outcome = outcome (outcome ? ", " : "") note[row]
      printf "| %s | %d | %d | %d | %d | %d | %s |\n", row, points[row], lost[row], left[row], wrong[row],
        (milliseconds[row] + 500) / 1000, outcome
    }
  }' "$QUILLMOR_FAULTS_SCORES"
if grep -q $'\tfailed\t' "$QUILLMOR_FAULTS_SCORES"; then exit 1; fi
