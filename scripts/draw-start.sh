#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Draws the start of the plugins in examples/start as an SVG: draw-start.sh [BUILD_DIR [FILE]]
# BUILD_DIR (build/release) must have been built; FILE is docs/start.svg, the picture of the README.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/release}" && pwd)
file=${2:-$root/docs/start.svg}

work=$(mktemp -d "${TMPDIR:-/tmp}/ixlal-start-XXXXXX")
trap 'rm -rf "$work"' EXIT

mkdir "$work/plugins" "$work/config" "$work/log"
cp "$build"/examples/plugins/{storage,network,frontend}/*.so "$work/plugins"
touch "$work/config/ixlap.configmanager.prs"
(cd "$work" && "$build/bin/ixla-host" --seconds 0 core.plugins.dir=plugins \
    core.plugins.config.dir=config core.plugins.log.dir=log core.autostart.list=frontend \
    core.log.file=core.log) >"$work/out.txt" 2>&1 || {
    cat "$work/out.txt" >&2
    exit 1
}
"$build/bin/ixla-report" "$work/core.log" --svg "$file"
