#!/usr/bin/env bash
# Copyright (C) 2026 The orva project
# SPDX-License-Identifier: Apache-2.0
#
# Manual pages and completions say what the programs do.
#
# usage: described.sh FOLDER ORVA HOST     FOLDER: what was made of them
set -euo pipefail
folder=$1 orva=$2 host=$3

fail() {
    echo "described.sh: $*" >&2
    exit 1
}

# Each option that help names is in the manual page and in each shell's completions.
named=0
options_are_described() {  # PROGRAM NAME [COMMAND]
    local option bare name=$2
    while read -r option; do
        bare=${option##*-}
        grep -qF -- "${option//-/\\-}" "$folder/man/$name.1" || fail "$*: no $option in the page"
        grep -qF -- "$option" "$folder/bash/$name" || fail "$*: bash has no $option"
        grep -qF -- "$option[" "$folder/zsh/_$name" || fail "$*: zsh has no $option"
        grep -qE -- " -(s|l) (.*-)?$bare( |$)" "$folder/fish/$name.fish" || fail "$*: fish has no $option"
        named=$((named + 1))
    done < <("$1" ${3+"$3"} --help | grep -oE '^  -[^ ]+' | tr -d ' ' | tr , '\n' | cut -d= -f1)
}
options_are_described "$host" orva-host
options_are_described "$orva" orva
commands=$("$orva" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
for command in $commands; do
    options_are_described "$orva" orva "$command"
done
[[ $named -gt 50 ]] || fail "only $named options were looked at"

# completes WANTED WORD…: what bash offers for the last word.
completes() {
    local wanted=$1
    COMP_WORDS=("${@:2}") COMP_CWORD=$(($# - 2))
    "_${COMP_WORDS[0]//-/_}"
    [[ ${COMPREPLY[*]} == "$wanted" ]] || fail "${*:2}: offered '${COMPREPLY[*]}', not '$wanted'"
}
source "$folder/bash/orva"
source "$folder/bash/orva-host"
completes "ping perf" orva p
completes "--socket-dir --scale --service" orva run --s
completes "ai model-manager" orva run --service ""
completes "shm" orva --instance x run --model m.onnx --tensor s
completes "" orva run --model m  # a file
completes "--log-level --log-limit" orva-host --log-l
completes "error info verbose warn" orva-host --log-level ""

# What the formatter and the other shells say of them, where they are there.
if command -v man >/dev/null; then
    for page in "$folder"/man/*.1; do
        said=$(man --warnings -l "$page" 2>&1 >/dev/null) || fail "$page: $said"
        [[ -z $said ]] || fail "$page: $said"
    done
fi
for shell in zsh fish; do
    if command -v "$shell" >/dev/null; then
        for file in "$folder/$shell"/*; do
            said=$("$shell" -n "$file" 2>&1) || fail "$file: $said"
        done
    fi
done
if command -v fish >/dev/null; then
    offered=$(fish -N -c "source $folder/fish/orva.fish; complete -C 'orva run --tensor s'")
    [[ $offered == shm* ]] || fail "fish offers '$offered'"
    offered=$(fish -N -c "source $folder/fish/orva.fish; complete -C 'orva run --repeat '")
    [[ -z $offered ]] || fail "fish offers '$offered' for a number"
fi
