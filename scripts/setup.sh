#!/usr/bin/env bash
# Installs those packages of packages.txt that are missing; says nothing when there are none.
# usage: scripts/setup.sh [lint] [windows] [fuzz] [web] [slurm] [bench]
set -euo pipefail
cd "$(dirname "$0")/.."

if ! command -v dpkg-query >/dev/null; then
  echo "setup: this is not a Debian system; install what scripts/packages.txt lists by hand" >&2
  exit 1
fi

missing=()
while read -r package marks; do
  isWanted=true
  for mark in $marks; do
    case $mark in
      @*) [[ " $* " == *" ${mark#@} "* ]] || isWanted=false ;;
      command=*) command -v "${mark#command=}" >/dev/null && isWanted=false ;;
    esac
  done
  $isWanted || continue
  state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [[ $state == installed ]] || missing+=("$package")
done < <(sed 's/#.*//; /^ *$/d' scripts/packages.txt)
[[ ${#missing[@]} -gt 0 ]] || exit 0

as_root=()
if [[ $(id -u) -ne 0 ]]; then
  if ! command -v sudo >/dev/null; then
    echo "setup: neither root nor sudo; have an administrator run: apt-get install ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi
apt_get() {
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o Dpkg::Use-Pty=0 "$@" </dev/null
}

echo "setup: installing ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# Lists that are missing or too old are fetched and the installation is tried again.
if ! apt-cache show "${missing[@]}" >/dev/null 2>&1 ||
  ! apt_get install --no-install-recommends "${missing[@]}" >"$log" 2>&1; then
  apt_get update
  if ! apt_get install --no-install-recommends "${missing[@]}" >"$log" 2>&1; then
    cat "$log" >&2
    echo "setup: the packages could not be installed" >&2
    exit 1
  fi
fi
