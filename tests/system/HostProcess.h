/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "system/ProcessState.h"

namespace orva::test {

// A service host of the test's own, serving in a folder of its own.
class HostProcess {
public:
    // `options` are further ones of the program's.
    HostProcess(const std::string& folder, const std::vector<std::string>& options);

    // Waits until it serves; false when it will not, and then output and log say why.
    bool ready();
    // SIGTERM; its exit code.
    int stop();

    pid_t pid() const { return mProcess.pid(); }
    ChildProcess& process() { return mProcess; }
    LineReader& log() { return mProcess.errors(); }
    ProcessState state() const { return ProcessState::of(pid()); }
    // Waits until it holds as much as then; what it holds now, when it does not come to that.
    ProcessState settledTo(const ProcessState& then) const;

private:
    ChildProcess mProcess;
};

}  // namespace orva::test
