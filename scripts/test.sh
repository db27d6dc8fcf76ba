#!/usr/bin/env bash
# Builds everything with warnings as errors and runs all tests. They compile the libraries for Windows too, and with
# clang for fuzzing.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh windows fuzz web slurm
cmake --preset dev >/dev/null
cmake --build --preset dev
exec ctest --preset dev --parallel "$(nproc)"
