/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Payload.h"
#include "driver/ChildProcess.h"

namespace orva_bench {

// A server and its clients, all on one core, asleep but for their rounds.
class Contestant {
public:
    enum class Log {
        kWarnings,           // the host logs what is wrong, and so nothing
        kProgressToNowhere,  // it logs each step of each request, to /dev/null
    };

    // The system calls without which the work cannot be done. Throws when it cannot be started,
    // as does the next.
    static Contestant floor(const Load& load, const ChildProcess::Placement& placement,
                            const std::string& folder);
    // The services in a host of their own, with sessions on nodes of the type.
    static Contestant services(const Load& load, const ChildProcess::Placement& placement,
                               const std::string& folder, const std::string& nodeType, Log log);

    // Has the clients send `requests` in all, at once, and tells how long a request took on
    // average, in microseconds. Throws std::runtime_error when one failed.
    double round(uint32_t requests) const;

private:
    Contestant(const ChildProcess::Placement& placement, const ChildProcess::Main& server,
               const ChildProcess::Main& client, size_t clients);

    // The server ends first, or it would see its clients die.
    std::vector<std::unique_ptr<ChildProcess>> clients_;
    std::unique_ptr<ChildProcess> server_;
};

}  // namespace orva_bench
