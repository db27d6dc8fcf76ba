#!/usr/bin/env bash
# Saves the sample and compares what `mirel tree` says about it with trolley.tree.txt, which the README shows.
# usage: check-tree.sh PROGRAM FOLDER
set -euo pipefail
samples=$(dirname "$0")/../../Samples
"$1" --quiet save --force "$samples/trolley.step" "$2"
"$1" tree --depth 4 "$2" | diff -u "$samples/trolley.tree.txt" -
