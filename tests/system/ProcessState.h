/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>

#include <sys/types.h>

namespace orva::test {

// What the kernel says that another process holds.
struct ProcessState {
    size_t descriptors = 0;
    size_t regions = 0;  // mappings of memory files
    size_t threads = 0;

    static ProcessState of(pid_t pid) {
        using std::filesystem::directory_iterator;
        const std::string process = "/proc/" + std::to_string(pid);
        const auto entriesOf = [](const std::string& folder) {
            return static_cast<size_t>(std::distance(directory_iterator(folder), {}));
        };
        ProcessState state = {entriesOf(process + "/fd"), 0, entriesOf(process + "/task")};
        std::ifstream maps(process + "/maps");
        for (std::string line; std::getline(maps, line);) {
            state.regions += line.find("/memfd:") != std::string::npos ? 1 : 0;
        }
        return state;
    }

    // Threads come and go with the load, within their pools' bounds, and are not compared.
    bool holdsAsMuchAs(const ProcessState& other) const {
        return descriptors == other.descriptors && regions == other.regions;
    }
};

inline std::ostream& operator<<(std::ostream& out, const ProcessState& state) {
    return out << state.descriptors << " descriptors, " << state.regions << " regions, "
               << state.threads << " threads";
}

}  // namespace orva::test
