/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "PeerProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Eventually.h"

namespace orva_test {

PeerProcess::PeerProcess(const std::vector<std::string>& arguments) {
    int ends[2];
    EXPECT_EQ(0, pipe2(ends, O_CLOEXEC));
    mOutput.reset(ends[0]);
    android::base::unique_fd theirs(ends[1]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, theirs.get(), STDOUT_FILENO);
    std::vector<char*> pointers = {const_cast<char*>(PROBE_PEER)};
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    EXPECT_EQ(0, posix_spawn(&mPid, PROBE_PEER, &actions, nullptr, pointers.data(), environ));
    posix_spawn_file_actions_destroy(&actions);
    theirs.reset();  // So that its output ends when it does.
    EXPECT_EQ("ready", readLine());
}

PeerProcess::~PeerProcess() {
    kill();
}

std::string PeerProcess::readLine() {
    for (;;) {
        const size_t end = mRead.find('\n');
        if (end != std::string::npos) {
            const std::string line = mRead.substr(0, end);
            mRead.erase(0, end + 1);
            return line;
        }
        pollfd entry = {mOutput.get(), POLLIN, 0};
        char bytes[256];
        if (poll(&entry, 1, std::chrono::milliseconds(kWatchdog).count()) <= 0) {
            ADD_FAILURE() << "the peer says nothing";
            return {};
        }
        const ssize_t count = read(mOutput.get(), bytes, sizeof bytes);
        if (count <= 0) {
            return {};
        }
        mRead.append(bytes, static_cast<size_t>(count));
    }
}

void PeerProcess::signal(int number) const {
    EXPECT_EQ(0, ::kill(mPid, number));
}

void PeerProcess::halt() {
    signal(SIGSTOP);
    // The signal alone says nothing of when its threads come to a stop.
    EXPECT_EQ(mPid, waitpid(mPid, nullptr, WUNTRACED));
}

int PeerProcess::wait() {
    int status = 0;
    const bool ended = eventually([&] { return waitpid(mPid, &status, WNOHANG) == mPid; });
    EXPECT_TRUE(ended) << "the peer does not end";
    if (ended) {
        mPid = -1;
    }
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

void PeerProcess::kill() {
    if (mPid > 0) {
        signal(SIGKILL);
        wait();
    }
}

}  // namespace orva_test
