/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "client/lib/Session.h"
#include "support/ResourceTest.h"
#include "system/ProcessState.h"
#include "system/Processes.h"

namespace orva::test {

// Sanitizers make everything slower.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

// A test with a service host of its own, of which this process is a client too. At its end, when
// all clients have gone, the host must hold what it held before the first one came, and stop
// cleanly; and this process must hold what it held before.
class SystemTest : public ResourceTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // Starts a host and waits until it serves.
    void startHost(const std::vector<std::string>& options = {"--log-level", "info"});
    HostProcess& host() { return *mHost; }
    // Both end the host here and now; what it holds then is not looked at.
    void stopHost();
    void killHost();

    std::unique_ptr<ClientProcess> newClient() const {
        return std::make_unique<ClientProcess>(mFolder);
    }
    const std::string& folder() const { return mFolder; }

    // Whether a fresh session of a client gets its requests done.
    static void expectServed(ClientProcess& client) { EXPECT_EQ(client.ask("rounds 1"), "0"); }
    // Whether the host, which was started with a limit, counts no client at all.
    void expectRoomFor(int clients);
    // Waits until the host has let go of every client that has gone, all but this process.
    void expectSettled();

private:
    std::string mFolder;
    std::unique_ptr<HostProcess> mHost;
    ProcessState mBefore;
};

}  // namespace orva::test
