#!/usr/bin/env bash
# Fails when an installed header includes one that a user cannot have: a header of ours that is not installed, or one of
# a library that is our own business. What is left are standard C++, OpenCASCADE, glm and rapidjson.
# usage: check-headers.sh INCLUDE_FOLDER
set -euo pipefail
cd "$1"
status=0
while IFS=: read -r header name; do
  case $name in
  Viewer/*) [[ -f $name ]] && continue ;;
  glm/* | rapidjson/* | *.hxx) continue ;;
  */* | *.*) ;;
  *) continue ;;
  esac
  echo "$header includes <$name>" >&2
  status=1
done < <(grep -rE --include='*.h' '^ *# *include' . | sed -E 's/:.*[<"](.*)[>"].*/:\1/')
exit "$status"
