#!/bin/sh
# SPDX-License-Identifier: MIT
# Checks that includes follow the directions in docs/architecture.md.
# Usage: check_layers.sh ROOT
set -eu
cd "$1"
failed=0

# refuse WHAT DIRECTORY...: no source of the directories may include WHAT, a regular expression.
refuse()
{
    what=$1
    shift
    if grep -rnE "#include \"($what)" "$@"
    then
        echo "not to be included from $*"
        failed=1
    fi
}

refuse 'core/|config/|events/|logging/|logger/' port/portinglayer include
refuse 'core/|config/|events/|logging/|I[A-Z]' port/logger
refuse 'config/' events logging
refuse 'events/|logging/' config
for header in $(grep -rhoE '#include "core/[^"]*"' config events logging | cut -d'"' -f2 | sort -u)
do
    if ! grep -q "\`$(basename "$header")\`" docs/architecture.md
    then
        echo "docs/architecture.md does not name $header"
        failed=1
    fi
done
exit $failed
