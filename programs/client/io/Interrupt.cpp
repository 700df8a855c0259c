/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/Interrupt.h"

#include <csignal>

#include <poll.h>
#include <pthread.h>

namespace orva::client {

namespace {

// Ctrl-C, and what timeout(1) sends.
constexpr int kSignals[] = {SIGINT, SIGTERM};

std::atomic<bool> happened{false};
static_assert(std::atomic<bool>::is_always_lock_free);

int waitUnlessInterrupted(pollfd* polled, std::chrono::milliseconds time) {
    // Taken only while it waits, so that none comes between the look and the wait.
    sigset_t blocked, before;
    sigemptyset(&blocked);
    for (const int signal : kSignals) {
        sigaddset(&blocked, signal);
    }
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    int ready = 0;
    if (!happened) {
        const timespec limit = {static_cast<time_t>(time.count() / 1000),
                                static_cast<long>(time.count() % 1000 * 1'000'000)};
        ready = ppoll(polled, polled != nullptr ? 1 : 0, &limit, &before);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return ready;
}

}  // namespace

void takeInterrupt() {
    struct sigaction action = {};
    action.sa_handler = [](int) { happened = true; };
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    for (const int signal : kSignals) {
        sigaction(signal, &action, nullptr);
    }
}

const std::atomic<bool>& interrupted() {
    return happened;
}

bool sleepUnlessInterrupted(std::chrono::milliseconds time) {
    waitUnlessInterrupted(nullptr, time);
    return !happened;
}

bool awaitReadable(int file, std::chrono::milliseconds time) {
    pollfd polled = {file, POLLIN, 0};
    return waitUnlessInterrupted(&polled, time) > 0;
}

}  // namespace orva::client
