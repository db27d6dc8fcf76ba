#!/usr/bin/env bash
# Converts a list of files with a Slurm job array, gives those that ran out of memory, or whose task was killed, another try with
# twice as much, and merges the logs. It may be given again at any time: what is done is passed over.
# usage: mirel-submit.sh --into DIR [--tasks N] [--mem MB] [--max-mem MB] [--cpus N] [--run FOLDER] LIST [-- OPTION OF mirel save...]
#
# LIST names a file a line. DIR, LIST, FOLDER (mirel-run) and the program ($MIREL, or "mirel") must be where all nodes find them by
# the same path. What else sbatch is to know comes from its environment: SBATCH_PARTITION, SBATCH_TIMELIMIT, ...
# The exit code is that of mirel save: 0 when all files came through, 2 when some did, 3 when none did.
set -euo pipefail

usage() {
  sed -n '2,/^set/{/^set/d;s/^# \{0,1\}//p}' "$0" >&2
  exit 1
}

into='' tasks=0 memory=4000 most=64000 cpus=1 run=mirel-run list=''
while [[ $# -gt 0 ]]; do
  case $1 in
    --) shift && break ;;
    --into | --tasks | --mem | --max-mem | --cpus | --run)
      [[ $# -ge 2 ]] || usage
      case $1 in
        --into) into=$2 ;;
        --tasks) tasks=$2 ;;
        --mem) memory=$2 ;;
        --max-mem) most=$2 ;;
        --cpus) cpus=$2 ;;
        --run) run=$2 ;;
      esac
      shift 2
      ;;
    -*) usage ;;
    *)
      [[ -z $list ]] || usage
      list=$1 && shift
      ;;
  esac
done
[[ -n $into && -n $list ]] || usage
for number in "$tasks" "$memory" "$most" "$cpus"; do
  [[ $number =~ ^[0-9]+$ ]] || usage
done
export MIREL=${MIREL:-mirel}
poll=${MIREL_POLL:-10} # seconds between looks at the queue
task=$(cd "$(dirname "$0")" && pwd)/mirel-task.sh
mkdir -p "$run"
grep -v '^$' "$list" >"$run/files" || { echo "mirel-submit: $list: names no files" >&2 && exit 1; }

# Prints what the logs say of the files of the list: PART is "log" for the last line of each file in the order of the list, or
# "again" for the names of those that another try may help. Names in logs are JSON.
tell() { # PART
  find "$run" -path '*/round-*/*.jsonl' | sort -V | xargs -r -d '\n' cat | awk -v part="$1" '
    function name(line) {
      line = substr(line, length("{\"file\":\"") + 1)
      line = substr(line, 1, index(line, "\",\"folder\":\"") - 1)
      gsub(/\\\\/, "\001", line); gsub(/\\"/, "\"", line); gsub(/\\t/, "\t", line); gsub(/\001/, "\\", line)
      return line
    }
    FILENAME == "-" { if (/}$/) said[name($0)] = $0; next }
    part == "log" && $0 in said { print said[$0] }
    part == "again" && (!($0 in said) || said[$0] ~ /"outcome":"(memory|killed)"/)' - "$run/files"
}

# Runs an array over the files of a list, and returns when it has ended.
convert() { # ROUND LIST OPTION...
  local folder=$run/round-$1 files=$2 count parts
  shift 2
  count=$(wc -l <"$files")
  parts=$((tasks > 0 ? tasks : (count + 199) / 200))
  parts=$((parts < count ? parts : count))
  rm -rf "$folder" && mkdir -p "$folder"
  # In turn, as files that lie together are often of one size.
  awk -v parts="$parts" -v folder="$folder" '{ print > (folder "/" (NR - 1) % parts + 1 ".list") }' "$files"
  local job
  job=$(sbatch --parsable --array="1-$parts" --mem="${memory}M" --cpus-per-task="$cpus" --output="$folder/%a.out" \
    "$task" "$folder" "$into" "$@")
  echo "mirel-submit: job ${job%%;*}: $count files in $parts tasks with $memory MB each"
  while [[ -n $(squeue --noheader --jobs "${job%%;*}" 2>/dev/null) ]]; do sleep "$poll"; done
}

rm -rf "$run"/round-*
round=1
cp "$run/files" "$run/again"
while [[ -s $run/again ]]; do
  convert "$round" "$run/again" "$@"
  tell again >"$run/again.new" && mv "$run/again.new" "$run/again"
  ((memory * 2 <= most)) || break
  memory=$((memory * 2)) round=$((round + 1))
done

tell log >"$run/log.jsonl"
count=$(wc -l <"$run/files")
good=$(grep -cE '"outcome":"(saved|present|sound)"' "$run/log.jsonl" || true)
echo "mirel-submit: $good of $count files came through; $run/log.jsonl tells of each"
tell again | sed 's/^/mirel-submit: no end was reached with: /' >&2
if ((good == count)); then exit 0; elif ((good > 0)); then exit 2; else exit 3; fi
