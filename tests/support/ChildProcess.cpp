/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "support/ChildProcess.h"

#include <cerrno>
#include <fstream>
#include <sstream>
#include <system_error>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/Eventually.h"

namespace orva::test {

using android::base::unique_fd;

const std::string& LineReader::text() {
    char piece[4096];
    for (ssize_t size;
         (size = pread(mFile, piece, sizeof piece, static_cast<off_t>(mText.size()))) > 0;) {
        mText.append(piece, static_cast<size_t>(size));
    }
    return mText;
}

bool LineReader::waitFor(const std::function<bool()>& condition) {
    bool holds = false;
    eventually([&] {
        // In this order: what it wrote last counts, too.
        const bool ended = mHasEnded();
        holds = condition();
        return holds || ended;
    });
    return holds;
}

std::optional<std::string> LineReader::next() {
    size_t end = 0;
    if (!waitFor([&] { return (end = text().find('\n', mTaken)) != std::string::npos; })) {
        return std::nullopt;
    }
    std::string line = mText.substr(mTaken, end - mTaken);
    mTaken = end + 1;
    return line;
}

bool LineReader::await(const std::string& wanted, size_t times) {
    return waitFor([&] { return count(wanted) >= times; });
}

size_t LineReader::count(const std::string& wanted) {
    std::istringstream lines(text());
    size_t found = 0;
    for (std::string line; std::getline(lines, line);) {
        found += line.find(wanted) != std::string::npos ? 1 : 0;
    }
    return found;
}

ChildProcess::ChildProcess(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    int ends[2] = {-1, -1};
    const int piped = pipe2(ends, O_CLOEXEC);
    const unique_fd input(ends[0]);
    mInput.reset(ends[1]);
    unique_fd output(memfd_create("output", MFD_CLOEXEC));
    unique_fd errors(memfd_create("errors", MFD_CLOEXEC));
    // A write to a child that has gone is an error, not the test's end.
    std::signal(SIGPIPE, SIG_IGN);

    mPid = piped == 0 ? fork() : -1;
    if (mPid < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (mPid == 0) {
        // The test may have threads, so nothing but plain system calls from here on.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(input, STDIN_FILENO);
        dup2(output, STDOUT_FILENO);
        dup2(errors, STDERR_FILENO);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    mOutput = std::make_unique<LineReader>(std::move(output), [this] { return hasEnded(); });
    mErrors = std::make_unique<LineReader>(std::move(errors), [this] { return hasEnded(); });
}

ChildProcess::~ChildProcess() {
    kill();
    if (testing::Test::HasFailure()) {
        fprintf(stderr, "What process %d said:\n%s", mPid, mErrors->text().c_str());
    }
}

bool ChildProcess::write(const std::string& line) {
    const std::string text = line + "\n";
    return ::write(mInput, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

void ChildProcess::signal(int number) const {
    if (!mReaped) {
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

bool ChildProcess::waitsIn(long systemCall) const {
    const std::string id = std::to_string(mPid);
    long number = -1;
    // Says "running" when it does not wait.
    std::ifstream("/proc/" + id + "/task/" + id + "/syscall") >> number;
    return number == systemCall;
}

bool ChildProcess::hasEnded() const {
    siginfo_t info = {};
    return mReaped ||
           (waitid(P_PID, static_cast<id_t>(mPid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
            info.si_pid == mPid);
}

int ChildProcess::await() {
    if (!mReaped && eventually([this] { return hasEnded(); })) {
        int status = 0;
        waitpid(mPid, &status, 0);
        mReaped = true;
        mStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return mStatus;
}

}  // namespace orva::test
