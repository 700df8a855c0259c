/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "support/ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <fstream>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace orva::test {

using android::base::unique_fd;

namespace {

struct Pipe {
    unique_fd reader;
    unique_fd writer;

    Pipe() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe");
        }
        reader.reset(ends[0]);
        writer.reset(ends[1]);
    }
};

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    Pipe input;
    Pipe output;
    Pipe errors;
    // A write to a child that has gone is an error, not the test's end.
    std::signal(SIGPIPE, SIG_IGN);

    mPid = fork();
    if (mPid < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (mPid == 0) {
        // The test may have threads, so nothing but plain system calls from here on.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(input.reader, STDIN_FILENO);
        dup2(output.writer, STDOUT_FILENO);
        dup2(errors.writer, STDERR_FILENO);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    mInput = std::move(input.writer);
    output.writer.reset();
    errors.writer.reset();
    mOutput = std::make_unique<LineReader>(std::move(output.reader));
    mErrors = std::make_unique<LineReader>(std::move(errors.reader));
}

ChildProcess::~ChildProcess() {
    kill();
    if (testing::Test::HasFailure()) {
        while (mErrors->next()) {
        }
        fprintf(stderr, "What process %d said:\n%s", mPid, mErrors->text().c_str());
    }
}

bool ChildProcess::write(const std::string& line) {
    const std::string text = line + "\n";
    return ::write(mInput, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

void ChildProcess::signal(int number) const {
    if (!mEnded) {
        ::kill(mPid, number);
    }
}

void ChildProcess::kill() {
    signal(SIGKILL);
    await();
}

void ChildProcess::freeze() const {
    signal(SIGSTOP);
    siginfo_t info;
    waitid(P_PID, static_cast<id_t>(mPid), &info, WSTOPPED);
}

void ChildProcess::thaw() const {
    signal(SIGCONT);
}

bool ChildProcess::waitsIn(long systemCall) const {
    const std::string id = std::to_string(mPid);
    long number = -1;
    // Says "running" when it does not wait.
    std::ifstream("/proc/" + id + "/task/" + id + "/syscall") >> number;
    return number == systemCall;
}

int ChildProcess::await() {
    if (mEnded) {
        return mStatus;
    }
    const unique_fd handle(static_cast<int>(syscall(SYS_pidfd_open, mPid, 0)));
    pollfd entry = {handle, POLLIN, 0};
    const auto limit = std::chrono::milliseconds(kWatchdog).count();
    if (poll(&entry, 1, static_cast<int>(limit)) != 1) {
        return -1;
    }
    int status = 0;
    waitpid(mPid, &status, 0);
    mEnded = true;
    mStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return mStatus;
}

}  // namespace orva::test
