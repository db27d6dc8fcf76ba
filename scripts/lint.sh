#!/usr/bin/env bash
# Checks the format of all sources, and those in C++ themselves with clang-tidy.
# usage: scripts/lint.sh [FILE...]     default: all sources
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh lint

files=("$@")
if [[ ${#files[@]} -eq 0 ]]; then
  mapfile -t files < <(git ls-files '*.cpp' '*.h')
fi
clang-format-14 --dry-run -Werror "${files[@]}"

if [[ -d Web/node_modules ]]; then
  (cd Web && npm run --silent lint)
fi

cmake --preset dev >/dev/null
sources=()
for file in "${files[@]}"; do
  [[ $file == *.cpp && $file != Tests/Consumer/* ]] && sources+=("$file")
done
printf '%s\0' "${sources[@]}" | xargs -0 -n 1 -P "$(nproc)" clang-tidy-14 --quiet -p build/dev
echo "lint: ${#files[@]} files are formatted, ${#sources[@]} sources pass clang-tidy"
