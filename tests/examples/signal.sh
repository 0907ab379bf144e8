#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# A signal stops the example host in good order: signal.sh EXAMPLES_BUILD_DIR SIGNAL
set -eu

built=$(cd "$1" && pwd)
signal=$2
config=$(cd "$(dirname "$0")/../../examples/config" && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/ixlal-test-XXXXXX")
host=
clean_up() {
    # Only a host that did not stop is still there.
    [ -z "$host" ] || kill -s KILL "$host" 2>/dev/null || true
    rm -rf "$work"
}
trap clean_up EXIT

cd "$work"
mkdir plugins log
cp -r "$config" config
cp "$built"/plugins/{sampler,alarm,reporter}/*.so plugins/

# Job control gives the host its own SIGINT, which a shell takes away from background jobs.
set -m
"$built/example-host" --config config/core.prs >out.txt 2>&1 &
host=$!
set +m

# The first sample shows that everything runs. A test driver ends what takes too long.
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
