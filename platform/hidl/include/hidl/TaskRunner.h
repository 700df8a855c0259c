/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <functional>

namespace android::hardware::details {

/**
 * The queue in which passthrough wrappers keep oneway calls. Nothing here makes such wrappers (see
 * HidlPassthroughSupport.h), though generated code has them; one would refuse its oneway calls.
 */
class TaskRunner {
public:
    void start(size_t /*limit*/) {}
    bool push(const std::function<void()>& /*task*/) { return false; }
};

}  // namespace android::hardware::details
