/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "debug/DumpWriter.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "common/Clock.h"
#include "common/UniqueFd.h"

namespace orva::hidl {

namespace {

constexpr int64_t kPatience = 2'000'000'000;  // nanoseconds
// What a pipe takes whole or not at all.
constexpr size_t kPiece = 4096;

// Keeps the signals of a write that nobody reads, or that is too long for a file, from ending the
// process, without touching what the process has set for them.
class SignalsHeldBack {
public:
    SignalsHeldBack() {
        sigemptyset(&signals_);
        sigaddset(&signals_, SIGPIPE);
        sigaddset(&signals_, SIGXFSZ);
        sigpending(&pendingBefore_);
        pthread_sigmask(SIG_BLOCK, &signals_, &maskBefore_);
    }
    ~SignalsHeldBack() {
        for (const int signal : {SIGPIPE, SIGXFSZ}) {
            sigset_t one;
            sigemptyset(&one);
            sigaddset(&one, signal);
            const timespec now = {};
            if (sigismember(&pendingBefore_, signal) == 0) {
                while (sigtimedwait(&one, nullptr, &now) < 0 && errno == EINTR) {
                }
            }
        }
        pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr);
    }
    SignalsHeldBack(const SignalsHeldBack&) = delete;
    SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

private:
    sigset_t signals_, pendingBefore_, maskBefore_;
};

// Writes a piece without waiting: the bytes written, or -1 with errno EAGAIN when there is no room.
using PieceWriter = ssize_t (*)(int fd, const char* data, size_t size);

// The client can fill the pipe at any time, and its own setting decides whether a write then waits.
// Moving bytes from another pipe never does.
ssize_t WriteToPipe(int fd, const char* data, size_t size) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return -1;
    }
    const UniqueFd out(ends[0]), in(ends[1]);
    const ssize_t taken = write(in.Get(), data, size);
    return taken <= 0 ? taken
                      : splice(out.Get(), nullptr, fd, nullptr, static_cast<size_t>(taken),
                               SPLICE_F_NONBLOCK);
}

ssize_t WriteToSocket(int fd, const char* data, size_t size) {
    return send(fd, data, size, MSG_DONTWAIT | MSG_NOSIGNAL);
}

ssize_t WriteToFile(int fd, const char* data, size_t size) {
    return write(fd, data, size);
}

PieceWriter WriterFor(int fd) {
    struct stat status = {};
    if (fstat(fd, &status) != 0) {
        return nullptr;
    }
    switch (status.st_mode & S_IFMT) {
    case S_IFIFO:
        return WriteToPipe;
    case S_IFSOCK:
        return WriteToSocket;
    case S_IFREG:
        return WriteToFile;
    default:
        return nullptr;
    }
}

// Waits for room. False when there is none in time.
bool WaitForRoom(int fd, int64_t deadline) {
    for (;;) {
        const int64_t left = deadline - MonotonicNow();
        if (left <= 0) {
            return false;
        }
        pollfd entry = {fd, POLLOUT, 0};
        const int ready = poll(&entry, 1, static_cast<int>(left / 1'000'000) + 1);
        if (ready > 0) {
            return true;
        }
        if (ready < 0 && errno != EINTR) {
            return false;
        }
    }
}

}  // namespace

bool WriteDump(int fd, const std::string& text) {
    const PieceWriter writePiece = WriterFor(fd);
    if (writePiece == nullptr) {
        return false;
    }
    const SignalsHeldBack signals;
    const int64_t deadline = MonotonicNow() + kPatience;
    for (size_t done = 0; done < text.size();) {
        const ssize_t written =
                writePiece(fd, text.data() + done, std::min(kPiece, text.size() - done));
        if (written > 0) {
            done += static_cast<size_t>(written);
            continue;
        }
        const bool full = written == 0 || errno == EAGAIN || errno == EINTR;
        if (!full || !WaitForRoom(fd, deadline)) {
            return false;
        }
    }
    return true;
}

}  // namespace orva::hidl
