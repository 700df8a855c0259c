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
         (size = pread(file_, piece, sizeof piece, static_cast<off_t>(text_.size()))) > 0;) {
        text_.append(piece, static_cast<size_t>(size));
    }
    return text_;
}

bool LineReader::waitFor(const std::function<bool()>& condition) {
    bool holds = false;
    eventually([&] {
        // In this order: what it wrote last counts, too.
        const bool ended = hasEnded_();
        holds = condition();
        return holds || ended;
    });
    return holds;
}

std::optional<std::string> LineReader::next() {
    size_t end = 0;
    if (!waitFor([&] { return (end = text().find('\n', taken_)) != std::string::npos; })) {
        return std::nullopt;
    }
    std::string line = text_.substr(taken_, end - taken_);
    taken_ = end + 1;
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
    input_.reset(ends[1]);
    unique_fd output(memfd_create("output", MFD_CLOEXEC));
    unique_fd errors(memfd_create("errors", MFD_CLOEXEC));
    // The kernel lets threads that write to a memory file at once write over each other otherwise.
    fcntl(output, F_SETFL, O_APPEND);
    fcntl(errors, F_SETFL, O_APPEND);
    // A write to a child that has gone is an error, not the test's end.
    std::signal(SIGPIPE, SIG_IGN);

    pid_ = piped == 0 ? fork() : -1;
    if (pid_ < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (pid_ == 0) {
        // The test may have threads, so nothing but plain system calls from here on.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(input, STDIN_FILENO);
        dup2(output, STDOUT_FILENO);
        dup2(errors, STDERR_FILENO);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    output_ = std::make_unique<LineReader>(std::move(output), [this] { return hasEnded(); });
    errors_ = std::make_unique<LineReader>(std::move(errors), [this] { return hasEnded(); });
}

ChildProcess::~ChildProcess() {
    kill();
    if (testing::Test::HasFailure()) {
        fprintf(stderr, "What process %d said:\n%s", pid_, errors_->text().c_str());
    }
}

bool ChildProcess::write(const std::string& line) {
    const std::string text = line + "\n";
    return ::write(input_, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

void ChildProcess::signal(int number) const {
    if (!reaped_) {
        ::kill(pid_, number);
    }
}

void ChildProcess::kill() {
    signal(SIGKILL);
    await();
}

void ChildProcess::freeze() const {
    signal(SIGSTOP);
    siginfo_t info;
    waitid(P_PID, static_cast<id_t>(pid_), &info, WSTOPPED);
}

bool ChildProcess::waitsIn(long systemCall) const {
    const std::string id = std::to_string(pid_);
    long number = -1;
    // Says "running" when it does not wait.
    std::ifstream("/proc/" + id + "/task/" + id + "/syscall") >> number;
    return number == systemCall;
}

bool ChildProcess::hasEnded() const {
    siginfo_t info = {};
    return reaped_ ||
           (waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
            info.si_pid == pid_);
}

int ChildProcess::await() {
    if (!reaped_ && eventually([this] { return hasEnded(); })) {
        int status = 0;
        waitpid(pid_, &status, 0);
        reaped_ = true;
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return status_;
}

}  // namespace orva::test
