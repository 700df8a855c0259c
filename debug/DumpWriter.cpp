/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "debug/DumpWriter.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "common/Clock.h"
#include "common/UniqueFd.h"

namespace orva::hidl {

namespace {

constexpr int64_t kPatience = 2'000'000'000;  // nanoseconds
// What a pipe takes whole or not at all.
constexpr size_t kPiece = 4096;

// Keeps the signals of a write that nobody reads, or that is too long for a file, from ending the
// process, without touching what the process has set for them, nor those that came before.
class SignalsHeldBack {
public:
    SignalsHeldBack() {
        sigset_t pending;
        sigpending(&pending);
        sigemptyset(&ours_);
        for (const int signal : {SIGPIPE, SIGXFSZ}) {
            if (sigismember(&pending, signal) == 0) {
                sigaddset(&ours_, signal);
            }
        }
        pthread_sigmask(SIG_BLOCK, &ours_, &before_);
    }
    ~SignalsHeldBack() {
        const timespec now = {};
        while (sigtimedwait(&ours_, nullptr, &now) > 0) {
        }
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    SignalsHeldBack(const SignalsHeldBack&) = delete;
    SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

private:
    sigset_t ours_, before_;
};

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

// Writes a piece without waiting: the bytes written, or -1 with errno EAGAIN when there is no room.
ssize_t WritePiece(int fd, const char* data, size_t size) {
    if (fcntl(fd, F_GETPIPE_SZ) >= 0) {
        return WriteToPipe(fd, data, size);
    }
    // Only memory files have seals.
    return fcntl(fd, F_GET_SEALS) >= 0 ? write(fd, data, size)
                                       : send(fd, data, size, MSG_DONTWAIT | MSG_NOSIGNAL);
}

}  // namespace

bool WriteDump(int fd, const std::string& text) {
    const SignalsHeldBack signals;
    const int64_t deadline = MonotonicNow() + kPatience;
    for (size_t done = 0; done < text.size();) {
        const ssize_t written =
                WritePiece(fd, text.data() + done, std::min(kPiece, text.size() - done));
        if (written > 0) {
            done += static_cast<size_t>(written);
            continue;
        }
        const bool isFull = written == 0 || errno == EAGAIN || errno == EINTR;
        const int64_t left = (deadline - MonotonicNow()) / 1'000'000;
        pollfd room = {fd, POLLOUT, 0};
        if (!isFull || left <= 0 || poll(&room, 1, static_cast<int>(left)) == 0) {
            return false;
        }
    }
    return true;
}

}  // namespace orva::hidl
