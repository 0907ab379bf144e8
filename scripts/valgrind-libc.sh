#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Unpacks the 32-bit C library of this release of Debian with the symbols of its loader, without
# which valgrind's memcheck runs no 32-bit program: valgrind-libc.sh DIR
# Installing libc6-dbg:i386 instead would replace the C library of all 32-bit programs. DIR/valgrind is a
# valgrind that uses this C library. Does nothing if DIR has it.
set -eu

target=$1
version=$(dpkg-query -W -f '${Version}' libc6)
if [ "$(cat "$target/version" 2>/dev/null)" = "$version" ]; then
    exit 0
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/state/lists/partial" "$work/cache/archives/partial" "$work/root"
cp /var/lib/dpkg/status "$work/status"
cat >"$work/apt.conf" <<EOF
APT::Architectures {"amd64";"i386";};
APT::Sandbox::User "";
Dir::State "$work/state";
Dir::State::status "$work/status";
Dir::Cache "$work/cache";
EOF
cd "$work"
export APT_CONFIG=$work/apt.conf
apt-get update -qq || true # the indexes that it gets may be enough
apt-get download -qq "libc6:i386=$version" "libc6-dbg:i386=$version"
for package in *.deb; do
    dpkg-deb -x "$package" root
done
cd - >/dev/null

rm -rf "$target"
mkdir -p "$target/.debug"
cp -P "$work"/root/lib/i386-linux-gnu/*.so* "$target"
id=$(readelf -n "$target/ld-linux.so.2" | sed -n 's/.*Build ID: //p')
cp "$work/root/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug" "$target/.debug"
cat >"$target/valgrind" <<'EOF'
#!/bin/bash
libraries=$(dirname "$(readlink -f "$0")")
options=()
while [[ ${1:-} == -* ]]; do
    options+=("$1")
    shift
done
exec /usr/bin/valgrind "${options[@]}" "$libraries/ld-linux.so.2" --library-path "$libraries" "$@"
EOF
chmod 755 "$target/valgrind"
echo "$version" >"$target/version"
