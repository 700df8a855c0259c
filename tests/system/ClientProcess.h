/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include "support/ChildProcess.h"

namespace orva::test {

// A client in a process of its own, led through the protocol step by step; system_client.cpp lists
// the steps.
class ClientProcess {
public:
    explicit ClientProcess(const std::string& folder) : mProcess({SYSTEM_CLIENT, folder}) {}

    // Takes a step and waits for its outcome: a status, or words. "gone" when the client has ended.
    std::string ask(const std::string& step) {
        begin(step);
        return answer();
    }
    // Takes a step whose outcome may come later, or never.
    void begin(const std::string& step) { mProcess.write(step); }
    std::string answer() { return mProcess.output().next().value_or("gone"); }

    // Waits until a step that was begun has come to a system call and waits there.
    bool awaitWaitingFor(long systemCall) {
        return eventually([&] { return mProcess.waitsIn(systemCall); });
    }

    void kill() { mProcess.kill(); }
    // Has it end by itself; its exit code.
    int finish() {
        mProcess.closeInput();
        return mProcess.await();
    }

    ChildProcess& process() { return mProcess; }

private:
    ChildProcess mProcess;
};

}  // namespace orva::test
