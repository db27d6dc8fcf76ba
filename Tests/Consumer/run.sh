#!/usr/bin/env bash
# Runs the consumer twice, so that it also saves over its own folder, and compares what it prints with expected.txt. Then
# draws a picture of the folder.
# usage: run.sh PROGRAM FOLDER
set -euo pipefail
for _ in 1 2; do
  "$1" "$2" | diff -u "$(dirname "$0")/expected.txt" -
done
"$(dirname "$1")/draw_picture" "$2" "$2.png" | diff -u "$(dirname "$0")/expected-picture.txt" -
[[ $(file -b "$2.png") == "PNG image data, 640 x 480, 8-bit/color RGB, non-interlaced" ]]
