/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "support/ResourceTest.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <fstream>
#include <sstream>

namespace orva::test {

namespace {

std::vector<std::string> OpenDescriptors() {
    std::vector<std::string> found;
    DIR* const folder = opendir("/proc/self/fd");
    while (const dirent* const entry = readdir(folder)) {
        const std::string name = entry->d_name;
        if (name[0] == '.' || name == std::to_string(dirfd(folder))) {
            continue;
        }
        char target[PATH_MAX] = "";
        const std::string path = "/proc/self/fd/" + name;
        (void)!readlink(path.c_str(), target, sizeof(target) - 1);
        found.push_back(name + " -> " + target);
    }
    closedir(folder);
    std::sort(found.begin(), found.end());
    return found;
}

std::vector<std::string> SharedMappings() {
    std::vector<std::string> found;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::istringstream fields(line);
        std::string range, access, offset, device, inode, target;
        fields >> range >> access >> offset >> device >> inode >> target;
        if (access.size() == 4 && access[3] == 's') {
            found.push_back(std::move(range.append(" ").append(target)));
        }
    }
    return found;
}

}  // namespace

Resources Resources::OfThisProcess() {
    return {OpenDescriptors(), SharedMappings()};
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
