#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Makes g++ and clang++ for 32-bit ARM in a directory, under these names: armhf-compilers.sh DIR
# Debian's g++ for ARM cannot be installed beside that for 32-bit Intel, because gcc-multilib
# conflicts with it. So its packages are unpacked, unless DIR has this version.
set -eu

emulate=$(realpath "$(dirname "$0")/../cmake/emulate.sh")
triplet=arm-linux-gnueabihf
packages=({g++,gcc,cpp}-12-arm-linux-gnueabihf)
mkdir -p "$1"
cd "$1"
target=$PWD

unpack() {
    local package file files=lib/gcc-cross/$triplet/12
    rm -rf root version ./*.deb
    apt-get download -qq "${packages[@]}" 2>/dev/null || {
        echo "Cannot get ${packages[*]}; try: apt-get update" >&2
        exit 1
    }
    for package in *.deb; do
        dpkg-deb -x "$package" root
        rm "$package"
    done
    # The libraries, headers and binutils are installed.
    ln -s "/usr/$triplet" "root/usr/$triplet"
    for file in "/usr/$files"/*; do
        [ -e "root/usr/$files/${file##*/}" ] || ln -s "$file" "root/usr/$files/"
    done
}

# make_compiler NAME COMMAND: a script, because callers choose the word size with -m32, which is for
# Intel, and run what they build. With -m64 it builds for the machine itself.
make_compiler() {
    cat >"$1" <<TEXT
#!/bin/bash
arguments=()
program=a.out
previous=
for argument; do
    [ "\$argument" != -m64 ] || exec /usr/bin/$1 "\$@"
    [ "\$argument" = -m32 ] || arguments+=("\$argument")
    [ "\$previous" != -o ] || program=\$argument
    case \$argument in -c | -E | -S | -shared | -fsyntax-only) other=yes ;; esac
    previous=\$argument
done
$2 "\${arguments[@]}" || exit
if [ -z "\${other:-}" ] && [ -f "\$program" ]; then
    "$emulate" "\$program" /usr/bin/qemu-arm-static -L /usr/$triplet
fi
TEXT
    chmod 755 "$1"
}

version=$(apt-cache policy "${packages[0]}" | sed -n 's/^  Candidate: //p')
if [ -z "$version" ] || [ "$(cat version 2>/dev/null)" != "$version" ]; then
    unpack
    echo "$version" >version
fi
make_compiler g++ "$target/root/usr/bin/$triplet-g++-12"
make_compiler clang++ "/usr/bin/clang++ --target=$triplet"
