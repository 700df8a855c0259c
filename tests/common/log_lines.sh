#!/usr/bin/env bash
# Copyright (C) 2026 The orva project
# SPDX-License-Identifier: Apache-2.0
#
# A line in the log says which source line it comes from, and of a macro that spans several lines
# compilers name different ones. So each such call stands on one line, or takes its source from a
# constant (ORVA_LOG_FROM with a name).
#
# usage: log_lines.sh ROOT
set -euo pipefail
cd "$1"
spanning=$(grep -nE 'ORVA_LOG[IWE]?\(|ORVA_LOG_FROM\(ORVA_' \
    {common,transport,aiservice,modelmanager}/*.{h,cpp} | grep -vE ';$|#define' || true)
if [[ -n $spanning ]]; then
    echo "$spanning"
    exit 1
fi
