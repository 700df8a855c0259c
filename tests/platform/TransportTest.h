/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <orva_platform/Runtime.h>

#include "Probe.h"
#include "support/ChildProcess.h"
#include "support/Eventually.h"
#include "support/ResourceTest.h"

namespace orva_test {

using orva::test::eventually;

template <typename T>
void expectOk(const Return<T>& result) {
    EXPECT_TRUE(result.isOk()) << result.description();
}

// A process of the program probe_peer, with its own end of a connection under test.
class PeerProcess : public orva::test::ChildProcess {
public:
    // Runs it with these arguments and waits until it says that it is ready.
    template <typename... Words>
    explicit PeerProcess(const Words&... words) : ChildProcess({PROBE_PEER, words...}) {
        EXPECT_EQ("ready", readLine());
    }

    // The next line of its output; empty when it ends without one.
    std::string readLine() { return output().next().value_or(""); }
};

// A test with a service folder of its own. At its end this process's runtime holds nothing, and the
// process itself what it held at the start.
class TransportTest : public orva::test::ResourceTest {
protected:
    void SetUp() override {
        char folder[] = "/tmp/orva-test-XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(folder));
        mFolder = folder;
        setenv("ORVA_SERVICE_DIR", folder, 1);
        orva_platform::setServiceDirectory(folder);
        orva_platform::stop();  // Brings up what the runtime keeps for good.
        ResourceTest::SetUp();
    }

    // Starts the server that most tests talk to.
    template <typename... Words>
    void serve(const Words&... threadsAndLimit) {
        mServer = std::make_unique<PeerProcess>("serve", "default", threadsAndLimit...);
        mProbe = service();
        mHeld = resourcesOf(mProbe);
    }

    void TearDown() override {
        mProbe.clear();
        mServer.reset();
        Probe::reset();
        orva_platform::stop();
        Held held = resourcesHere();
        held.descriptors = 0;  // ResourceTest's to judge.
        EXPECT_EQ(toString(Held()), toString(held));
        ResourceTest::TearDown();
        std::filesystem::remove_all(mFolder);
    }

    static sp<IProbe> service(const std::string& instance = "default") {
        return IProbe::getService(instance);
    }

    std::vector<int32_t> notes() const {
        std::vector<int32_t> notes;
        expectOk(mProbe->notes([&](const hidl_vec<int32_t>& values, int32_t) { notes = values; }));
        return notes;
    }

    // Waits for the server to hold what it held before, its pool's threads apart. `more` channels
    // may have stayed open.
    void expectNothingLeft(uint64_t more = 0) const {
        Held now;
        const bool same = eventually([&] {
            now = resourcesOf(mProbe);
            const uint64_t opened = now.channels - mHeld.channels;
            now.channels -= opened;
            now.descriptors -= opened;
            now.threads = mHeld.threads;
            return now == mHeld && opened <= more;
        });
        EXPECT_TRUE(same) << toString(now) << " after " << toString(mHeld);
    }

    // A file of the service folder.
    std::string path(const std::string& file) const { return mFolder + "/" + file; }
    static std::string fileOf(const std::string& instance) {
        return std::string(IProbe::descriptor) + "#" + instance;
    }

    std::string mFolder;
    std::unique_ptr<PeerProcess> mServer;
    sp<IProbe> mProbe;
    Held mHeld;  // By the server at its start.
};

}  // namespace orva_test
