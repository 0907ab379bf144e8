#!/bin/sh
# SPDX-License-Identifier: MIT
# Runs a test with the core of a build of g++: run_with_core.sh LIBRARIES TEST
set -eu

if readelf -p .comment "$1/libixlal.core.so" | grep clang; then
    echo "$1/libixlal.core.so was built by clang"
    exit 1
fi
LD_LIBRARY_PATH=$1 exec "$2"
