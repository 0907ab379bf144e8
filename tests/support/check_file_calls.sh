#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that a test binary replaces every call on files that a library makes, so that a sweep
# misses none: check_file_calls.sh BINARY LIBRARY...
set -eu

binary=$1
shift

# Names of calls on files, with the suffixes for large files and dates beyond 2038.
calls='f?open|creat|openat|p?readv?|p?writev?|close|[lf]?stat|fstatat|statx|f?access|faccessat|unlink|unlinkat|remove|rename|renameat|link|symlink|readlink|mkdir|rmdir|lseek|f?truncate|fcntl|fsync|fdatasync|f?chmod|f?chown|flock|lockf|sendfile|copy_file_range|fallocate|mmap|(fd)?opendir|readdir|scandir|f?read|f?write|dup[23]?|mkstemp|statfs|utimensat|getcwd'

# Calls that need no replacement: the working directory is not a file.
harmless='getcwd'

undefined() {
    nm -D --undefined-only "$1" | awk '{ sub(/@.*/, "", $2); print $2 }' |
        grep -Ex "_*($calls)(64)?(_time64|_2)?(_chk)?" | grep -Evx "$harmless" || true
}

replaced=$(nm -D --defined-only "$binary" | awk '{ print $NF }')
failed=0
for library in "$@"; do
    for name in $(undefined "$library"); do
        if ! grep -qxF "$name" <<<"$replaced"; then
            echo "$(basename "$library") calls $name, which $(basename "$binary") cannot strike" >&2
            failed=1
        fi
    done
done
exit $failed
