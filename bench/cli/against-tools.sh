#!/usr/bin/env bash
# Compares whole runs of quillmor-cli with those of the tools a user would pick, from process start to
# exit, on the same files from a warm cache: rg, md5sum, strings, cmp, xxd. Both take turns; the best
# of several runs of each counts. Everything is printed to /dev/null.
# Milliseconds by the clock and of processor time, each with the start of a process by the shell; a
# run of its own tells the most memory a command takes at a time.
# Usage: bench/cli/against-tools.sh [MIB]   (64 or more, default 1024, xxd a quarter of it; takes 2.25
# times as much in the folder for temporary files; needs the release preset built, and the Debian
# packages ripgrep, binutils, diffutils, xxd and time)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cli=$root/build/release/bin/quillmor-cli
mib=${1:-1024}
((mib >= 64)) || { echo "at least 64 MiB are needed" >&2; exit 1; }
export LC_ALL=C
for tool in rg md5sum strings cmp xxd /usr/bin/time "$cli"; do
  command -v "$tool" >/dev/null || { echo "$tool is missing" >&2; exit 1; }
done
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
runs=7

declare -A clock processor memory

run() { # name command...
  local name=$1 spent elapsed used TIMEFORMAT='%3R %3U %3S'
  shift
  spent=$({ time "$@" >/dev/null 2>&1 || true; } 2>&1)
  read -r elapsed used < <(awk '{ printf "%.0f %.0f\n", $1 * 1000, ($2 + $3) * 1000 }' <<<"$spent")
  ((${clock[$name]:-999999999} <= elapsed)) || clock[$name]=$elapsed
  ((${processor[$name]:-999999999} <= used)) || processor[$name]=$used
}

measureMemory() { # name command...
  local name=$1
  shift
  # Exit status 1 is an answer: nothing found, files differ.
  /usr/bin/time -q -o peak -f %M "$@" >/dev/null || (($? == 1))
  memory[$name]=$(($(<peak) / 1024))
}

pair() { # label ours theirs: two commands as words
  local label=$1 ours=$2 theirs=$3 i
  for ((i = 0; i < runs; ++i)); do
    # shellcheck disable=SC2086
    run "$label ours" $ours
    # shellcheck disable=SC2086
    run "$label theirs" $theirs
  done
  # shellcheck disable=SC2086
  measureMemory "$label ours" $ours
  # shellcheck disable=SC2086
  measureMemory "$label theirs" $theirs
  awk -v label="$label" -v tool="$theirs" -v a="${clock[$label ours]}" -v b="${clock[$label theirs]}" \
    -v c="${processor[$label ours]}" -v d="${processor[$label theirs]}" \
    -v m="${memory[$label ours]}" -v n="${memory[$label theirs]}" 'BEGIN {
      printf "%-17s %-35s %7d %7d %6.2f %8d %7d %6.2f %6d %6d\n", label, tool, a, b, a / b, c, d, c / d, m, n }'
}

echo "writing $mib MiB twice..." >&2
head -c "${mib}M" /dev/urandom >file
cp file copy
head -c "$((mib / 4))M" file >quarter
cat file copy quarter >/dev/null

printf '%-17s %-35s %7s %7s %6s %8s %7s %6s %6s %6s\n' '' '' clock tool ratio cpu tool ratio MiB tool
absent=TextThatIsNowhere
pair 'find, case counts' "$cli find file $absent --case-sensitive" "rg -obUa $absent file"
pair 'find, any case' "$cli find file $absent" "rg -iobUa $absent file"
pair checksums "$cli checksums file" 'md5sum file'
pair strings "$cli strings file" 'strings -n 4 -t x file'
pair compare "$cli compare file copy" 'cmp file copy'
pair hex-dump "$cli hex-dump quarter" 'xxd quarter'

head -c 4096 file >small
start=$EPOCHREALTIME
for ((i = 0; i < 100; ++i)); do "$cli" detect small >/dev/null || true; done
awk -v start="$start" -v end="$EPOCHREALTIME" \
  'BEGIN { printf "detect, 4 KiB: %.1f ms from start to exit, the mean of 100\n", (end - start) * 10 }'
