#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs the Debian packages that are missing:
# install-deps.sh build|test|bench|plots|root|armhf|powerpc
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
purpose=${1:-build}
packages=(g++ g++-multilib cmake ninja-build libcli11-dev nlohmann-json3-dev)
case $purpose in
    test)
        packages+=(googletest binutils file python3 gdb valgrind)
        packages+=(clang llvm libclang-rt-dev clang-tidy cppcheck abigail-tools gcovr)
        packages+=(python3-pyelftools mandoc zsh fish doxygen dpkg-dev lintian pkgconf chromium)
        packages+=(codespell mkdocs python3-pymdownx python3-hypothesis faketime git)
        ;;
    root) packages=(debootstrap) ;;
    armhf)
        packages+=(googletest clang binutils-arm-linux-gnueabihf qemu-user-static python3 file)
        packages+=(libc6-dev-armhf-cross libgcc-12-dev-armhf-cross libstdc++-12-dev-armhf-cross)
        packages+=(abigail-tools dpkg-dev python3-pyelftools)
        ;;
    powerpc)
        packages+=(googletest clang binutils-powerpc-linux-gnu qemu-user-static python3)
        packages+=(libc6-dev-powerpc-cross libgcc-12-dev-powerpc-cross)
        packages+=(libstdc++-12-dev-powerpc-cross)
        ;;
    bench) packages+=(valgrind python3) ;;
    plots) packages+=(valgrind python3 python3-matplotlib) ;;
esac

missing=()
for package in "${packages[@]}"; do
    if [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
        missing+=("$package")
    fi
done
if [ ${#missing[@]} -gt 0 ]; then
    as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        as_root=(sudo)
        if ! sudo -n true 2>/dev/null; then
            echo "Missing packages. Run: apt-get install -y ${missing[*]}" >&2
            exit 1
        fi
    fi
    echo "Installing ${missing[*]}"
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq "${missing[@]}" >/dev/null
fi

# What has no package that can be installed.
case $purpose in
    armhf) "$root/scripts/armhf-compilers.sh" "$root/build/compilers/armhf" ;;
    # The tests run 32-bit programs under valgrind. Without the network they test its absence.
    test)
        "$root/scripts/valgrind-libc.sh" "$root/build/valgrind/libc" 2>/dev/null ||
            echo "No 32-bit C library for valgrind" >&2
        ;;
esac
