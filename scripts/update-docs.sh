#!/usr/bin/env bash
# Copies the files that documents include ("<!-- include: PATH -->" before a fenced block) into them, and draws the pictures of
# docs/viewer.md and docs/web.md anew where the viewers are built.
set -euo pipefail
cd "$(dirname "$0")/.."
updated=$(mktemp)
trap 'rm -f "$updated"' EXIT
for document in *.md docs/*.md; do
  awk '
    /^```/ && inside { inside = 0; skip = 0 }
    !skip { print }
    /^```/ && opening == 1 { while ((getline line < file) > 0) print line; close(file); inside = 1; skip = 1; opening = 0; next }
    { opening = 0 }
    /^<!-- include: .* -->$/ { file = $3; opening = 1 }' "$document" >"$updated"
  cmp -s "$document" "$updated" || cp "$updated" "$document"
done
if [[ -x build/dev/bin/ViewerTests ]]; then
  cmake --build --preset dev --target viewer-pictures >/dev/null
fi
if [[ -f build/dev/Web/dist/page.js ]]; then
  MIREL_UPDATE_DOCS=1 node --test --test-name-pattern='opens from the disk' Web/test/program.test.js >/dev/null
fi
