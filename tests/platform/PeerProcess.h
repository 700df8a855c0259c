/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include <android-base/unique_fd.h>

namespace orva_test {

// A process of the program probe_peer, with its own end of a connection under test. Killed and
// waited for at the end, if it still runs.
class PeerProcess {
public:
    // Runs probe_peer with these arguments and waits until it says that it is ready.
    explicit PeerProcess(const std::vector<std::string>& arguments);
    ~PeerProcess();
    PeerProcess(const PeerProcess&) = delete;
    PeerProcess& operator=(const PeerProcess&) = delete;

    pid_t pid() const { return mPid; }
    // The next line of its output; empty when it ends without one.
    std::string readLine();
    void signal(int number) const;
    // Stops all its threads, until it is killed.
    void halt();
    // Waits for its end: its exit status, or minus the signal that ended it.
    int wait();
    // SIGKILL, and waits.
    void kill();

private:
    pid_t mPid = -1;
    android::base::unique_fd mOutput;
    std::string mRead;
};

}  // namespace orva_test
