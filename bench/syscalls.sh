#!/bin/sh
# Copyright (C) 2026 The orva project
# SPDX-License-Identifier: Apache-2.0
#
# syscalls.sh ORVA-BENCH [OPTION...]: the system calls of one request, client and server together, of
# the floor and of the services. Counted twice, with 1,000 requests more the second time, so that what
# comes before and after the requests falls out. The options are those of --only. Needs strace.
set -eu
bench=$1
shift
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT

# count CONTESTANT REQUESTS [OPTION...]
count() {
    result=$folder/$1.$2
    contestant=$1
    requests=$2
    shift 2
    strace -f -c -q -U calls,name -o "$result" \
        "$bench" --only "$contestant" --rounds 1 --requests "$requests" "$@" >"$folder/out"
    awk '$1 ~ /^[0-9]+$/ && $2 != "total" { print $2, $1 }' "$result" | sort >"$result.sorted"
}

for contestant in floor services; do
    count "$contestant" 1000 "$@"
    count "$contestant" 2000 "$@"
    echo "$contestant:"
    join -a 2 -e 0 -o 0,1.2,2.2 "$folder/$contestant.1000.sorted" "$folder/$contestant.2000.sorted" |
        awk '{ each = ($3 - $2) / 1000
               if (each >= 0.05) { printf "  %-16s %5.1f\n", $1, each; sum += each } }
             END { printf "  %-16s %5.1f\n", "together", sum }'
done
