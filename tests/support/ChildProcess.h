/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <csignal>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <android-base/unique_fd.h>
#include <sys/types.h>

namespace orva::test {

// The lines that another process writes into a file, which never makes it wait for its reader.
class LineReader {
public:
    // `hasEnded` is asked whether the process has.
    LineReader(android::base::unique_fd file, std::function<bool()> hasEnded)
            : file_(std::move(file)), hasEnded_(std::move(hasEnded)) {}

    // The first line not taken yet; empty at the process's end, and when the watchdog barks.
    std::optional<std::string> next();
    // Waits until that many lines contain a text. False at the process's end and when the
    // watchdog barks.
    bool await(const std::string& wanted, size_t times = 1);
    // How many of the lines written so far contain a text.
    size_t count(const std::string& wanted);
    // All that was written so far.
    const std::string& text();

private:
    bool waitFor(const std::function<bool()>& condition);

    const android::base::unique_fd file_;
    const std::function<bool()> hasEnded_;
    std::string text_;  // what was read so far
    size_t taken_ = 0;  // of it
};

// A program run as a child of the test, with its standard streams in the test's hands. It does not
// outlive the object, nor the test; if that failed by then, what the child said of errors is shown.
class ChildProcess {
public:
    // `command` is the program's path and its arguments.
    explicit ChildProcess(const std::vector<std::string>& command);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return pid_; }
    LineReader& output() { return *output_; }
    LineReader& errors() { return *errors_; }

    // False when the child no longer reads.
    bool write(const std::string& line);
    void closeInput() { input_.reset(); }

    void signal(int number) const;
    // SIGKILL, and until the process is no more.
    void kill();
    // SIGSTOP, and until nothing of the child runs any more.
    void freeze() const;
    void thaw() const { signal(SIGCONT); }
    // Whether its main thread waits in this system call.
    bool waitsIn(long systemCall) const;

    // Waits for its end: its exit code, 128 and the signal's number if one ended it, -1 if the
    // watchdog barks. The same again once it has ended.
    int await();

private:
    bool hasEnded() const;

    pid_t pid_ = -1;
    int status_ = -1;
    bool reaped_ = false;
    android::base::unique_fd input_;
    std::unique_ptr<LineReader> output_;
    std::unique_ptr<LineReader> errors_;
};

}  // namespace orva::test
