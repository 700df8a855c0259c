/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "request/HostState.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include <orva/reference/Settings.h>
#include <orva_platform/Runtime.h>

namespace orva_bench {

namespace {

size_t statusField(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(name + ":", 0) == 0) {
            return std::stoul(line.substr(name.size() + 1));
        }
    }
    return 0;
}

size_t descriptorCount() {
    const std::filesystem::directory_iterator folder("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(folder), end(folder)));
}

size_t sharedMappingCount() {
    std::ifstream maps("/proc/self/maps");
    size_t count = 0;
    for (std::string line; std::getline(maps, line);) {
        std::istringstream fields(line);
        std::string range;
        std::string access;
        fields >> range >> access;
        count += access.size() == 4 && access[3] == 's' ? 1 : 0;
    }
    return count;
}

}  // namespace

HostState HostState::ofThisProcess() {
    const orva_platform::Counts counts = orva_platform::counts();
    return {statusField("VmRSS"),           statusField("Threads"),         descriptorCount(),
            sharedMappingCount(),           orva::reference::ClientCount(), counts.peers,
            counts.exports + counts.proxies};
}

bool HostState::holdsAsMuchAs(const HostState& other) const {
    return descriptors == other.descriptors && mappings == other.mappings &&
           sessions == other.sessions && links == other.links && objects == other.objects;
}

}  // namespace orva_bench
