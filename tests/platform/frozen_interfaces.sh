#!/bin/sh
# frozen_interfaces.sh HIDL_GEN FOLDER ROOT…
# Fails unless FOLDER/current.txt has exactly the hashes of the .hal files in FOLDER. A ROOT is
# -r NAME:PATH, where PATH has the hashes on record.
set -eu
hidl_gen=$1
folder=$2
shift 2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

packages=$(cd "$folder" && find . -name '*.hal' |
    sed -E 's|^\./(.*)/([0-9.]+)/[^/]*$|\1@\2|; s|/|.|g' | sort -u)
test -n "$packages"
grep -v '^#' "$folder/current.txt" | sort > "$scratch/recorded"
for package in $packages; do
    "$hidl_gen" -R -L hash "$@" "$package"
done | sort > "$scratch/found"
diff "$scratch/recorded" "$scratch/found"
