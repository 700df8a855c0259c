#!/bin/sh
# exports.sh NM LIBRARY: the library exports its two factories and nothing else.
expected='HIDL_FETCH_IAIService
HIDL_FETCH_IModelManagerService'
found=$("$1" --dynamic --defined-only --format=posix "$2" | cut -d' ' -f1 | sort)
if [ "$found" != "$expected" ]; then
    printf 'exported:\n%s\n' "$found"
    exit 1
fi
