#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# A signal stops the example host without errors: signal.sh EXAMPLES_BUILD_DIR SIGNAL
set -eu

built=$(cd "$1" && pwd)
signal=$2
config=$(cd "$(dirname "$0")/../../examples/config" && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/ixlal-test-XXXXXX")
host=
clean_up() {
    # Kills a host that has not stopped.
    [ -z "$host" ] || kill -s KILL "$host" 2>/dev/null || true
    rm -rf "$work"
}
trap clean_up EXIT

cd "$work"
mkdir plugins log
cp -r "$config" config
cp "$built"/plugins/{sampler,alarm,reporter}/*.so plugins/

# With job control the host can get SIGINT, which a shell otherwise ignores in background jobs.
set -m
"$built/example-host" --config config/core.prs >out.txt 2>&1 &
host=$!
set +m

# The first sample shows that everything runs. The test's time limit ends the wait.
until grep -qs 'ALARM' log/alarm.log; do
    kill -0 "$host" || { cat out.txt; exit 1; }
    sleep 0.05
done
kill -s "$signal" "$host"
code=0
wait "$host" || code=$?
host=
cat out.txt
[ "$code" -eq 0 ]
grep -q '^\[reporter\] samples: [1-9]' out.txt
