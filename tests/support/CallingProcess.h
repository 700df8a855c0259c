/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <hwbinder/IPCThreadState.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>

namespace orva::test {

// While it lives, this thread's calls come from another process.
class CallsFrom {
public:
    explicit CallsFrom(pid_t pid) {
        Thread().restoreCallingIdentity((int64_t{getuid()} << 32) | pid);
    }
    ~CallsFrom() { Thread().clearCallingIdentity(); }
    CallsFrom(const CallsFrom&) = delete;
    CallsFrom& operator=(const CallsFrom&) = delete;

private:
    static android::hardware::IPCThreadState& Thread() {
        return *android::hardware::IPCThreadState::self();
    }
};

// A process that does nothing, for somebody to be a client in its name.
class IdleProcess {
public:
    IdleProcess() : pid_(fork()) {
        while (pid_ == 0) {
            pause();
        }
    }
    ~IdleProcess() { Reap(); }
    IdleProcess(const IdleProcess&) = delete;
    IdleProcess& operator=(const IdleProcess&) = delete;

    pid_t Pid() const { return pid_; }
    // Ends it, and waits until it has ended; its number stays taken.
    void End() const {
        kill(pid_, SIGKILL);
        siginfo_t info;
        waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT);
    }
    // Ends it for good.
    void Reap() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }

private:
    const pid_t pid_;
};

}  // namespace orva::test
