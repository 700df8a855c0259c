/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <functional>
#include <vector>

namespace orva::attack {

// Client processes, children of this one, which end with the object at the latest. What they do
// they do with a runtime of their own, so this process must not have used it.
class Processes {
public:
    // Each does its work, told its number from 0 on, and ends with that; what it throws is told on
    // standard error and ends it, too.
    Processes(size_t count, const std::function<void(size_t)>& work);
    ~Processes();
    Processes(const Processes&) = delete;
    Processes& operator=(const Processes&) = delete;

    // Called by a process in its work: it has come to where it stays.
    static void ready();
    // Waits until so many are there, or have ended.
    void awaitReady();
    // SIGKILL, and until they are no more.
    void kill();
    // Waits until all have ended by themselves. Throws HostGaveIn if one has thrown that.
    void await();
    pid_t pid(size_t number) const { return pids_.at(number); }

private:
    std::vector<pid_t> pids_;
    int readyEnd_ = -1;
};

// Until it is killed.
[[noreturn]] void stay();

}  // namespace orva::attack
