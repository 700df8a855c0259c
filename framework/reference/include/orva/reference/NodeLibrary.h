/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

namespace orva::reference {

// Counted up whenever a node that was compiled before can no longer be run: a class here or in the
// framework's API has changed.
constexpr uint32_t kNodeLibraryVersion = 2;

// What a shared object tells of itself that brings node types along, for `orva-host --load`. It
// defines the one variable below:
//
//   const orva::reference::NodeLibrary orva_node_library = {
//           orva::reference::kNodeLibraryVersion,
//           [] { orva::reference::RegisterNode("mine", [] { … }); },
//   };
//
// Its code becomes part of the process that loads it, until that ends: nothing keeps it from what
// the process may do, and where it crashes, the process does.
struct NodeLibrary {
    uint32_t version;
    // Called once, before the services can be reached. What it throws keeps the host from starting.
    void (*registerNodes)();
};

}  // namespace orva::reference

extern "C" __attribute__((visibility("default")))
const orva::reference::NodeLibrary orva_node_library;
