#!/usr/bin/env bash
# Runs a test of the web viewer, where there is one.
# usage: run.sh DIST COMMAND...   exit code 77 where npm could not get what the viewer is built with
set -euo pipefail
if [[ ! -f $1/index.js ]]; then
  echo "skipped: the web viewer is not built, since npm could not get what it is built with"
  exit 77
fi
shift
exec "$@"
