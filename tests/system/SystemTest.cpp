/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "system/SystemTest.h"

#include <cstdlib>
#include <filesystem>

#include <orva_platform/Runtime.h>

namespace orva::test {

void SystemTest::SetUp() {
    // What the runtime opens once and keeps is not the test's.
    orva_platform::stop();
    ResourceTest::SetUp();
    char folder[] = "/tmp/orva-system-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    mFolder = folder;
    orva_platform::setServiceDirectory(mFolder);
}

void SystemTest::TearDown() {
    orva_platform::stop();
    if (mHost != nullptr) {
        EXPECT_EQ(mHost->stop(), 0);
        mHost.reset();
    }
    std::filesystem::remove_all(mFolder);
    ResourceTest::TearDown();
}

void SystemTest::startHost(const std::vector<std::string>& options) {
    mHost = std::make_unique<HostProcess>(mFolder, options);
    ASSERT_TRUE(mHost->ready()) << mHost->log().text();
}

void SystemTest::expectSettled(const ProcessState& then) const {
    const ProcessState now = mHost->settledTo(then);
    EXPECT_TRUE(now.holdsAsMuchAs(then)) << "then " << then << "; now " << now;
}

client::Tensor patterned(size_t bytes, unsigned seed) {
    client::Tensor tensor({}, bytes);
    for (size_t i = 0; i < bytes; ++i) {
        tensor.data()[i] = static_cast<uint8_t>(i * 7 + i / 251 + seed);
    }
    return tensor;
}

bool hasPattern(const client::Tensor& tensor, size_t bytes, unsigned seed) {
    if (tensor.size() != bytes) {
        return false;
    }
    for (size_t i = 0; i < bytes; ++i) {
        if (tensor.data()[i] != static_cast<uint8_t>(i * 7 + i / 251 + seed)) {
            return false;
        }
    }
    return true;
}

}  // namespace orva::test
