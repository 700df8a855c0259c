/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <iosfwd>

#include <sys/types.h>

namespace orva::test {

// What the kernel says that another process holds.
struct ProcessState {
    size_t descriptors = 0;
    size_t regions = 0;  // Mappings of memory files.
    size_t threads = 0;
    size_t residentKiB = 0;  // Private memory: what ends with the process.

    static ProcessState of(pid_t pid);

    // Nothing of a client is left in the one that was not in the other. Threads come and go with
    // the load, within their pools' bounds, and are not compared.
    bool holdsAsMuchAs(const ProcessState& other) const;
};

std::ostream& operator<<(std::ostream& out, const ProcessState& state);

}  // namespace orva::test
