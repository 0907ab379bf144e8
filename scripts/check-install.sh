#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Tests that the installed files can be used without the tree: check-install.sh [BUILD_DIR]
# Installs the release build into an empty prefix and unpacks its packages into another one. Builds
# and runs projects outside of the tree with each of them: the plugin and the host of
# examples/minimal, with CMake and with pkg-config, a plugin created by ixla-new-plugin, one that is
# installed, and one with a timer, also in virtual time. Builds a project of ixla-new-plugin with all
# parts, with all presets and clang-tidy, and its package, also for 64 bits. Builds the examples of
# ixlal-doc and checks the links of its site. Checks that unsupported uses are refused, and runs lintian
# on the packages.
set -eu -o pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
# Removes variables of the caller that could influence the result.
if [ "${1:-}" != --clean ]; then
    exec "$root/scripts/clean-env.sh" "$0" --clean "$@"
fi
shift
export LC_ALL=C # messages of the compiler are compared

build=$(cd "${1:-$root/build/release}" && pwd)
version=$(sed -n 's/^project(ixlal VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
work=$(mktemp -d "${TMPDIR:-/tmp}/ixlal-install-XXXXXX")
log=$work/log
# The checks of the two prefixes run in parallel.
trap 'wait; rm -rf "$work"' EXIT

fail() {
    echo "check-install: $1" >&2
    exit 1
}

# quietly COMMAND...: prints the output of a command only if it fails.
quietly() {
    "$@" >"$log" 2>&1 || {
        tail -n 40 "$log" >&2
        fail "failed: $*"
    }
}

# refused TEXT COMMAND...: the command must fail and print TEXT.
refused() {
    local text=$1
    shift
    if "$@" >"$log" 2>&1; then
        fail "not refused: $*"
    fi
    grep -qF -- "$text" "$log" || {
        cat "$log" >&2
        fail "refused, but not for \"$text\": $*"
    }
}

# build_project SOURCE PREFIX [OPTION...]: builds the project in SOURCE/build.
build_project() {
    local source=$1 prefix=$2
    shift 2
    rm -rf "$source/build"
    cmake -S "$source" -B "$source/build" -DCMAKE_PREFIX_PATH="$prefix" "$@" &&
        cmake --build "$source/build" -j 2
}

# Creates a directory with the minimal plugin and host, and the project of the document.
make_minimal() {
    mkdir -p "$1"
    cp "$root"/examples/minimal/{IHello.h,plugin.cpp,host.cpp} "$1"
    awk '$0 == "```" { on = 0 } on; $0 == "```cmake" { on = 1 }' "$root/docs/packaging.md" \
        >"$1/CMakeLists.txt"
}

# make_plugin DIRECTORY SOURCE [OPTION...]: creates a project of one plugin without a service.
make_plugin() {
    mkdir -p "$1"
    cp "$root/tests/install/$2.cpp" "$1"
    cat >"$1/CMakeLists.txt" <<TEXT
cmake_minimum_required(VERSION 3.25)
project($2 LANGUAGES CXX)
find_package(ixlal $version CONFIG REQUIRED)
ixlal_add_plugin($2 SOURCES $2.cpp ${*:3})
TEXT
}

# run_minimal HOST PLUGIN PREFIX: runs the host with the plugin and the libraries of the prefix.
run_minimal() {
    local run
    run=$(mktemp -d "$work/run-XXXXXX")
    mkdir "$run/plugins" "$run/config"
    cp "$2" "$run/plugins"
    if ldd "$1" | grep libixlal | grep -vF "=> $3/"; then
        fail "$1 uses libraries outside of $3"
    fi
    (cd "$run" && "$1" core.plugins.dir=plugins core.plugins.config.dir=config \
        core.plugins.log.dir=log core.plugins.log.enable=false) \
        >"$run/out.txt" 2>"$run/err.txt" || {
        cat "$run/out.txt" "$run/err.txt" >&2
        fail "failed: $1"
    }
    diff - "$run/out.txt" <<'TEXT'
The plugin says: Hello!
The plugin says: Hello again!
service: 0, stop: 0
TEXT
}

# exports_factory_alone LIBRARY: fails if the library exports anything else.
exports_factory_alone() {
    [ "$(nm -D --defined-only "$1" | cut -d ' ' -f 2-)" = "T _Z13ixlaGetPluginv" ] ||
        fail "$1 exports other symbols than its factory"
}

check_cmake() {
    local prefix=$1 project=$2/cmake
    make_minimal "$project"
    quietly build_project "$project" "$prefix"
    run_minimal "$project/build/hello-host" "$project/build/libhello.so" "$prefix"
    exports_factory_alone "$project/build/libhello.so"
}

check_pkg_config() {
    local prefix=$1 project=$2/pkg-config
    make_minimal "$project"
    PKG_CONFIG_LIBDIR=$(dirname "$(find "$prefix" -name ixlal.pc)")
    export PKG_CONFIG_LIBDIR
    [ "$(pkg-config --modversion ixlal)" = "$version" ] || fail "ixlal.pc has another version"
    # shellcheck disable=SC2046 # flags are words
    g++ -O2 -o "$project/libhello.so" "$project/plugin.cpp" \
        $(pkg-config --variable=plugin_flags ixlal) $(pkg-config --cflags --libs ixlal)
    # shellcheck disable=SC2046 # flags are words
    g++ -O2 -o "$project/host" "$project/host.cpp" $(pkg-config --cflags --libs ixlal) \
        -Wl,-rpath,"$(pkg-config --variable=libdir ixlal | xargs realpath)"
    run_minimal "$project/host" "$project/libhello.so" "$prefix"
    exports_factory_alone "$project/libhello.so"
}

# compile_headers PREFIX STANDARD: compiles the headers named on the standard input in one source.
compile_headers() {
    sed 's/.*/#include "&"/' |
        g++ -m32 "-std=c++$2" -Wall -Wextra -Wpedantic -Werror -fsyntax-only \
            -I "$1/include/ixlal" -x c++ -
}

# Installed headers depend only on each other; the test kit's fixture needs GoogleTest.
check_headers() {
    (cd "$1/include/ixlal" && find . -name '*.h' ! -path './testkit/*') | compile_headers "$1" 11
    (cd "$1/include/ixlal" && find testkit -name 'P*.h') | compile_headers "$1" 17
}

# Every tool starts and has a man page and a completion.
check_tools() {
    local tool name
    for tool in "$1"/bin/*; do
        name=$(basename "$tool")
        [ "$("$tool" --version)" = "$name $version" ] || fail "$name prints another version"
        compgen -G "$1/share/man/man1/$name.1*" >/dev/null || fail "$name has no man page"
        [ -f "$1/share/bash-completion/completions/$name" ] || fail "$name has no completion"
    done
    [ -f "$1/share/zsh/vendor-completions/_ixla-ctl" ] || fail "ixla-ctl has no zsh completion"
    [ -f "$1/share/fish/vendor_completions.d/ixla-ctl.fish" ] ||
        fail "ixla-ctl has no fish completion"
}

# The prefix has the man pages of the tree and no others.
check_man() {
    local installed
    installed=$(find "$1/share/man" -type f -printf '%P\n' | sed 's/\.gz$//' | LC_ALL=C sort)
    find "$root"/{docs,tools}/man -type f -printf '%f\n' | sed 's/.*\.\(.\)$/man\1\/&/' |
        LC_ALL=C sort | diff - <(echo "$installed") || fail "other man pages"
}

# A host of the prefix with the control plugin of the prefix answers.
check_control() {
    local prefix=$1 run=$2/control host
    mkdir -p "$run/plugins" "$run/config"
    ln -s "$prefix/lib/ixlal/plugins/libixlal-control.so" "$run/plugins/"
    exports_factory_alone "$run/plugins/libixlal-control.so"
    quietly "$prefix/bin/ixla-inspect" --info "$run/plugins/libixlal-control.so"
    grep -qE "^  version +$version\$" "$log" || fail "the control plugin has no information"
    cd "$run"
    printf 'com.kelvora.ixla.control = control.prs\n' >config/ixlap.configmanager.prs
    printf 'socket = socket\n' >config/control.prs
    mkfifo ready
    "$prefix/bin/ixla-host" core.plugins.dir=plugins core.plugins.config.dir=config \
        core.plugins.log.dir=log core.autostart.list=ixlal-control --seconds 60 >ready 2>"$log" &
    host=$!
    grep -m 1 -q 'ixla-host: ready' ready || fail "the host with the control plugin does not start"
    quietly "$prefix/bin/ixla-ctl" --socket socket status
    grep -q "ixlal $version, process $host" "$log" || fail "ixla-ctl shows another host"
    kill "$host"
    wait "$host" || fail "the host with the control plugin does not stop"
    cd "$root"
}

check_new_plugin() {
    local project=$2/greeter
    quietly "$1/bin/ixla-new-plugin" greeter --id com.example.greeter --dir "$project"
    cd "$project"
    CMAKE_PREFIX_PATH=$1 quietly cmake --workflow --preset release
    grep -qE '[0-9] checks passed' "$log" || fail "the new plugin was not validated"
    exports_factory_alone build/release/plugins/libgreeter.so
    quietly "$1/bin/ixla-host" --prs core.prs --require com.example.greeter --seconds 0 \
        core.log.file=build/core.log
    quietly "$1/bin/ixla-inspect" build/release/plugins
    grep -q 'com\.example\.greeter' "$log" || fail "ixla-inspect does not find the new plugin"
}

# readable_for_all PACKAGE
readable_for_all() {
    if dpkg-deb -c "$1" | grep -vE '^(d.{3}r-xr-x|-.{3}r-[x-]r-[x-]|l)'; then
        fail "$1 is not readable for all users"
    fi
}

# check_plugin_package FILE ARCHITECTURE: the package of a project with all parts.
check_plugin_package() {
    local depends
    [ "$(dpkg-deb --field "$1" Architecture)" = "$2" ] || fail "$1 has another architecture"
    depends=$(dpkg-deb --field "$1" Depends | tr ',' '\n' | sed 's/^ *//; s/ .*//' | sort | xargs)
    [ "$depends" = "libc6 libgcc-s1 libixlal libstdc++6" ] || fail "$1 depends on: $depends"
    dpkg-deb --fsys-tarfile "$1" | tar -t | grep -v '/$' | sort | diff - <(printf '%s\n' \
        ./etc/ixlal/greeter/{greeter,ixlap.configmanager}.prs ./usr/bin/greeter-host \
        ./usr/lib/ixlal/plugins/libgreeter{-client,}.so) || fail "$1 has other files"
    dpkg-deb --ctrl-tarfile "$1" | tar -xO ./conffiles |
        diff - <(printf '%s\n' /etc/ixlal/greeter/{greeter,ixlap.configmanager}.prs) ||
        fail "$1 has other configuration files"
    readable_for_all "$1"
    # The author writes the documents.
    lintian --profile debian --allow-root --fail-on error \
        --suppress-tags no-copyright-file,no-changelog,no-manual-page "$1"
}

# A project with all parts passes its own checks, and cpack packages it.
check_whole_project() {
    local project=$2/whole
    log=$2/whole.log
    quietly "$1/bin/ixla-new-plugin" greeter --id com.example.greeter --dir "$project" \
        --with-client --with-host
    (umask 077 && CMAKE_PREFIX_PATH=$1 quietly "$project/ci.sh")
    [ "$(grep -cE '[0-9] checks passed' "$log")" -eq 6 ] || fail "not every preset validates"
    check_plugin_package "$project"/build/release/*.deb i386
    # What clang-tidy must find.
    printf 'struct Sample { virtual void run(); }; struct Other : Sample { void run(); };\n' \
        >>"$project/GreeterPlugin.cpp"
    cd "$project"
    refused modernize-use-override clang-tidy --quiet -p build/release GreeterPlugin.cpp
    cd "$root"
}

# install_64_bits PREFIX: builds the libraries and ixla-validate for 64 bits, and installs them.
install_64_bits() {
    local tree=$work/64-bits
    quietly cmake -S "$root" -B "$tree" -DCMAKE_BUILD_TYPE=Debug -DIXLAL_BUILD_TESTS=OFF \
        -DIXLAL_BUILD_EXAMPLES=OFF
    quietly cmake --build "$tree" -j 2 \
        --target ixlal_core ixlal_logger ixlal_portinglayer ixla-validate
    quietly cmake --install "$tree" --prefix "$1" --component prefix
    quietly cmake --install "$tree" --prefix "$1" --component libixlal-dev
    mkdir "$1/bin"
    ln -s "$tree/bin/ixla-validate" "$1/bin/"
}

# The same project is built for 64 bits with 64-bit libraries; $1 has the tools.
check_64_bits() {
    local prefix=$work/prefix-64 project=$2/whole-64
    log=$2/64-bits.log
    install_64_bits "$prefix"
    quietly "$1/bin/ixla-new-plugin" greeter --id com.example.greeter --dir "$project" \
        --with-client --with-host
    cd "$project"
    CMAKE_PREFIX_PATH=$prefix quietly cmake --workflow --preset release
    [ "$(grep -cE '[0-9] checks passed' "$log")" -eq 2 ] || fail "no validation for 64 bits"
    readelf -h build/release/plugins/libgreeter.so | grep -q ELF64 || fail "no 64-bit plugin"
    check_plugin_package "$project"/build/release/*.deb amd64
    cd "$root"
}

# A plugin with a timer is validated, and a program that links it runs it in virtual time.
check_timer() {
    local project=$2/ticker
    mkdir -p "$project"
    cp "$root"/examples/ticker/{ITicker.h,TickerPlugin.cpp} "$root/tests/install/virtual_time.cpp" \
        "$project"
    cat >"$project/CMakeLists.txt" <<TEXT
cmake_minimum_required(VERSION 3.25)
project(ticker LANGUAGES CXX)
find_package(ixlal $version CONFIG REQUIRED)
ixlal_add_plugin(ticker SOURCES TickerPlugin.cpp LINK ixlal::sdk VALIDATE)
add_executable(virtual-time virtual_time.cpp TickerPlugin.cpp)
target_link_libraries(virtual-time PRIVATE ixlal::sdk)
TEXT
    quietly build_project "$project" "$1"
    grep -qE '[0-9] checks passed' "$log" || fail "the plugin with a timer was not validated"
    quietly "$project/build/virtual-time"
    grep -qx 'ticks: 3600' "$log" || fail "the timer does not fire in virtual time"
}

# A plugin with declared keys is installed in the standard directory, with its configuration, below
# any prefix. ixla-config reads its keys there, also without its symbols, and a host starts it.
check_directory() {
    local prefix=$1 project=$2/keyed moved=$2/keyed/moved
    make_plugin "$project" keyed LINK ixlal::sdk CONFIG ixlap.configmanager.prs keyed.prs
    # shellcheck disable=SC2016 # a variable of CMake
    printf 'message(STATUS "directory: ${ixlal_PLUGIN_DIR}")\n' >>"$project/CMakeLists.txt"
    printf 'com.example.keyed = keyed.prs\n' >"$project/ixlap.configmanager.prs"
    printf 'size = 7\n' >"$project/keyed.prs"
    quietly build_project "$project" "$prefix" -DCMAKE_BUILD_TYPE=Release
    grep -qxF -- "-- directory: $prefix/lib/ixlal/plugins" "$log" ||
        fail "the CMake package names another directory of plugins"
    [ "$(realpath -m "$(pkg-config --variable=plugindir ixlal)")" = "$prefix/lib/ixlal/plugins" ] ||
        fail "ixlal.pc names another directory of plugins"
    exports_factory_alone "$project/build/libkeyed.so"

    quietly cmake --install "$project/build" --prefix "$project/first" --strip
    mv "$project/first" "$moved"
    (cd "$moved" && find . -type f | sort) | diff - <(printf '%s\n' \
        ./etc/ixlal/keyed/{ixlap.configmanager,keyed}.prs ./lib/ixlal/plugins/libkeyed.so) ||
        fail "a plugin is installed elsewhere"
    quietly "$prefix/bin/ixla-config" --plugins "$moved/lib/ixlal/plugins" describe com.example.keyed
    grep -qF 'number from 1 to 10 (m); default: 5; changes at run time' "$log" ||
        fail "ixla-config does not describe the keys of a plugin"
    quietly "$prefix/bin/ixla-host" core.plugins.dir="$moved/lib/ixlal/plugins" \
        core.plugins.config.dir="$moved/etc/ixlal/keyed" core.plugins.log.dir="$project/log" \
        --require com.example.keyed --seconds 0
    DESTDIR=$project/staged quietly cmake --install "$project/build" --prefix /usr
    [ -f "$project/staged/etc/ixlal/keyed/keyed.prs" ] ||
        fail "the configuration of a plugin in /usr is not in /etc"
}

# check_prefix PREFIX DIRECTORY: builds the projects in the directory.
check_prefix() {
    log=$2.log
    check_headers "$1"
    check_tools "$1"
    check_man "$1"
    check_cmake "$1" "$2"
    check_pkg_config "$1" "$2"
    check_control "$1" "$2"
    check_new_plugin "$1" "$2"
    check_timer "$1" "$2"
    check_directory "$1" "$2"
}

# Mistakes that the functions of the CMake package prevent.
check_refusals() {
    local prefix=$1 project=$2
    make_plugin "$project/undefined" undefined
    refused "undefined reference to \`nobody()'" build_project "$project/undefined" "$prefix"

    make_plugin "$project/chatty" chatty
    quietly build_project "$project/chatty" "$prefix"
    exports_factory_alone "$project/chatty/build/libchatty.so"

    printf '#!/bin/sh\ncase "$*" in *-m32*) exit 1 ;; esac\nexec g++ "$@"\n' >"$work/narrow-g++"
    chmod +x "$work/narrow-g++"
    refused "makes no 32-bit programs" \
        build_project "$project/chatty" "$prefix" -DCMAKE_CXX_COMPILER="$work/narrow-g++"

    make_plugin "$project/invalid" chatty VALIDATE --limit 10
    refused "libchatty.so: 1 of" build_project "$project/invalid" "$prefix"
}

# gdb finds the commands and the debug information of the packages, and shows a host of them that
# runs, and its core dump.
check_debugger() {
    local unpacked=$work/root run=$work/debugger host said
    mkdir -p "$run/plugins" "$run/config"
    printf 'ixlap.configmanager.store.file = store.txt\n' >"$run/config/ixlap.configmanager.prs"
    (cd "$run" && exec "$unpacked/usr/bin/ixla-host" core.plugins.dir=plugins \
        core.plugins.config.dir=config core.plugins.log.dir=log --ready-file ready \
        --seconds 300 >out.txt 2>&1) &
    host=$!
    until [ -e "$run/ready" ]; do
        kill -0 "$host" || fail "the host for gdb does not start"
        sleep 0.1
    done
    # In the root directory of a machine, these are the directories that gdb knows.
    local settings=(-iex "set debug-file-directory $unpacked/usr/lib/debug"
        -iex "add-auto-load-safe-path $unpacked/usr/share/gdb/auto-load")
    mkdir -p "$run/auto-load$unpacked"
    cp -r "$unpacked/usr/share/gdb/auto-load/usr" "$run/auto-load$unpacked/usr"
    mkdir -p "$run/ixlal"
    ln -s "$unpacked/usr/share/ixlal/gdb" "$run/ixlal/gdb"
    settings+=(-iex "add-auto-load-scripts-directory $run/auto-load"
        -iex "add-auto-load-safe-path $run/auto-load")
    said=$(gdb -nx -batch "${settings[@]}" -p "$host" -ex 'ixla status' -ex 'ixla plugins' \
        -ex "generate-core-file $run/made.core" 2>&1)
    grep -qE '^core +started, at 0x' <<<"$said" || fail "gdb does not show the packages: $said"
    grep -qE '^2 +initialised .*eventdispatcher$' <<<"$said" || fail "gdb shows no plugins: $said"
    kill "$host"
    wait "$host" || fail "the host for gdb does not stop"
    said=$(gdb -nx -batch "${settings[@]}" "$unpacked/usr/bin/ixla-host" "$run/made.core" \
        -ex 'ixla status' 2>&1)
    grep -qE '^core +started, at 0x' <<<"$said" || fail "gdb does not show a core dump: $said"
}

# field PACKAGE NAME: of the control file.
field() {
    dpkg-deb --field "$work/packages/$1_${version}"_*.deb "$2"
}

# depends PACKAGE PATTERN...: each pattern must match a dependency of the package.
depends() {
    local package=$1 pattern
    for pattern in "${@:2}"; do
        field "$package" Depends | tr ',' '\n' | sed 's/^ *//' | grep -qxE -- "$pattern" ||
            fail "$package does not depend on $pattern: $(field "$package" Depends)"
    done
}

# The site of the package is complete, and depends on the packages of the files that it links.
check_site() {
    local html=$work/root/usr/share/doc/ixlal-doc/html link target
    [ -L "$html/search/lunr.js" ] || fail "the site has copies of files of other packages"
    while read -r link; do
        target=$(realpath -m "$(dirname "${link#"$work/root"}")/$(readlink "$link")")
        [ -f "$target" ] || fail "no such file: $target"
        depends ixlal-doc "$(dpkg -S "$target" | cut -d : -f 1)"
        cp --remove-destination "$target" "$link"
    done < <(find "$html" -type l)
    "$root/tests/docs/check_site.py" "$html" "$root"
    [ "$(field ixlal-doc Architecture)" = all ] || fail "ixlal-doc is not for all architectures"
}

# The installed examples are built with the packages, and run.
check_examples() {
    cp -r "$1/share/doc/ixlal-doc/examples" "$2"
    quietly build_project "$2" "$1"
    if ldd "$2/build/examples/example-host" | grep libixlal | grep -vF "=> $1/"; then
        fail "the examples use libraries outside of $1"
    fi
    quietly "$2/run-demo.sh" "$2/build" 5
    exports_factory_alone "$2/build/examples/plugins/queue/libqueue.so"
}

check_packages() {
    local at_least='\(>= [0-9.]+\)' same="\\(= $version\\)" package
    depends libixlal "libc6 $at_least" "libstdc\\+\\+6 $at_least"
    depends libixlal-dev "libixlal $same"
    depends ixlal-tools "libixlal $same" "libc6 $at_least" python3:any python3-pyelftools
    depends libixlal-dbgsym "libixlal $same"
    check_site
    depends ixlal-tools-dbgsym "ixlal-tools $same"
    for package in libixlal libixlal-dbgsym libixlal-dev ixlal-tools ixlal-tools-dbgsym; do
        if field "$package" Depends | grep -E 'lib32|i386'; then
            fail "$package depends on a 64-bit package"
        fi
    done
    for package in "$work"/packages/*.deb; do
        readable_for_all "$package"
    done
    quietly "$root/tests/install/check_sbom.py" "$work"/packages/*.deb
    quietly "$root/scripts/check-symbols.sh" "$work/root/usr/lib/i386-linux-gnu"
    dpkg-deb --ctrl-tarfile "$work/packages/libixlal_${version}_i386.deb" | tar -xO ./symbols |
        diff - "$root/packaging/symbols" || fail "libixlal has another symbols file"
    if readelf -S "$work"/root/usr/lib/*/libixlal.*.so | grep -F .debug_info; then
        fail "libraries are not stripped"
    fi
    lintian --profile debian --allow-root --fail-on error "$work"/packages/*.deb
}

quietly cmake --install "$build" --prefix "$work/prefix"
(umask 077 && quietly cpack --config "$build/CPackConfig.cmake" -B "$work/packages")
for package in "$work"/packages/*.deb; do
    dpkg-deb -x "$package" "$work/root"
done

cmp "$root/LICENSE" "$work/prefix/share/doc/ixlal/LICENSE" || fail "no license in the prefix"
check_prefix "$work/prefix" "$work/in-prefix" &
first=$!
check_prefix "$work/root/usr" "$work/in-root" &
second=$!
check_packages
check_debugger
check_refusals "$work/root/usr" "$work/refusals"
check_whole_project "$work/root/usr" "$work" &
third=$!
check_examples "$work/root/usr" "$work/examples"
check_64_bits "$work/root/usr" "$work"
wait "$first"
wait "$second"
wait "$third"
if find "$work/root" -name __pycache__ | grep .; then
    fail "tools create files among those of the package"
fi
echo "The installed files work without the tree"
