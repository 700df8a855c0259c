/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <string>

#include <onnxruntime_cxx_api.h>

namespace orva::reference {

// Where one run's time goes, by the engine's own account, which it writes to a file: in a folder of
// this object's own, away again with it. The run takes longer for it.
class RunProfile {
public:
    // Rows of a table, and the most of a file that is read for one.
    static constexpr size_t kMostRows = 20;
    static constexpr size_t kMostBytes = size_t{64} << 20;

    // For the run that is given the options. One run of the process is looked at at a time, for the
    // sake of the disk; another one that begins meanwhile goes without a table.
    explicit RunProfile(Ort::RunOptions& options);

    // After the run: its slowest nodes, the slowest first, as a JSON array of objects with "node",
    // "operator", "calls" and "micros". Empty where the account is missing or too long.
    std::string Table() const;

private:
    // A folder for the one run that is looked at; none for others.
    class Folder {
    public:
        Folder();
        ~Folder();
        Folder(const Folder&) = delete;
        Folder& operator=(const Folder&) = delete;

        const std::string& path() const { return path_; }

    private:
        const bool only_;
        std::string path_;
    };

    const Folder folder_;
};

}  // namespace orva::reference
