/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <set>
#include <string>

#include <nlohmann/json.hpp>

#include "client/trace/TracedCall.h"

namespace orva::client {

// Writes calls, as they come, into a file of Chrome's trace format, which trace viewers show on a
// time line: a group for each client, in it a line for each thread of the host with calls and
// callbacks, and the client's requests with how long they waited and ran, where their results say
// that. Used by one thread at a time.
class ChromeTrace {
public:
    // Throws std::system_error, naming the file, when it cannot be written, now or later.
    explicit ChromeTrace(const std::string& path);
    // One that has not ended is shown as if it had, at `now`.
    void add(const TracedCall& call, TracedCall::Time now);
    void addLost(uint64_t count, TracedCall::Time at);
    // Ends the file. Without it most viewers still show it.
    void close();

private:
    void put(const nlohmann::ordered_json& event);
    void name(const TracedCall& call);
    void addService(const TracedCall& call);
    [[noreturn]] void fail() const;

    struct CloseFile {
        void operator()(FILE* file) const { fclose(file); }
    };

    const std::string path_;
    std::unique_ptr<FILE, CloseFile> file_;
    bool first_ = true;
    std::set<pid_t> clients_;
    std::set<std::pair<pid_t, pid_t>> threads_;  // of the host, by client
};

}  // namespace orva::client
