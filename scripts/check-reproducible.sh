#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds this tree twice and compares the results bit by bit:
#   check-reproducible.sh [--packages | --plant time|path]
# Without an option the three libraries, with their debug information. --packages: all Debian packages
# too, and the tools in them, which takes long. --plant: only the porting layer, with a difference
# that the comparison has to find.
# The two builds differ in their directories, in the user (if this is root), in HOME, umask, locale,
# time zone and clock. No compiler cache is used. The results must not name the directories either.
set -eu -o pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
targets=(ixlal_core ixlal_logger ixlal_portinglayer)
plant=
packages=no
case ${1:-} in
'') ;;
--packages)
    packages=yes
    targets=(all)
    ;;
--plant)
    plant=${2:-}
    targets=(ixlal_portinglayer)
    ;;
*) plant=none ;;
esac
if [ $# -gt 2 ] || [[ ! $plant =~ ^(time|path)?$ ]] || { [ "${1:-}" = --plant ] && [ -z "$plant" ]; }; then
    sed -n '4s/^# */Usage: /p' "$0" >&2
    exit 2
fi
"$root/scripts/install-deps.sh" test

work=$(mktemp -d "${TMPDIR:-/tmp}/ixlal-twice-XXXXXX")
# The builds run in parallel.
trap 'wait; rm -rf "$work"' EXIT
chmod 755 "$work"
days=500

# plant_difference DIRECTORY: compiles the time or the place of the build into a library.
plant_difference() {
    local value=__DATE__ # which the compiler would refuse
    if [ "$plant" = path ]; then
        # shellcheck disable=SC2016 # a variable of CMake
        value='"${CMAKE_CURRENT_LIST_DIR}"'
    fi
    cat >>"$1/port/portinglayer/PTime.cpp" <<'TEXT'
extern const char gBuilt[];
__attribute__((used)) const char gBuilt[] = BUILT;
TEXT
    cat >>"$1/port/portinglayer/CMakeLists.txt" <<TEXT
target_compile_definitions(ixlal_portinglayer PRIVATE BUILT=$value)
set_source_files_properties(PTime.cpp PROPERTIES COMPILE_OPTIONS -Wno-date-time)
TEXT
}

# copy_tree DIRECTORY
copy_tree() {
    mkdir -p "$1"
    tar -c -C "$root" --exclude ./build --exclude ./.git . | tar -x --no-same-owner -C "$1"
    if [ -n "$plant" ]; then
        plant_difference "$1"
    fi
}

# build TREE: with the variables and the umask of the caller.
build() {
    cd "$1"
    cmake --preset release -DIXLAL_BUILD_TESTS=OFF -DIXLAL_BUILD_EXAMPLES=OFF \
        -DIXLAL_BUILD_TOOLS="$([ "$packages" = yes ] && echo ON || echo OFF)"
    cmake --build --preset release --target "${targets[@]}"
    if [ "$packages" = yes ]; then
        cpack --config build/release/CPackConfig.cmake -B build/packages
    fi
}

# build_as NAME UMASK COMMAND...: the command runs build with its variables.
build_as() {
    local name=$1 log=$work/$1.log umask=$2
    shift 2
    (umask "$umask" && "$@") >"$log" 2>&1 </dev/null || {
        tail -n 40 "$log" >&2
        echo "The build of $name failed" >&2
        exit 1
    }
}

build_first() {
    copy_tree "$work/first"
    build_as first 022 env -i PATH="$PATH" HOME="$work/home" LC_ALL=C TZ=UTC \
        bash -euc "$shared; build \"\$1\"" build "$work/first"
}

# A user without rights, if possible, and a clock that is more than a year ahead.
build_second() {
    local tree="$work/second/in a longer path" user=()
    copy_tree "$tree"
    mkdir "$work/other-home"
    if [ "$(id -u)" -eq 0 ]; then
        chown -R nobody:nogroup "$work/second" "$work/other-home"
        user=(setpriv --reuid nobody --regid nogroup --clear-groups)
    fi
    build_as second 077 env -i PATH="$PATH" HOME="$work/other-home" LC_ALL=C.UTF-8 \
        LANGUAGE=tr TZ=Asia/Tokyo "${user[@]}" faketime -f "+$((days * 86400))s" \
        bash -euc "$shared; build \"\$1\"" build "$tree"
}

# list_results TREE: the paths of the files to compare, below the tree.
list_results() {
    (cd "$1/build" && find . -type f \( -path './release/lib/*' -o -path './release/bin/*' \
        -o -path './release/libexec/*' -o -path './release/share/*' -o -path './packages/*.deb' \) |
        LC_ALL=C sort)
}

# compare FIRST SECOND: reports every file that differs, or that names a directory of its build.
compare() {
    local file failed=0
    diff <(list_results "$1") <(list_results "$2") >&2 || return 1
    [ -n "$(list_results "$1")" ] || return 1
    while read -r file; do
        if ! cmp -s "$1/build/$file" "$2/build/$file"; then
            echo "Differs: $file" >&2
            failed=1
        fi
        if grep -qaF "$work" "$1/build/$file"; then
            echo "Names the directory of its build: $file" >&2
            failed=1
        fi
    done < <(list_results "$1")
    return $failed
}

shared=$(declare -p packages targets && declare -f build)
mkdir "$work/home"
build_first &
first=$!
build_second
wait "$first"
if ! compare "$work/first" "$work/second/in a longer path"; then
    echo "The builds are not the same; diffoscope explains a difference" >&2
    exit 1
fi
count=$(list_results "$work/first" | wc -l)
echo "$count files are the same in both builds, and name no directory of them"
