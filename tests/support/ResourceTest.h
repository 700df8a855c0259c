/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orva::test {

// What a process holds that a leak would show in: its open descriptors and its shared mappings.
// Private mappings are left out, because allocators and thread stacks come and go.
struct Resources {
    std::vector<std::string> descriptors;  // "number -> target"
    std::vector<std::string> mappings;     // "range target"

    static Resources OfThisProcess();
};

// Every test of this fixture must end with the descriptors and mappings that it began with.
class ResourceTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

private:
    Resources before_;
};

}  // namespace orva::test
