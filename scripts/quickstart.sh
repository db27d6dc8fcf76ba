#!/usr/bin/env bash
# Builds the program and the viewer, saves the sample assembly as a model folder, opens that folder, prints its tree and
# draws it.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target mirel mirel-viewer
# What `mirel page` needs is built where node is, as CMake has it.
if command -v node >/dev/null && command -v npm >/dev/null; then
  cmake --build --preset release --target MirelWeb
fi

show() {
  echo "\$ $*"
  "$@"
}
echo
show build/release/bin/mirel save --force Samples/trolley.step build/trolley
echo
show build/release/bin/mirel tree build/trolley
echo
show build/release/bin/mirel picture build/trolley build/trolley.png
echo "the picture: $PWD/build/trolley.png"
echo "in a window: build/release/bin/mirel-viewer build/trolley"
