/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "Aside.h"

#include <chrono>
#include <future>
#include <list>
#include <mutex>
#include <utility>

namespace orva::python {

namespace {

constexpr std::chrono::milliseconds kLookInterval{20};

std::mutex gLock;
std::list<std::future<void>> gLeft;  // Guarded by gLock. Each joins its thread as it goes.

void leave(std::future<void> call) {
    const std::lock_guard<std::mutex> lock(gLock);
    gLeft.remove_if([](const std::future<void>& left) {
        return left.wait_for(std::chrono::seconds{0}) == std::future_status::ready;
    });
    gLeft.push_back(std::move(call));
}

}  // namespace

void callAside(std::function<void()> call, const std::function<void()>& look) {
    std::future<void> made = std::async(std::launch::async, std::move(call));
    try {
        while (made.wait_for(kLookInterval) != std::future_status::ready) {
            look();
        }
    } catch (...) {
        leave(std::move(made));
        throw;
    }
    made.get();
}

void leaveAside(std::function<void()> call) {
    leave(std::async(std::launch::async, std::move(call)));
}

void joinCallsAside() {
    const std::lock_guard<std::mutex> lock(gLock);
    gLeft.clear();
}

}  // namespace orva::python
