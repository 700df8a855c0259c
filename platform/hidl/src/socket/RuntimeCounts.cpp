/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "RuntimeCounts.h"

namespace android::hardware::socket {

// Never destroyed: what is counted may outlive the program's static objects.
RuntimeCounts& runtimeCounts() {
    static RuntimeCounts* const counts = new RuntimeCounts;
    return *counts;
}

}  // namespace android::hardware::socket
