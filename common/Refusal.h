/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>

namespace orva::hidl {

// Why something that was asked of a service did not come about.
enum class Refusal {
    kClientLimit,
    kSessionLimit,
    kUnknownType,  // the framework has no such node, or no model manager
    kModelRegion,
    kInit,  // the framework's word at Init
    kNoSession,
    kInputTensor,
    kOutputTensor,
    kRequest,  // the framework's word on a request
    kListenerSet,
    kMemory,
    kNoListener,  // a result that nobody waits for
    kLostOutput,  // an output that could not be sent
    kDelivery,    // a listener that could not be reached
    kBuildTooLarge,
    kBuildRegion,
    kBuild,  // the framework's word on a build
    kCount_,
};

// The name of a reason in dumps: words joined by "_".
const char* RefusalName(Refusal reason);

// One of those, for people to look at.
struct RefusedCall {
    int64_t at;  // nanoseconds, on MonotonicNow()'s clock
    Refusal reason;
    std::string client;  // its service id
    const char* method;
    int32_t status;
    std::string text;  // as in the log, or cut; empty when nothing was logged
};

}  // namespace orva::hidl
