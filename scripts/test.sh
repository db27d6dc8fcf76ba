#!/usr/bin/env bash
# Builds everything with warnings as errors and runs all tests; one of them compiles the libraries for Windows.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh windows
cmake --preset dev >/dev/null
cmake --build --preset dev
exec ctest --preset dev --parallel "$(nproc)"
