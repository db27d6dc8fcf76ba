#!/usr/bin/env bash
# Runs the consumer twice, so that it also saves over its own folder, and compares what it prints with expected.txt.
# usage: run.sh PROGRAM FOLDER
set -euo pipefail
for _ in 1 2; do
  "$1" "$2" | diff -u "$(dirname "$0")/expected.txt" -
done
