#!/bin/sh
# framework_symbols.sh FRAMEWORK_SYMBOLS SERVER FRAMEWORK OTHER_LIBRARY
# What the server imports is what a library lacks that is no framework, and what the framework has.
set -eu
all=$("$1" "$2")
echo "$all" | grep -q 'orva::AITensorFactory::GetInstance()'
"$1" "$2" "$3"
if lacking=$("$1" "$2" "$4"); then
    echo "a library without any of them passes" >&2
    exit 1
fi
test "$all" = "$lacking"
