/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "client/lib/Session.h"
#include "support/ChildProcess.h"
#include "support/Eventually.h"
#include "support/Machine.h"
#include "support/ResourceTest.h"

namespace orva::test {

// What the kernel says that another process holds.
struct ProcessState {
    size_t descriptors = 0;
    size_t regions = 0;  // mappings of memory files
    size_t threads = 0;
    size_t memory = 0;  // bytes that are resident

    static ProcessState of(pid_t pid);
};
std::ostream& operator<<(std::ostream& out, const ProcessState& state);

// A service host of the test's own, serving in a folder of its own.
class HostProcess : public ChildProcess {
public:
    // `options` are further ones of the program's.
    HostProcess(const std::string& folder, std::vector<std::string> options);

    // Waits until it serves; false when it will not, and then output and log say why.
    bool ready() { return output().await("orva-host: ready in "); }
    // SIGTERM; its exit code.
    int stop();
    LineReader& log() { return errors(); }
};

// A client in a process of its own, led through the protocol step by step; system_client.cpp lists
// the steps.
class ClientProcess : public ChildProcess {
public:
    explicit ClientProcess(const std::string& folder) : ChildProcess({SYSTEM_CLIENT, folder}) {}

    // Takes a step and waits for its outcome: a status, or words. "gone" when the client has ended.
    std::string ask(const std::string& step) {
        write(step);
        return answer();
    }
    std::string answer() { return output().next().value_or("gone"); }
    // Has it end by itself; its exit code.
    int finish() {
        closeInput();
        return await();
    }
};

// A test with a service host of its own, of which this process is a client too. At its end, when
// all clients have gone, the host must hold what it held before the first one came, and stop
// cleanly; and this process must hold what it held before.
class SystemTest : public ResourceTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // Starts a host and waits until it serves.
    void startHost(const std::vector<std::string>& options = {"--log-level", "info"});
    HostProcess& host() { return *host_; }
    bool hasHost() const { return host_ != nullptr; }
    // Both end the host here and now; what it holds then is not looked at.
    void stopHost();
    void killHost();

    std::unique_ptr<ClientProcess> newClient() const {
        return std::make_unique<ClientProcess>(folder_);
    }
    const std::string& folder() const { return folder_; }

    // What the host held before its first client.
    const ProcessState& atStart() const { return before_; }

    // Whether a fresh session of a client gets its requests done.
    static void expectServed(ClientProcess& client) { EXPECT_EQ(client.ask("rounds 1"), "0"); }
    // Whether the host, which was started with a limit, counts no client at all.
    void expectRoomFor(int clients);
    // Waits until the host has let go of every client that has gone, all but this process. Threads
    // come and go with the load, within their pools' bounds, and are not compared.
    void expectSettled();

private:
    std::string folder_;
    std::unique_ptr<HostProcess> host_;
    ProcessState before_;
};

}  // namespace orva::test
