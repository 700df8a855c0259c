#!/bin/sh
# frozen_interfaces.sh HIDL_GEN FOLDER ROOT…
# Fails unless FOLDER/current.txt has exactly the hashes of the .hal files in FOLDER, and unless the
# compiler refuses a changed one. A ROOT is -r NAME:PATH, where PATH has the hashes on record.
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

# A copy of everything, in which each frozen file is changed in turn.
set -- $(for option; do echo "$option"; done | while read -r option; do
    case $option in
    *:*)
        name=${option%%:*}
        cp -rL "${option#*:}" "$scratch/$name"
        echo "$name:$scratch/$name"
        ;;
    *) echo "$option" ;;
    esac
done)
for package in $packages; do
    "$hidl_gen" -R -L check "$@" "$package"
done
for frozen in $(cut -d' ' -f2 "$scratch/recorded"); do
    package=${frozen%%::*}
    path=$(echo "${package%@*}" | tr . /)/${package#*@}/${frozen##*::}.hal
    copy=$(find "$scratch" -path "*/$(echo "$path" | cut -d/ -f3-)")
    echo '// One more line.' >> "$copy"
    if "$hidl_gen" -R -L check "$@" "$frozen" 2> "$scratch/errors" ||
        ! grep -q "$frozen has hash .* does not match" "$scratch/errors"; then
        echo "a change of $frozen was not noticed"
        exit 1
    fi
    sed -i '$d' "$copy"
done
