/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>

namespace orva_bench {

// What the host process holds at a moment.
struct HostState {
    size_t residentKib;
    size_t threads;
    size_t descriptors;
    size_t mappings;  // of shared memory
    size_t sessions;  // as the framework counts them
    size_t links;     // connected client processes
    size_t objects;   // clients' objects held, and objects that clients hold

    static HostState ofThisProcess();

    // Whether a host in this state holds no more for its clients than in the other one. Memory and
    // threads are kept for the next client, so they do not count.
    bool holdsAsMuchAs(const HostState& other) const;
};

}  // namespace orva_bench
