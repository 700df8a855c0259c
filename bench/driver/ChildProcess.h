/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>

#include "driver/Control.h"

namespace orva_bench {

// A process forked from the driver, which must have one thread only; it dies with the driver.
class ChildProcess {
public:
    // What the child runs; its result is the exit status.
    using Main = std::function<int(const Control&)>;

    // Where and how a child runs.
    struct Placement {
        std::optional<int> core;  // pinned to it if there is one
        bool realtime = false;    // ahead of all else that the machine does, and in turn
    };

    // Throws std::system_error when it cannot be started.
    ChildProcess(const Placement& placement, const Main& main);
    // Kills the child and reaps it.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return pid_; }
    const Control& control() const { return control_; }

    // Throws std::runtime_error unless the child says that it is ready.
    void awaitReady() const;

private:
    ChildProcess(const Placement& placement, const Main& main,
                 std::pair<orva::hidl::UniqueFd, orva::hidl::UniqueFd> ends);

    Control control_;
    pid_t pid_;
};

}  // namespace orva_bench
