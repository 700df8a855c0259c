/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <orva_platform/Runtime.h>

#include "PeerProcess.h"
#include "Probe.h"
#include "support/Eventually.h"
#include "support/ResourceTest.h"

namespace orva_test {

using orva::test::eventually;

template <typename T>
void expectOk(const Return<T>& result) {
    EXPECT_TRUE(result.isOk()) << result.description();
}

// A test with a service folder of its own. At its end this process's runtime holds nothing, and the
// process itself what it held at the start.
class TransportTest : public testing::Test {
protected:
    void SetUp() override {
        char folder[] = "/tmp/orva-test-XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(folder));
        mFolder = folder;
        setenv("ORVA_SERVICE_DIR", folder, 1);
        orva_platform::setServiceDirectory(folder);
        orva_platform::stop();  // Brings up what the runtime keeps for good.
        mBefore = orva::test::Resources::OfThisProcess();
    }

    void TearDown() override {
        Probe::reset();
        orva_platform::stop();
        orva_platform::setReplyLimit(std::chrono::milliseconds(0));
        EXPECT_EQ("0 links, 0 channels, 0 threads, 0 exports, 0 proxies, 0 probes", here());
        const orva::test::Resources after = orva::test::Resources::OfThisProcess();
        EXPECT_EQ(mBefore.descriptors, after.descriptors);
        EXPECT_EQ(mBefore.mappings, after.mappings);
        std::filesystem::remove_all(mFolder);
    }

    static std::string here() {
        const Held held = resourcesHere();
        return std::to_string(held.links) + " links, " + std::to_string(held.channels) +
               " channels, " + std::to_string(held.threads) + " threads, " +
               std::to_string(held.exports) + " exports, " + std::to_string(held.proxies) +
               " proxies, " + std::to_string(held.probes) + " probes";
    }

    static sp<IProbe> service(const std::string& instance = "default") {
        return IProbe::getService(instance);
    }

    // The cookies of the deaths that a server was told of.
    static std::vector<uint64_t> deathsAt(const sp<IProbe>& server) {
        std::vector<uint64_t> deaths;
        expectOk(server->deaths([&](const hidl_vec<uint64_t>& cookies) { deaths = cookies; }));
        return deaths;
    }

    // Whether a server comes to hold what it held before, its pool's threads apart.
    static bool eventuallyHolds(const sp<IProbe>& server, Held before) {
        const bool same = eventually([&] {
            Held now = resourcesOf(server);
            now.threads = before.threads;
            return now == before;
        });
        if (!same) {
            EXPECT_EQ(before, resourcesOf(server));
        }
        return same;
    }

    // A file of the service folder.
    std::string path(const std::string& file) const { return mFolder + "/" + file; }
    static std::string fileOf(const std::string& instance) {
        return std::string(IProbe::descriptor) + "#" + instance;
    }

    std::string mFolder;

private:
    orva::test::Resources mBefore;
};

}  // namespace orva_test
