/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

namespace orva::reference {

// What the reference nodes and the reference model manager answer, at every call and in
// completions. 1 and 2 are left to the services' own statuses.
enum NodeStatus : int32_t {
    kNodeOk = 0,
    kNodeNotReady =
            100,  // a request before a successful Init, or without a listener; a second Init
    kNodeBadModel = 101,    // no model, a malformed one, or one that the engine cannot run
    kNodeBadConfig = 102,   // a configuration parameter without meaning
    kNodeBadRequest = 103,  // tensors that do not fit what the node takes
    kNodeFailed = 104,      // the engine gave up on a request that looked right
    kNodeStopped = 105,     // the node or the framework has been shut down
    kNodeBusy = 106,        // as many requests wait as may
    kNodeTimedOut = 107,    // a load or a request took longer than it may
};

}  // namespace orva::reference
