#!/usr/bin/env bash
# Converts changed copies of a STEP file, each apart, and says what is not as promised: a process that had to be stopped because it
# hung or took too much memory, or a crash that the program did not notice itself.
# usage: scripts/hostile.sh [COUNT [FIRST [FILE]]]   10000 copies of the sample, from number 1 on
set -euo pipefail
cd "$(dirname "$0")/.."

count=${1:-10000} first=${2:-1} file=${3:-Samples/trolley.step}
build=${MIREL_BUILD:-build/dev}
# A copy of the sample takes a tenth of a second and 60 MB. What one may take: 5 seconds for a body that is given up, and those
# for comparing; memory for what a few kilobytes can ask for.
seconds=${MIREL_HOSTILE_SECONDS:-120} memory=${MIREL_HOSTILE_MEMORY:-1G}

cmake --preset dev >/dev/null
cmake --build "$build" --target mirel MirelMakeMutants -- --quiet
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
bad=0
for ((from = first; from < first + count; from += 500)); do
  part=$((first + count - from < 500 ? first + count - from : 500))
  "$build/bin/MirelMakeMutants" "$file" "$work/in" "$from" "$part"
  (cd "$work" && "$OLDPWD/$build/bin/mirel" save --quiet --recursive in --into out --patience 5 --time-limit "$seconds" \
    --memory-limit "$memory" --log log 2>/dev/null) || true
  grep -E '"outcome":"(timeout|memory|killed)"|made the program crash' "$work/log" >"$work/bad" || true
  while read -r name; do
    mkdir -p build/hostile && cp "$work/in/$name" build/hostile/ && bad=$((bad + 1))
  done < <(sed -E 's/^\{"file":"in\/([^"]*)".*/\1/' "$work/bad")
  cat "$work/bad" && cat "$work/log" >>"$work/all" && rm -rf "$work/in" "$work/out" "$work/log"
done
sed -E 's/.*"outcome":"([a-z]*)".*"seconds":([0-9.]*),"memory":([0-9]*).*/\1 \2 \3/' "$work/all" | awk '
  { count[$1]++; if ($2 > seconds) seconds = $2; if ($3 > memory) memory = $3 }
  END {
    for (outcome in count) print outcome, count[outcome]
    print "at most", seconds, "seconds and", memory, "bytes"
  }'
[[ $bad == 0 ]] || { echo "hostile: $bad are not as promised; they are in build/hostile" >&2 && exit 1; }
