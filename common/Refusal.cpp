/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "common/Refusal.h"

namespace orva::hidl {

const char* RefusalName(Refusal reason) {
    // In the order of the reasons.
    constexpr const char* kNames[] = {
            "client_limit",         "session_limit",        "unknown_type",
            "model_region",         "framework_init",       "no_session",
            "input_tensor",         "output_tensor",        "framework_request",
            "listener_already_set", "out_of_memory",        "result_without_listener",
            "output_not_sent",      "listener_not_reached", "build_too_large",
            "build_region",         "framework_build"};
    static_assert(sizeof(kNames) / sizeof(*kNames) == static_cast<size_t>(Refusal::kCount_));
    return kNames[static_cast<size_t>(reason)];
}

}  // namespace orva::hidl
