#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the minimal plugin and host with only the compiler:
# build.sh LIBRARY_DIR OUTPUT_DIR [FLAGS...]
# LIBRARY_DIR has the three libraries. FLAGS are those that the libraries were built with; -m32 by
# default.
set -eu

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
libraries=$(cd "$1" && pwd)
output=$2
shift 2
flags=("${@:--m32}")
headers=(-I"$root/include" -I"$root/port")
mkdir -p "$output/plugins"

# With -fno-gnu-unique the library can be unloaded; the version script exports only the factory.
g++ "${flags[@]}" -O2 -fPIC -shared -fvisibility=hidden -fno-gnu-unique \
    -Wl,--version-script="$root/cmake/plugin.map" -Wl,--no-undefined \
    "${headers[@]}" "$here/plugin.cpp" -o "$output/plugins/libhello.so" \
    -L"$libraries" -lixlal.core -lixlal.portinglayer

g++ "${flags[@]}" -O2 "${headers[@]}" "$here/host.cpp" -o "$output/minimal-host" \
    -L"$libraries" -lixlal.core -lixlal.portinglayer -Wl,-rpath,"$libraries"
