#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the packages of 32-bit ARM, unpacks them into an empty root directory, and runs a host from
# there with the plugin of the packages: check_packages.sh BUILD EMULATOR...
set -eu -o pipefail

build=$1
record=$(cd "$(dirname "$0")/../../abi/armhf" && pwd)
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "check_packages: $1" >&2
    exit 1
}

cpack --config "$build/CPackConfig.cmake" -B "$work/packages" >"$work/log" 2>&1 || {
    tail -n 20 "$work/log"
    fail "cpack failed"
}
for package in "$work"/packages/*.deb; do
    architecture=armhf
    [[ $package != */ixlal-doc_* ]] || architecture=all
    [ "$(dpkg-deb --field "$package" Architecture)" = "$architecture" ] ||
        fail "$package has another architecture"
    if dpkg-deb --field "$package" Depends | grep -E 'cross|i386|lib32'; then
        fail "$package depends on packages of this machine"
    fi
    dpkg-deb -x "$package" "$work/root"
done
dpkg-deb --field "$work"/packages/libixlal_*_armhf.deb Depends |
    grep -E 'libc6 \(>= [0-9.]+\).*libstdc' ||
    fail "libixlal does not depend on the libraries that it needs"

# The symbols file names what the libraries export.
dpkg-deb --ctrl-tarfile "$work"/packages/libixlal_*_armhf.deb | tar -xO ./symbols |
    sed -n 's/^ \(.*\)@Base .*/\1/p' | LC_ALL=C sort |
    diff <(LC_ALL=C sort "$record"/*.exports) - || fail "the symbols file has other names"

root=$work/root/usr
for library in core logger portinglayer; do
    readelf -h "$root/lib/arm-linux-gnueabihf/libixlal.$library.so" | grep -q 'Machine: *ARM' ||
        fail "libixlal.$library.so is not for ARM"
done
mkdir -p "$work/run/config"
printf 'ixlap.configmanager.store.file = store.txt\n' >"$work/run/config/ixlap.configmanager.prs"
cd "$work/run"
# In the build tree the libraries could be found without those of the package.
"$@" "$root/bin/ixla-host" core.plugins.dir="$root/lib/ixlal/plugins" \
    core.plugins.config.dir=config core.plugins.log.dir=log --seconds 0 --require nothing.offered \
    >out.txt 2>err.txt && fail "the host does not report a missing interface"
grep -q 'nothing.offered' err.txt || fail "the host says: $(cat out.txt err.txt)"
"$@" "$root/bin/ixla-host" core.plugins.dir="$root/lib/ixlal/plugins" \
    core.plugins.config.dir=config core.plugins.log.dir=log --seconds 0 >out.txt 2>err.txt ||
    fail "the host fails: $(cat out.txt err.txt)"
grep -q 'ready' out.txt || fail "the host says: $(cat out.txt err.txt)"
# It reports that this machine lacks the system libraries of ARM.
said=$("$root/bin/ixla-inspect" --static "$root/lib/ixlal/plugins" 2>&1) || true
[[ $said == *"32-bit arm"* ]] || fail "ixla-inspect says: $said"
echo "The packages of ARM work in a root directory of their own"
