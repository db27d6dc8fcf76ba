#!/usr/bin/env bash
# Compiles and runs the consumer with what pkg-config says about an installed tree.
# usage: consume-pkg-config.sh COMPILER SOURCE PREFIX WORK_FOLDER [FLAG...]
set -euo pipefail
compiler=$1 source=$2 prefix=$3 work=$4
shift 4
mkdir -p "$work"
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name mirel-host.pc)")
export PKG_CONFIG_PATH
flags=$(pkg-config --cflags --libs mirel-viewer-kernel)
# shellcheck disable=SC2086 # the flags are several words
"$compiler" -std=c++17 "$@" "$source" $flags -lTKPrim -lTKTopAlgo -o "$work/save_and_open"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir mirel-host) "$work/save_and_open" "$work/table"
