#!/usr/bin/env bash
# Saves files with the mirel of another build and with this one's, and says of which the folders are not the same byte for byte.
# usage: scripts/same-folders.sh OTHER_MIREL [FILE...]   files are read from standard input, one a line, when none is named
# MIREL_CORES=8: this one's is told that the machine has so many cores. What only one of both writes is counted apart.
set -euo pipefail
cd "$(dirname "$0")/.."

other=$(realpath "$1")
shift
ours=(env "$PWD/${MIREL_BUILD:-build/dev}/bin/mirel")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
if [[ -n ${MIREL_CORES:-} ]]; then
  echo "int get_nprocs(void) { return $MIREL_CORES; }" | cc -shared -fPIC -x c -o "$work/cores.so" -
  ours=(env "OMP_NUM_THREADS=$MIREL_CORES" "LD_PRELOAD=$work/cores.so" "${ours[@]:1}")
fi

# Saves FILE into NAME/folder, and leaves beside it with which exit code.
save() { # NAME FILE PROGRAM...
  local side=$work/$1 file=$2 code=0
  shift 2
  rm -rf "$side" && mkdir "$side"
  "$@" save --quiet "$file" "$side/folder" >/dev/null 2>&1 </dev/null || code=$?
  echo "$code" >"$side/exit-code"
}

# A line for each file: its name, exit code, and, as diff says it, "differs:x" or "theirs:x" or "ours:x" for each x that is
# not the same.
if [[ $# -gt 0 ]]; then printf '%s\n' "$@"; else cat; fi | while IFS= read -r file; do
  save theirs "$file" "$other"
  save ours "$file" "${ours[@]}"
  found=$(diff -rq "$work/theirs" "$work/ours" |
    sed -E "s|^Files $work/theirs/(.*) and .*|differs:\1|; s|^Only in $work/([a-z]*)/?(.*): (.*)|\1:\2/\3|" |
    tr '\n' ' ' || true)
  printf '%s\t%s\t%s\n' "$file" "$(cat "$work/ours/exit-code")" "$found" | tee -a "$work/all" | grep differs: || true
done
awk -F'\t' '
  { count[$3 ~ /differs:/ ? "different" : "the same"]++; if ($2 != 0) count["not saved"]++
    n = split($3, one, " "); for (i = 1; i <= n; i++) if (one[i] !~ /^differs:/) count["have " one[i]]++ }
  END { for (what in count) print count[what], what }' "$work/all"
! grep -q differs: "$work/all"
