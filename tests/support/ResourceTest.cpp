/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "support/ResourceTest.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include "support/Descriptors.h"

namespace orva::test {

Resources Resources::OfThisProcess() {
    Resources held;
    for (const int descriptor : orva_test::openDescriptors()) {
        const std::string number = std::to_string(descriptor);
        std::error_code gone;
        const auto target = std::filesystem::read_symlink("/proc/self/fd/" + number, gone);
        held.descriptors.push_back(number + " -> " + target.string());
    }
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::istringstream fields(line);
        std::string range, access, offset, device, inode, target;
        fields >> range >> access >> offset >> device >> inode >> target;
        if (access.size() == 4 && access[3] == 's') {
            held.mappings.push_back(range + " " + target);
        }
    }
    return held;
}

void ResourceTest::SetUp() {
    before_ = Resources::OfThisProcess();
}

void ResourceTest::TearDown() {
    const Resources after = Resources::OfThisProcess();
    EXPECT_EQ(before_.descriptors, after.descriptors);
    EXPECT_EQ(before_.mappings, after.mappings);
}

}  // namespace orva::test
