#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Makes a release of this tree: release.sh VERSION [--check COMMAND] [--build COMMAND]
#                                          [--architectures "NAME..."]
# Gives the version to the sources and the changelogs, records the binary interface, freezes the
# version for the tests of later ones, runs the gate, commits and tags. Refuses, and leaves the tree as
# it was, if the tree has changes, the version does not grow, CHANGELOG.md has no entries below
# "## [Unreleased]", or the gate fails. See docs/releasing.md. For tests: --check runs another command
# than .ci/run, --build another one for the libraries; --architectures are those to freeze.
#
# Exit codes: 0 released, 1 refused, 2 wrong usage.
set -eu -o pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
check=.ci/run
build=
architectures=(i386 armhf)
version=
changed=no

usage() {
    sed -n '3,4s/^# *\(Makes .*: \)\?/  /p' "$0" >&2
    exit 2
}

refuse() {
    echo "release: refused: $1" >&2
    exit 1
}

read_arguments() {
    [ $# -ge 1 ] || usage
    version=$1
    shift
    while [ $# -ge 2 ]; do
        case $1 in
        --check) check=$2 ;;
        --build) build=$2 ;;
        --architectures) read -r -a architectures <<<"$2" ;;
        *) usage ;;
        esac
        shift 2
    done
    [ $# -eq 0 ] || usage
    [[ $version =~ ^(0|[1-9][0-9]*)(\.(0|[1-9][0-9]*)){2}$ ]] || usage
}

# The lines of CHANGELOG.md about what is not released.
unreleased() {
    awk '/^## / { on = ($0 == "## [Unreleased]"); next } on' CHANGELOG.md
}

refuse_unready() {
    local present
    present=$(sed -n 's/^project(ixlal VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
    [ -z "$(git status --porcelain)" ] || refuse "the tree has changes: commit them first"
    if [ "$version" = "$present" ] ||
        [ "$(printf '%s\n' "$present" "$version" | sort -V | tail -n 1)" != "$version" ]; then
        refuse "$version is not higher than $present"
    fi
    ! git rev-parse -q --verify "refs/tags/v$version" >/dev/null || refuse "v$version is a tag already"
    unreleased | grep -q '^- ' ||
        refuse "CHANGELOG.md has no entries below \"## [Unreleased]\""
}

# The tree had no changes, so nothing else is lost.
restore() {
    if [ "$changed" = yes ]; then
        git reset -q --hard
        rm -rf "tests/abi/frozen/$version"
    fi
}

# give_version: to the sources and the changelogs.
give_version() {
    local day
    day=$(date -u -d "@${SOURCE_DATE_EPOCH:-$(date +%s)}" +%F)
    sed -i "s/^project(ixlal VERSION [0-9.]*/project(ixlal VERSION $version/" CMakeLists.txt
    sed -i "s/^\(constexpr wchar_t kCoreVersion\[\] = L\)\"[0-9.]*\"/\1\"$version\"/" \
        core/PStartFlow.cpp
    sed -i "s/\[startFlow\] Core v[0-9.]*/[startFlow] Core v$version/" tests/core/StartTest.cpp
    sed -i "s/^## \[Unreleased\]\$/## [$version] - $day/" CHANGELOG.md
    scripts/debian_changelog.py >packaging/changelog
    scripts/debian_changelog.py --check
}

build_libraries() {
    local architecture preset
    if [ -n "$build" ]; then
        bash -c "$build"
        return
    fi
    for architecture in "${architectures[@]}"; do
        preset=${architecture/i386/release}
        if [ "$preset" = armhf ]; then
            scripts/install-deps.sh armhf
        fi
        cmake --preset "$preset" >/dev/null
        cmake --build --preset "$preset" --target ixlal_core ixlal_logger ixlal_portinglayer
    done
}

# step TEXT COMMAND...
step() {
    echo "== $1"
    "${@:2}" || refuse "$1 failed"
}

read_arguments "$@"
refuse_unready
trap restore EXIT
changed=yes
step "giving the version" give_version
step "building" build_libraries
step "recording the binary interface" scripts/check-abi.sh --record
step "recording the symbols" scripts/check-symbols.sh --record
step "freezing the version" scripts/freeze.sh "${architectures[@]}"
step "the gate" bash -c "$check"
git add -A
git commit -q -m "release: version $version"
changed=no
git tag -a -m "Version $version" "v$version"
echo "Released $version: push the commit and the tag v$version"
