#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks a built library of the product: check_library.sh LIBRARY WORD_SIZE NEEDED[,NEEDED...]
# WORD_SIZE is 32 or 64; NEEDED lists the libraries of the product that it needs, "-" for none.
set -u

library=$1
word_size=$2
ours=$3
failed=0

check() {
    if ! eval "$2"; then
        echo "$(basename "$library"): $1" >&2
        failed=1
    fi
}

dynamic=$(readelf -dW "$library")
needed=$(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic")
allowed="$(tr ',' '\n' <<<"$ours")
libstdc++.so.6
libgcc_s.so.1
libc.so.6
ld-linux.so.2
ld-linux-x86-64.so.2
ld-linux-armhf.so.3
libm.so.6"

check "is not ELF $word_size-bit" '[[ $(file -bL "$library") == "ELF $word_size-bit"* ]]'
check "has another soname than its file name" \
    '[ "$(sed -n "s/.*(SONAME).*\[\(.*\)\]/\1/p" <<<"$dynamic")" = "$(basename "$library")" ]'
check "is not found through \$ORIGIN alone" \
    '[ "$(sed -n "s/.*(RUNPATH).*\[\(.*\)\]/\1/p" <<<"$dynamic")" = "\$ORIGIN" ]'
check "is not bound at once" 'grep -q "FLAGS.*NOW" <<<"$dynamic"'
check "has no read-only relocations" 'readelf -lW "$library" | grep -q GNU_RELRO'
for name in $needed; do
    check "needs $name" 'grep -qxF "$name" <<<"$allowed"'
done
for name in $(tr ',' ' ' <<<"${ours#-}"); do
    check "does not need $name" 'grep -qxF "$name" <<<"$needed"'
done
exit $failed
