#!/usr/bin/env bash
# Copyright (C) 2026 The orva project
# SPDX-License-Identifier: Apache-2.0
#
# Installs a build into an empty folder, moves that, builds the examples against it as strangers
# would, and has them answered by the host from there.
#
# usage: installed.sh SOURCE BUILD CMAKE COMPILER [PYTHON]     with PYTHON if its client was built
set -euo pipefail
source=$1 build=$2 cmake=$3 compiler=$4 python=${5-}
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# expect WHAT WANTED COMMAND…: the command's output, both streams, contains WANTED.
expect() {
    local what=$1 wanted=$2 output
    shift 2
    output=$(timeout 60 "$@" 2>&1) || true
    [[ $output == *"$wanted"* ]] || fail "$what: wanted '$wanted', got: $output"
}

"$cmake" --install "$build" --prefix "$work/first" >/dev/null
grep -qxF "ExecStart=$work/first/bin/orva-host" \
    "$work/first/share/systemd/user/orva-host.service" || fail "the unit does not name the program"
mv "$work/first" "$work/moved"
moved=$work/moved
# A unit cannot but name the folder; nothing else may.
if named=$(grep -rlF --exclude=orva-host.service -e "$build" -e "$work/first" "$moved"); then
    fail "these name the folder that they were made in: $named"
fi

for example in client node; do
    "$cmake" -S "$source/examples/$example" -B "$work/$example" -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_PREFIX_PATH="$moved" >"$work/log" 2>&1 &&
        "$cmake" --build "$work/$example" >>"$work/log" 2>&1 ||
        { cat "$work/log"; fail "examples/$example cannot be built with find_package"; }
done
# Warnings count here: the headers are others' to include.
PKG_CONFIG_PATH=$(dirname "$(find "$moved" -name orva.pc)")
export PKG_CONFIG_PATH
read -ra flags <<<"$(pkg-config --cflags --libs orva)"
"$compiler" -std=c++17 -Wall -Wextra -Werror -o "$work/packaged" \
    "$source/examples/client/main.cpp" "${flags[@]}" ||
    fail "examples/client cannot be built with pkg-config"

echo 'struct { unsigned version; void (*f)(void); } orva_node_library;' |
    "$compiler" -x c -shared -fPIC -o "$work/old.so" -
refused() { expect "$1" "$2" "$moved/bin/orva-host" --socket-dir "$work/sockets" --load "$3"; }
refused "a file of another version" "was built for version 0 of node libraries" "$work/old.so"
refused "a library without nodes" "is no node library" \
    "$(find "$moved" -name liborva_platform.so)"
refused "a file that is no library" "cannot load nodes" "$moved/share/doc/orva/README.md"

start_host "$moved/bin/orva-host" --load "$work/node/gain.so"
expect "orva" "IAIService/default" "$moved/bin/orva" list
expect "a node that is built in" "output: 1 2 3 4" "$work/client/client"
expect "the loaded node" "output: 2.5 5 7.5 10" "$work/packaged" gain '{"gain": "2.5"}'
expect "what the loaded file brings along" "gain   IAIService            $work/node/gain.so" \
    "$moved/bin/orva" nodes
expect "the loaded node's refusal" "status 102" "$work/client/client" gain '{"gain": "much"}'

module=$(find "$moved" -path "*/orva/__init__.py")
if [[ -n $python ]]; then
    script='import numpy, orva; print(orva.Session(node="echo").run(numpy.arange(4, dtype="int16")))'
    PYTHONPATH=$(dirname "$(dirname "$module")") expect "Python" "[0 1 2 3]" "$python" -c "$script"
fi

stop_host
