/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/ProcessLife.h"

#include <cerrno>

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace orva::reference {

namespace {

int OpenProcess(pid_t pid) {
    return pid > 0 ? static_cast<int>(syscall(SYS_pidfd_open, pid, 0)) : -1;
}

}  // namespace

ProcessLife::ProcessLife(pid_t pid) : pid_(pid), pidfd_(OpenProcess(pid)) {}

ProcessLife::~ProcessLife() {
    if (pidfd_ >= 0) {
        close(pidfd_);
    }
}

bool ProcessLife::HasEnded() const {
    if (pidfd_ >= 0) {
        pollfd process = {pidfd_, POLLIN, 0};
        return poll(&process, 1, 0) == 1;
    }
    return pid_ > 0 && kill(pid_, 0) != 0 && errno == ESRCH;
}

}  // namespace orva::reference
