#!/usr/bin/env bash
# Copyright (C) 2026 The orva project
# SPDX-License-Identifier: Apache-2.0
#
# Makes the Debian packages of a build, looks at what they say and hold, and has a host and clients
# run from what was unpacked of them.
#
# usage: packaged.sh BUILD CPACK [PYTHON]     with PYTHON if its client was built
set -euo pipefail
build=$1 cpack=$2 python=${3-}
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$cpack" -G DEB --config "$build/CPackConfig.cmake" -B "$work" >"$work/log" 2>&1 ||
    { cat "$work/log"; fail "there are no packages"; }

for package in "$work"/*.deb; do
    dpkg-deb -c "$package" >"$work/$(dpkg-deb -f "$package" Package).files"
    dpkg-deb -x "$package" "$work/root"
done

# holds PACKAGE FILE DEPENDENCY: FILE is a pattern, and no other package may have such a one.
holds() {
    local package=$1 file=$2 dependency=$3 other owners=()
    for other in "$work"/*.files; do
        ! grep -qE "$file\$" "$other" || owners+=("$(basename "$other" .files)")
    done
    [[ ${owners[*]} == "$package" ]] || fail "$file is in '${owners[*]}', not in $package"
    [[ $(dpkg-deb -f "$work/$package"_*.deb Depends) == *"$dependency"* ]] ||
        fail "$package does not depend on $dependency"
}
version=$(dpkg-deb -f "$work"/orva-runtime_*.deb Version)
holds orva-runtime /liborva_platform.so android-libutils
holds orva-host /bin/orva-host libsafec3
holds orva-host /systemd/user/orva-host.service "orva-runtime (= $version)"
holds orva-host /liborva.so libssl3
holds orva-client /bin/orva "orva-runtime (= $version)"
holds orva-client /man1/orva.1 libpng
for completion in /bash-completion/completions/orva '/zsh/[a-z-]*/_orva' \
    /fish/vendor_completions.d/orva.fish; do
    holds orva-client "$completion" ""
done
holds liborva-dev /orva-config.cmake "orva-host (= $version)"
holds liborva-dev /orva/hidl/Status.h android-libutils-dev
[[ -z $python ]] || holds python3-orva /orva/__init__.py python3-numpy

program=$(find "$work/root" -name orva-host -path '*/bin/*')
unit=$(find "$work/root" -name orva-host.service)
grep -qxF "ExecStart=${program#"$work/root"}" "$unit" ||
    fail "the unit does not name the program: $(grep ExecStart "$unit")"

start_host "$program"
"$(dirname "$program")/orva" ping >/dev/null || fail "the client does not reach the host"
if [[ -n $python ]]; then
    module=$(find "$work/root" -path '*/orva/__init__.py')
    script='import numpy, orva; print(orva.Session(node="echo").run(numpy.arange(3, dtype="int16")))'
    [[ $(PYTHONPATH=${module%/orva/*} "$python" -c "$script") == "[0 1 2]" ]] ||
        fail "the Python client does not reach the host"
fi
stop_host
