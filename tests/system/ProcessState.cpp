/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "system/ProcessState.h"

#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>

namespace orva::test {

namespace {

size_t entriesOf(const std::string& folder) {
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) {
        ++count;
    }
    return count;
}

}  // namespace

ProcessState ProcessState::of(pid_t pid) {
    const std::string process = "/proc/" + std::to_string(pid);
    ProcessState state;
    state.descriptors = entriesOf(process + "/fd");
    state.threads = entriesOf(process + "/task");
    std::ifstream maps(process + "/maps");
    for (std::string line; std::getline(maps, line);) {
        state.regions += line.find("/memfd:") != std::string::npos ? 1 : 0;
    }
    std::ifstream memory(process + "/smaps_rollup");
    for (std::string word; memory >> word;) {
        size_t size = 0;
        if ((word == "Private_Clean:" || word == "Private_Dirty:") && memory >> size) {
            state.residentKiB += size;
        }
    }
    return state;
}

bool ProcessState::holdsAsMuchAs(const ProcessState& other) const {
    return descriptors == other.descriptors && regions == other.regions;
}

std::ostream& operator<<(std::ostream& out, const ProcessState& state) {
    return out << state.descriptors << " descriptors, " << state.regions << " regions, "
               << state.threads << " threads, " << state.residentKiB << " KiB";
}

}  // namespace orva::test
