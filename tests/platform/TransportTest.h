/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <orva_platform/Runtime.h>

#include "Probe.h"
#include "support/ChildProcess.h"
#include "support/Eventually.h"
#include "support/LogCapture.h"
#include "support/ResourceTest.h"

namespace orva_test {

using orva::test::eventually;

template <typename T>
void expectOk(const Return<T>& result) {
    EXPECT_TRUE(result.isOk()) << result.description();
}

// Whether one of the errors logged since it was asked last says so.
inline bool logged(orva::test::LogCapture& log, const std::string& text) {
    const std::vector<orva::test::LogLine> lines = log.Take(ANDROID_LOG_ERROR);
    return std::any_of(lines.begin(), lines.end(), [&](const orva::test::LogLine& line) {
        return line.message.find(text) != std::string::npos;
    });
}

// The other end of a connection under test: the program probe_peer with these arguments, ready.
struct PeerProcess : orva::test::ChildProcess {
    template <typename... Words>
    explicit PeerProcess(const Words&... words) : ChildProcess({PROBE_PEER, words...}) {
        EXPECT_EQ("ready", output().next().value_or("nothing"));
    }
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
        mNothing = resourcesHere();
        ResourceTest::SetUp();
    }

    void TearDown() override {
        mProbe.clear();
        mServer.reset();
        expectOk(sp<IProbe>(new Probe)->hold(nullptr));
        orva_platform::stop();
        EXPECT_EQ(mNothing, resourcesHere());
        ResourceTest::TearDown();
        std::filesystem::remove_all(mFolder);
    }

    // Starts the server that most tests talk to.
    template <typename... Words>
    void serve(const Words&... threadsAndLimit) {
        mServer = std::make_unique<PeerProcess>("default", threadsAndLimit...);
        mProbe = IProbe::getService();
        // Opens the channels for oneway calls and for calls back, which stay.
        expectOk(mProbe->note(0));
        expectOk(mProbe->hold(new Probe));
        expectOk(mProbe->hold(nullptr));
        EXPECT_TRUE(eventually([&] { return !notes().empty(); }));
        mHeld = resources();
    }

    std::vector<int32_t> notes() const {
        std::vector<int32_t> notes;
        expectOk(mProbe->notes([&](const hidl_vec<int32_t>& values) { notes = values; }));
        return notes;
    }

    // Waits for the server to hold what it held at its start.
    void expectNothingLeft() const {
        EXPECT_TRUE(eventually([&] { return resources() == mHeld; }))
                << resources() << "; at first " << mHeld;
    }
    std::string resources() const {
        std::string held;
        expectOk(mProbe->resources([&](const hidl_string& told) { held = told; }));
        return held;
    }

    // Where a service has its socket.
    std::string socketOf(const std::string& instance = "default") const {
        return mFolder + "/" + IProbe::descriptor + "#" + instance;
    }

    std::string mFolder;
    std::unique_ptr<PeerProcess> mServer;
    sp<IProbe> mProbe;
    std::string mNothing, mHeld;  // By this process and by the server, at their start.
};

}  // namespace orva_test
