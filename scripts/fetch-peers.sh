#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Downloads the libraries of the benchmarks and of their peers, in the product's word size: Debian's
# i386 packages, unpacked into build/peers without installing them. Each is downloaded once.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
peers=$root/build/peers
packages=(
    libbenchmark-dev libbenchmark1debian
    libpoco-dev libpocofoundation80 libpocoutil80 libpocojson80 libpocoxml80
    libboost1.74-dev libspdlog-dev libfmt-dev
    libsimpleini-dev libinih-dev libinih1
    libglib2.0-dev libglib2.0-0
    libexpat1 libpcre2-8-0 libpcre3 zlib1g
)

if [ "$(cat "$peers/fetched" 2>/dev/null)" = "${packages[*]}" ]; then
    exit 0
fi

# apt uses separate package lists, so it needs neither root nor a second architecture of the system.
mkdir -p "$peers/lists/partial" "$peers/debs" "$peers/root"
echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg]" \
    "http://deb.debian.org/debian bookworm main" >"$peers/sources.list"
cat >"$peers/apt.conf" <<END
Dir::Etc::SourceList "$peers/sources.list";
Dir::Etc::SourceParts "-";
Dir::State::Lists "$peers/lists";
Dir::Cache::pkgcache "$peers/pkgcache.bin";
Dir::Cache::srcpkgcache "$peers/srcpkgcache.bin";
APT::Architecture "i386";
APT::Architectures { "i386"; };
APT::Sandbox::User "";
END
export APT_CONFIG=$peers/apt.conf
apt-get update -qq
(cd "$peers/debs" && apt-get download -qq "${packages[@]}")
for package in "$peers"/debs/*.deb; do
    dpkg-deb -x "$package" "$peers/root"
done
echo "${packages[*]}" >"$peers/fetched"
