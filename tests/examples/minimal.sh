#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The minimal host uses the minimal plugin: minimal.sh HOST PLUGIN_DIR
# With --build LIBRARY_DIR [FLAGS...] both are first built with the compiler only.
set -eu

work=$(mktemp -d "${TMPDIR:-/tmp}/ixlal-test-XXXXXX")
trap 'rm -rf "$work"' EXIT

if [ "$1" = --build ]; then
    shift
    libraries=$1
    shift
    "$(dirname "$0")/../../examples/minimal/build.sh" "$libraries" "$work/built" "$@"
    host=$work/built/minimal-host
    plugins=$work/built/plugins
else
    host=$1
    plugins=$2
fi

cd "$work"
mkdir config
"$host" "core.plugins.dir=$plugins" core.plugins.config.dir=config core.plugins.log.dir=log \
    core.plugins.log.enable=false core.notify.exit.timeout=10 >out.txt
cat out.txt
diff out.txt - <<'TEXT'
The plugin says: Hello!
The plugin says: Hello again!
service: 0, stop: 0
TEXT
