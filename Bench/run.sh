#!/bin/sh
# Measures STEP files against OpenCASCADE's own formats, and generated models: Bench/run.sh [FILE.step ...]
# Without files: the generated models alone; with files and MIREL_BENCH_GENERATED=0: the files alone.
# Prints tables, and writes the figures to result.json in the build folder. See docs/performance.md.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=${MIREL_BENCH_BUILD:-$root/build/release}
work=${MIREL_BENCH_WORK:-$build/bench}
rounds=${MIREL_BENCH_ROUNDS:-5}

(cd "$root" && cmake --preset release -B "$build" -DMIREL_BUILD_BENCH=ON) >/dev/null
cmake --build "$build" --target mirel-bench >/dev/null
if [ "${MIREL_BENCH_GENERATED:-1}" = 0 ]; then
  set -- "$@" --no-generated
fi
mkdir -p "$work"
exec "$build/bin/mirel-bench" run "$@" --work "$work" --rounds "$rounds" --json "$build/result.json"
