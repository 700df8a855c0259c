/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <vendor/selkat/hardware/ai/2.1/IAIService.h>

#include "client/lib/Tensor.h"
#include "support/ResourceTest.h"
#include "system/ClientProcess.h"
#include "system/HostProcess.h"

namespace orva::test {

// Sanitizers make everything slower, and larger.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

using Service = android::sp<vendor::selkat::hardware::ai::V2_1::IAIService>;

// A test with a service host of its own, of which this process is a client too. At its end the
// host must stop cleanly, and this process hold what it held before.
class SystemTest : public ResourceTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // Starts a host and waits until it serves.
    void startHost(const std::vector<std::string>& options = {"--log-level", "info"});
    HostProcess& host() { return *mHost; }
    // Ends the host here and now, whatever becomes of it.
    void dropHost() { mHost.reset(); }

    std::unique_ptr<ClientProcess> newClient() const {
        return std::make_unique<ClientProcess>(mFolder);
    }
    const std::string& folder() const { return mFolder; }

    // Whether a fresh session of a client gets its requests done.
    static void expectServed(ClientProcess& client) { EXPECT_EQ(client.ask("rounds 1"), "0"); }

    // Once its clients have gone the host holds no more than it did then.
    void expectSettled(const ProcessState& then) const;

private:
    std::string mFolder;
    std::unique_ptr<HostProcess> mHost;
};

// A tensor with a pattern in it.
client::Tensor patterned(size_t bytes, unsigned seed = 1);
// Whether it still has it.
bool hasPattern(const client::Tensor& tensor, size_t bytes, unsigned seed = 1);

}  // namespace orva::test
