#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The daemon runs until a signal arrives: daemon.sh DAEMON PLUGIN_DIR SIGNAL
set -eu

work=$(mktemp -d "${TMPDIR:-/tmp}/ixlal-test-XXXXXX")
daemon=
clean_up() {
    # Kills a daemon that has not stopped.
    [ -z "$daemon" ] || kill -s KILL "$daemon" 2>/dev/null || true
    rm -rf "$work"
}
trap clean_up EXIT

mkdir "$work/config"
"$1" "core.plugins.dir=$2" "core.plugins.config.dir=$work/config" "core.plugins.log.dir=$work/log" \
    core.plugins.log.enable=false core.free.plugins.lib=false core.notify.exit.timeout=10 \
    >"$work/out.txt" &
daemon=$!
until grep -q Hello "$work/out.txt"; do
    kill -0 "$daemon"
    sleep 0.05
done
kill -s "$3" "$daemon"
code=0
wait "$daemon" || code=$?
daemon=
diff "$work/out.txt" - <<TEXT
The plugin says: Hello!
Stops on signal $(kill -l "$3")
TEXT
[ "$code" -eq 0 ]
