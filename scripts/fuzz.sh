#!/usr/bin/env bash
# Feeds the fuzz targets of Fuzz/ with changed inputs, and keeps what reaches new code for the next run.
# usage: scripts/fuzz.sh [SECONDS [TARGET...]]   60 seconds for each target, all targets, as many at once as there are cores
#        scripts/fuzz.sh coverage [TARGET...]    which lines of the readers all inputs found so far reach
#        scripts/fuzz.sh quick TARGET            a few seconds on a copy of the inputs in the source tree, as the tests do
#        scripts/fuzz.sh build
# An input that breaks a target is put into build/fuzz/findings/TARGET: run build/fuzz/bin/TARGET FILE, mend the fault and
# keep the file as Fuzz/TARGET/regressions/WHAT-IT-DID.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${MIREL_FUZZ_BUILD:-build/fuzz}
# Inputs are small, so these are bounds on what an input may cost in proportion to its size. The seconds are those of the
# clock, of which other programs take some.
limits() { # TARGET
  printf '%s\n' -max_len=65536 -timeout=25 -malloc_limit_mb=256
  # What watches the memory is a thread. A target that forks must have none: the child inherits the locks that it holds. Its
  # children have limits of their own.
  if [[ $1 == BodyMeshFuzz ]]; then echo -rss_limit_mb=0; else echo -rss_limit_mb=2048; fi
}
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_stack_use_after_return=0}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
export ASAN_SYMBOLIZER_PATH=${ASAN_SYMBOLIZER_PATH:-$(command -v llvm-symbolizer-14 || true)}

list_targets() {
  for source in Fuzz/*Fuzz/; do basename "$source"; done
}

make_build() { # PRESET FOLDER
  cmake --preset "$1" -B "$2" >/dev/null
  cmake --build "$2" -- --quiet
}

# The folders of a target's inputs in the source tree, and its dictionary if it has one.
source_inputs() { # TARGET
  find "Fuzz/$1" -mindepth 1 -maxdepth 1 -type d
}
dictionary() { # TARGET
  [[ ! -f Fuzz/$1/words.dict ]] || printf '%s\n' "-dict=Fuzz/$1/words.dict"
}

# What targets write goes into memory where there is a file system for it.
make_scratch() {
  scratch=$(mktemp -d -p "$([[ -w /dev/shm ]] && echo /dev/shm || echo "${TMPDIR:-/tmp}")" mirel-fuzz-XXXXXX)
  export TMPDIR=$scratch
  trap 'rm -rf "$scratch"' EXIT
}

quick() { # TARGET
  make_scratch
  mkdir "$scratch/corpus"
  "$build/bin/$1" "$scratch/corpus" $(source_inputs "$1") $(dictionary "$1") $(limits "$1") \
    -max_total_time=4 -seed=1 -artifact_prefix="$build/" -print_final_stats=1 -verbosity=0
}

run_one() { # TARGET SECONDS: goes on after a finding until the time is over or there are ten
  local target=$1 corpus=$build/corpus/$1 findings=$build/findings/$1 log=$build/logs/$1.log
  mkdir -p "$corpus" "$findings" "$build/logs"
  : >"$log"
  local begin=$SECONDS left=$2 found=0
  while [[ $left -gt 0 && $found -lt 10 ]]; do
    if ! "$build/bin/$target" "$corpus" $(source_inputs "$target") $(dictionary "$target") $(limits "$target") \
      -max_total_time="$left" -artifact_prefix="$findings/" -print_final_stats=1 -reload=0 >>"$log" 2>&1; then
      found=$((found + 1))
    fi
    left=$((begin + $2 - SECONDS))
  done
  local seconds=$((SECONDS - begin))
  # Inputs that others make superfluous go.
  rm -rf "$corpus.new" && mkdir "$corpus.new"
  if "$build/bin/$target" -merge=1 "$corpus.new" $(source_inputs "$target") "$corpus" $(limits "$target") >>"$log.merge" 2>&1; then
    rm -rf "$corpus"
    mv "$corpus.new" "$corpus"
  else
    rm -rf "$corpus.new"
  fi
  local runs
  runs=$(awk '/^stat::number_of_executed_units:/ { sum += $2 } END { print sum + 0 }' "$log")
  printf '%s %s %d %d %d\n' "$(date +%F)" "$target" "$seconds" "$runs" "$found" >>"$build/history"
  printf '%-18s %8d s %12d executions %7d /s %7d inputs %8s %4d findings\n' "$target" "$seconds" "$runs" \
    $((runs / (seconds > 0 ? seconds : 1))) "$(find "$corpus" -type f | wc -l)" "$(du -sh "$corpus" | cut -f1)" "$found"
  [[ $found -eq 0 ]]
}

# What reads: the module's readers, the JSON of its items, and the host layer's decoders.
decoders() {
  printf '%s\n' Viewer/Kernel/Reader/*.{h,cpp} Viewer/Kernel/Model/{LiteModelItem,GroupItem,InstanceItem,ShapeItem}.cpp \
    Viewer/Kernel/Model/Item*.cpp Viewer/Kernel/Host/Gzip/Gz*.cpp Viewer/Kernel/Host/Geometry/BRepText* \
    Viewer/Kernel/Host/Geometry/TopoShape.cpp Viewer/Kernel/Host/GeometryView/GRepRecord.cpp
}

coverage() { # TARGET...
  local profiles=$build-coverage/profiles
  make_build fuzz-coverage "$build-coverage"
  make_scratch
  rm -rf "$profiles"
  for target in "$@"; do
    LLVM_PROFILE_FILE=$PWD/$profiles/$target-%m.profraw "$build-coverage/bin/$target" $(source_inputs "$target") \
      "$build/corpus/$target" 2>/dev/null | tail -1 | sed "s/^/$target: /"
  done
  llvm-profdata-14 merge -o "$profiles/all.profdata" "$profiles"/*.profraw
  llvm-cov-14 report "$build-coverage/lib/libMirelHost.so" -object "$build-coverage/lib/libMirelViewerKernel.so" \
    -instr-profile="$profiles/all.profdata" -show-region-summary=false -show-branch-summary=false |
    awk -v files="$(decoders)" '
      # The names in the report are without the folders that all have in common.
      function EndsWith(text, end) { return substr(text, length(text) - length(end) + 1) == end }
      function IsWanted(name,    i) {
        for (i in names) if (EndsWith("/" names[i], "/" name) || EndsWith(name, "/" names[i])) return 1
        return 0
      }
      BEGIN { split(files, names, "\n") }
      /%/ && IsWanted($1) { printf "%-60s %6d lines %5d missed\n", $1, $5, $6; lines += $5; missed += $6 }
      END { printf "%.1f %% of %d lines\n", 100 * (lines - missed) / lines, lines }'
  echo "Line by line: llvm-cov-14 show with the same arguments"
}

case ${1:-60} in
  coverage)
    shift
    scripts/setup.sh fuzz
    [[ $# -gt 0 ]] || set -- $(list_targets)
    coverage "$@"
    ;;
  build)
    make_build fuzz "$build"
    ;;
  quick)
    quick "$2"
    ;;
  *[!0-9]*)
    sed -n '2,8s/^# \{0,1\}//p' "$0" >&2
    exit 1
    ;;
  *)
    seconds=${1:-60}
    shift || true
    scripts/setup.sh fuzz
    make_build fuzz "$build"
    make_scratch
    export -f run_one source_inputs dictionary limits
    export build
    printf '%s\n' "${@:-$(list_targets)}" | xargs -P "$(nproc)" -I{} bash -c "run_one {} $seconds"
    ;;
esac
