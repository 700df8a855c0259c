# Copyright (C) 2026 The orva project
# SPDX-License-Identifier: Apache-2.0
#
# What the scripts of this folder begin with: a folder that goes when they end, `work`, and a host,
# whose process id is `host` while it runs.
unset LD_LIBRARY_PATH ORVA_SERVICE_DIR XDG_RUNTIME_DIR

work=$(mktemp -d)
host=
finish() {
    if [[ -n $host ]]; then kill -KILL "$host" 2>/dev/null || true; fi
    rm -rf "$work"
}
trap finish EXIT

fail() {
    echo "$(basename "$0"): $*" >&2
    exit 1
}

# start_host COMMAND…: serves in $work/sockets, where clients find it too.
start_host() {
    export ORVA_SERVICE_DIR=$work/sockets
    local line
    mkfifo "$work/ready"
    "$@" >"$work/ready" 2>"$work/host.log" &
    host=$!
    exec {ready}<"$work/ready"
    read -r -t 60 line <&"$ready" || { cat "$work/host.log"; fail "the host does not come up"; }
    [[ $line == "orva-host: ready in "* ]] || fail "the host says: $line"
}

stop_host() {
    kill -TERM "$host"
    wait "$host" || fail "the host ended with status $?"
    host=
}
