#!/usr/bin/env bash
# Compiles every source of Viewer for 64-bit Windows with Debian's mingw-w64 cross compiler, without linking: there
# is no OpenCASCADE for Windows in Debian, but its headers serve. Warnings are errors.
set -euo pipefail
cd "$(dirname "$0")/.."

compiler=x86_64-w64-mingw32-g++-posix
if ! command -v "$compiler" >/dev/null; then
  echo "check-windows: $compiler is not installed (see scripts/packages.txt)" >&2
  exit 1
fi

# Header-only libraries and C headers one by one: the whole of /usr/include would bring in glibc's headers.
headers=$(mktemp -d)
trap 'rm -rf "$headers"' EXIT
for header in embree3 epoxy glm rapidjson libdeflate.h libpng16 meshoptimizer.h png.h pngconf.h pnglibconf.h zconf.h zlib.h; do
  ln -s "/usr/include/$header" "$headers/$header"
done

flags=(-std=c++17 -fsyntax-only -O1 -Wall -Wextra -Werror -fopenmp -D_USE_MATH_DEFINES
       -I. -isystem "$headers" -isystem /usr/include/opencascade)
sources=$(find Viewer -name '*.cpp' | sort)
echo "$sources" | xargs -P "$(nproc)" -I{} sh -c '
  case {} in Viewer/Draw/GL/*) define=-DMirelDrawGL_EXPORTS ;; Viewer/Draw/*) define=-DMirelDraw_EXPORTS ;; */Host/*) define=-DMirelHost_EXPORTS ;; *) define=-DMirelViewerKernel_EXPORTS ;; esac
  exec "$@" "$define" {}' sh "$compiler" "${flags[@]}"
echo "check-windows: $(echo "$sources" | wc -l) files compile for Windows"
