/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "Processes.h"

#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Attack.h"

namespace orva::attack {

namespace {

constexpr int kGaveIn = 3;
int gReadyEnd = -1;  // a child's, of the pipe that says how many are ready

[[noreturn]] void child(size_t number, const std::function<void(size_t)>& work) {
    int code = 0;
    try {
        work(number);
    } catch (const HostGaveIn& error) {
        fprintf(stderr, "orva-attack: %s\n", error.what());
        code = kGaveIn;
    } catch (const std::exception&) {
        code = 1;  // It was refused or cut off, as it should be.
    }
    // Threads that wait for ever are not waited for.
    _exit(code);
}

}  // namespace

Processes::Processes(size_t count, const std::function<void(size_t)>& work) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    const pid_t parent = getpid();
    for (size_t number = 0; number < count; ++number) {
        const pid_t pid = fork();
        if (pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (getppid() != parent) {
                _exit(1);
            }
            close(ends[0]);
            gReadyEnd = ends[1];
            child(number, work);
        }
        if (pid > 0) {
            pids_.push_back(pid);
        }
    }
    close(ends[1]);
    readyEnd_ = ends[0];
}

Processes::~Processes() {
    kill();
    close(readyEnd_);
}

void Processes::ready() {
    if (write(gReadyEnd, "", 1) < 0) {
        _exit(1);
    }
    close(gReadyEnd);
}

void Processes::awaitReady() {
    char byte;
    for (size_t i = 0; i < pids_.size() && read(readyEnd_, &byte, 1) > 0; ++i) {
    }
}

void Processes::kill() {
    for (const pid_t pid : pids_) {
        ::kill(pid, SIGKILL);
    }
    for (const pid_t pid : pids_) {
        waitpid(pid, nullptr, 0);
    }
    pids_.clear();
}

void Processes::await() {
    bool gaveIn = false;
    for (const pid_t pid : pids_) {
        int status = 0;
        waitpid(pid, &status, 0);
        gaveIn = gaveIn || (WIFEXITED(status) && WEXITSTATUS(status) == kGaveIn);
    }
    pids_.clear();
    if (gaveIn) {
        throw HostGaveIn("the host did what it must not do");
    }
}

void stay() {
    for (;;) {
        pause();
    }
}

}  // namespace orva::attack
