/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/lib/TimeLimit.h"

#include <atomic>
#include <cstdio>

#include <orva_platform/Runtime.h>

namespace orva::client {

namespace {

std::atomic<std::chrono::milliseconds> limitOfProcess{std::chrono::milliseconds{0}};

}  // namespace

void setTimeLimit(std::chrono::milliseconds limit) {
    limitOfProcess = limit;
    orva_platform::setReplyLimit(limit);
}

std::chrono::milliseconds timeLimit() {
    return limitOfProcess;
}

std::string tooLong(const std::string& what, std::chrono::milliseconds limit) {
    char text[32];
    snprintf(text, sizeof text, "%.6g s", std::chrono::duration<double>(limit).count());
    return what + " within " + text;
}

}  // namespace orva::client
