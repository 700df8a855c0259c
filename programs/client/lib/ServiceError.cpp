/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/lib/ServiceError.h"

#include <orva/reference/NodeStatus.h>

#include "client/lib/TimeLimit.h"

namespace orva::client {

namespace {

// 1 and 2 are the services' own; the rest is the framework's.
const char* meaningOf(int32_t status) {
    switch (status) {
    case 1:
        return "refused by the service";
    case 2:
        return "no such session";
    case reference::kNodeNotReady:
        return "not set up for that";
    case reference::kNodeBadModel:
        return "no model that can run here";
    case reference::kNodeBadConfig:
        return "a configuration without meaning";
    case reference::kNodeBadRequest:
        return "tensors that do not fit";
    case reference::kNodeFailed:
        return "the engine gave up";
    case reference::kNodeStopped:
        return "shut down meanwhile";
    case reference::kNodeBusy:
        return "too many requests wait already";
    default:
        return nullptr;
    }
}

}  // namespace

std::string statusText(int32_t status) {
    const char* const meaning = meaningOf(status);
    return "status " + std::to_string(status) +
           (meaning != nullptr ? " (" + std::string(meaning) + ")" : "");
}

void requireSuccess(int32_t status, const std::string& asked) {
    if (status != 0) {
        throw ServiceError(
                asked + " failed with " + statusText(status) + "; the host's log says why", status);
    }
}

void throwNoAnswer(const std::string& asked, std::chrono::nanoseconds taken,
                   const std::string& why) {
    const std::chrono::milliseconds limit = timeLimit();
    const bool late = limit.count() > 0 && taken >= limit;
    throw ServiceError(asked + ": " +
                               (late ? tooLong("the service did not answer", limit)
                                     : "the call did not come through (" + why + ")"),
                       -1);
}

}  // namespace orva::client
