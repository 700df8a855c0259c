/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

#include "support/Descriptors.h"

namespace orva::test {

// What a process holds that a leak would show in: its open descriptors and its shared mappings.
// Private mappings are left out, because allocators and thread stacks come and go.
struct Resources {
    std::vector<std::string> descriptors;  // "number -> target"
    std::vector<std::string> mappings;     // lines of /proc/self/maps

    static Resources OfThisProcess();
};

inline Resources Resources::OfThisProcess() {
    Resources held;
    for (const int descriptor : orva_test::openDescriptors()) {
        const std::string number = std::to_string(descriptor);
        std::error_code gone;
        const auto target = std::filesystem::read_symlink("/proc/self/fd/" + number, gone);
        held.descriptors.push_back(number + " -> " + target.string());
    }
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.substr(line.find(' ') + 1, 4).find('s') != std::string::npos) {
            held.mappings.push_back(line);
        }
    }
    return held;
}

// Every test of this fixture must end with the descriptors and mappings that it began with.
class ResourceTest : public ::testing::Test {
protected:
    void SetUp() override { before_ = Resources::OfThisProcess(); }
    void TearDown() override {
        const Resources after = Resources::OfThisProcess();
        EXPECT_EQ(before_.descriptors, after.descriptors);
        EXPECT_EQ(before_.mappings, after.mappings);
    }

private:
    Resources before_;
};

}  // namespace orva::test
