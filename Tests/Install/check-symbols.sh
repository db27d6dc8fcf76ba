#!/usr/bin/env bash
# Fails on any symbol that a library exports and no installed header declares as exported.
# usage: check-symbols.sh INCLUDE_FOLDER LIBRARY...
#
# Allowed besides the members, virtual tables and type information of exported classes: weak and unique symbols outside
# the namespace mirel. They are inline functions and template instantiations, nearly all of the standard library, which
# declares them visible so that all libraries of a process share them.
set -euo pipefail
include=$1
shift

public=$(grep -rhE "MIREL_(HOST|VIEWER_KERNEL|DRAW|DRAW_GL)_API " "$include" | grep -v "^ *#" |
  sed -E -e 's/.*(class|struct) MIREL_[A-Z_]+_API ([A-Za-z0-9_]+).*/\2/' \
    -e 's/.*MIREL_[A-Z_]+_API .*[ &*]([A-Za-z0-9_]+)\(.*/\1/' | sort -u)
[[ $(wc -w <<<"$public") -gt 30 ]] || { echo "check-symbols: no exported classes in $include" >&2; exit 1; }

status=0
for library in "$@"; do
  symbols=$(nm -DC --defined-only "$library" | sed -E 's/^[0-9a-f]* +//')
  [[ -n $symbols ]] || { echo "check-symbols: $library exports nothing" >&2; exit 1; }
  private=$(awk -v public="$public" '
    BEGIN { count = split(public, names, "\n"); for (i = 1; i <= count; i++) known[names[i]] = 1 }
    {
      kind = $1
      name = $0
      sub(/^. /, "", name)
      sub(/^(vtable for|VTT for|typeinfo for|typeinfo name for|(non-)?virtual thunk to) /, "", name)
      if (name !~ /^mirel::/ && kind ~ /[WVu]/) next
      sub(/^mirel::/, "", name)
      sub(/[^A-Za-z0-9_].*/, "", name)
      if (!(name in known)) print "  " $0
    }' <<<"$symbols")
  if [[ -n $private ]]; then
    echo "$library exports what no installed header declares as exported:" >&2
    echo "$private" >&2
    status=1
  fi
done
exit "$status"
