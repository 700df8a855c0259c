#!/usr/bin/env bash
# Copyright (C) 2026 The orva project
# SPDX-License-Identifier: Apache-2.0
#
# What a person sees of a command that takes long.
set -euo pipefail

narrate=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "$*" >&2; exit 1; }

# It says where a build stands while that still waits, and nothing of what it says itself.
mkfifo "$work/go" "$work/seen"
"$narrate" building "$work/log" sh -c "echo '[3/70] one'; read -r line <'$work/go'" 2>"$work/seen" &
narrating=$!
read -r -t 20 line <"$work/seen" || fail "nothing was said"
[[ $line =~ ^building:\ [34]\ s,\ 3\ of\ 70$ ]] || fail "it said: $line"
echo >"$work/go"
wait "$narrating" || fail "a command that succeeds ended with $?"

# A failure keeps its status, and shows what led to it.
status=0
"$narrate" building "$work/log" sh -c 'echo the cause; exit 7' 2>"$work/errors" || status=$?
[[ $status -eq 7 ]] || fail "the status is $status"
grep -q 'the cause' "$work/errors" || fail "the cause is not shown"
