/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "driver/ChildProcess.h"

#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace orva_bench {

using orva::hidl::UniqueFd;

namespace {

[[noreturn]] void throwErrno(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

std::pair<UniqueFd, UniqueFd> socketPair() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        throwErrno("socketpair");
    }
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

void pinTo(int core) {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(core, &cores);
    if (sched_setaffinity(0, sizeof cores, &cores) != 0) {
        throwErrno("sched_setaffinity");
    }
}

void runInRealtime() {
    const sched_param lowest = {1};
    if (sched_setscheduler(0, SCHED_FIFO, &lowest) != 0) {
        throwErrno("sched_setscheduler");
    }
}

}  // namespace

ChildProcess::ChildProcess(const Placement& placement, const Main& main)
        : ChildProcess(placement, main, socketPair()) {}

ChildProcess::ChildProcess(const Placement& placement, const Main& main,
                           std::pair<UniqueFd, UniqueFd> ends)
        : control_(std::move(ends.first)), pid_(fork()) {
    if (pid_ < 0) {
        throwErrno("fork");
    }
    if (pid_ > 0) {
        return;
    }
    // The child leaves without running the destructors of what it inherited from the driver, or
    // it would kill its siblings.
    int status = 1;
    try {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (placement.core) {
            pinTo(*placement.core);
        }
        if (placement.realtime) {
            runInRealtime();
        }
        status = main(Control(std::move(ends.second)));
    } catch (const std::exception& error) {
        fprintf(stderr, "orva-bench: %s\n", error.what());
    }
    fflush(nullptr);
    _exit(status);
}

ChildProcess::~ChildProcess() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

void ChildProcess::awaitReady() const {
    Ready ready;
    if (!control_.receive(&ready) || !ready.ok) {
        throw std::runtime_error("a process of the benchmark did not come up");
    }
}

}  // namespace orva_bench
