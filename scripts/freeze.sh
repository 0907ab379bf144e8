#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Freezes this version for the tests of later ones: freeze.sh ARCHITECTURE...
# The architectures are i386, from the build of the preset release, and armhf, from that of the preset
# armhf; both must be built. Writes tests/abi/frozen/VERSION: the libraries without their debug
# information, and a host and plugins built from tests/abi/frozen/source by each compiler, with the
# oldest and the newest language version. output.txt is what the host prints, data/ the store and the
# logs that it leaves.
# BUILD.txt has the compilers and the commands, SHA256SUMS the hashes.
set -eu -o pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
version=$(sed -n 's/^project(ixlal VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
source=tests/abi/frozen/source
set=tests/abi/frozen/$version
# shellcheck disable=SC2054 # options of the linker
flags=(-Os -g0 -Iinclude -Iport -Isdk -ffunction-sections -fdata-sections -Wl,--gc-sections
    -Wl,--as-needed -s)
plugin_flags=(-shared -fPIC -fvisibility=hidden)

if [ $# -eq 0 ]; then
    sed -n '3s/.*: /Usage: /p' "$0" >&2
    exit 2
fi

# note TEXT: in BUILD.txt.
note() {
    echo "$1" >>"$set/BUILD.txt"
}

# compile OUTPUT COMMAND...: with the libraries of the set.
compile() {
    local output=$1
    shift
    local command=("$@" "${flags[@]}" -o "$output" "-L$set/$architecture" -lixlal.core
        -lixlal.portinglayer "-Wl,-rpath-link,$set/$architecture")
    note "${command[*]}"
    "${command[@]}"
}

# build_parts COMPILER...: the plugins of a compiler, named after it and the language version.
build_parts() {
    local name=$1 standard plugin
    shift
    note "$("$1" --version | head -n 1)"
    for standard in 11 20; do
        plugin=${name}_cxx$standard
        compile "$set/$architecture/lib$plugin.so" "$@" "-std=c++$standard" "${plugin_flags[@]}" \
            "-DCOMPILER_PLUGIN=\"$plugin\"" "$source/CompilerPlugin.cpp"
    done
}

# build_rest COMPILER...: the host and the plugin that uses the SDK.
build_rest() {
    compile "$set/$architecture/libkept.so" "$@" -std=c++11 "${plugin_flags[@]}" \
        "$source/KeptGreeter.cpp"
    compile "$set/$architecture/host" "$@" -std=c++11 -rdynamic "$source/KeptHost.cpp"
}

# freeze_libraries BUILD STRIP: copies the built libraries.
freeze_libraries() {
    local library
    for library in portinglayer logger core; do
        note "$2 --strip-unneeded $1/lib/libixlal.$library.so"
        "$2" --strip-unneeded -o "$set/$architecture/libixlal.$library.so" \
            "$1/lib/libixlal.$library.so"
    done
}

freeze_i386() {
    freeze_libraries build/release strip
    build_parts gxx g++ -m32
    build_parts clang clang++ -m32
    build_rest g++ -m32
    tests/abi/frozen/kept_host.py --write "$set" i386
}

# Only clang, because Debian's g++ for ARM cannot be installed beside that for 32-bit Intel.
freeze_armhf() {
    freeze_libraries build/armhf arm-linux-gnueabihf-strip
    build_parts clang clang++ --target=arm-linux-gnueabihf
    build_rest clang++ --target=arm-linux-gnueabihf
    tests/abi/frozen/kept_host.py --write "$set" armhf qemu-arm-static -L /usr/arm-linux-gnueabihf
}

rm -rf "$set"
mkdir -p "$set"
for architecture; do
    mkdir "$set/$architecture"
    note "== $architecture"
    "freeze_$architecture"
done
hashes=$(cd "$set" && find . ../source -type f | LC_ALL=C sort | xargs sha256sum)
echo "$hashes" >"$set/SHA256SUMS"
echo "$set: $(du -sk --apparent-size "$set" | cut -f 1) KiB"
