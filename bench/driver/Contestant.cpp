/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "driver/Contestant.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <stdexcept>

#include <android/log.h>

#include "floor/FloorClient.h"
#include "floor/FloorServer.h"
#include "request/BenchClient.h"
#include "request/BenchHost.h"

namespace orva_bench {

namespace {

void setLog(Contestant::Log log) {
    if (log == Contestant::Log::kWarnings) {
        __android_log_set_minimum_priority(ANDROID_LOG_WARN);
        return;
    }
    __android_log_set_minimum_priority(ANDROID_LOG_INFO);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
}

}  // namespace

Contestant::Contestant(const ChildProcess::Placement& placement, const ChildProcess::Main& server,
                       const ChildProcess::Main& client, size_t clients)
        : server_(std::make_unique<ChildProcess>(placement, server)) {
    server_->awaitReady();
    for (size_t i = 0; i < clients; ++i) {
        clients_.push_back(std::make_unique<ChildProcess>(placement, client));
        clients_.back()->awaitReady();
    }
}

Contestant Contestant::floor(const Load& load, const ChildProcess::Placement& placement,
                             const std::string& folder) {
    const std::string path = folder + "/floor";
    unlink(path.c_str());
    return Contestant(
            placement, [&](const Control& control) { return runFloorServer(control, path, load); },
            [&](const Control& control) { return runFloorClient(control, path, load); },
            load.clients);
}

Contestant Contestant::services(const Load& load, const ChildProcess::Placement& placement,
                                const std::string& folder, const std::string& nodeType, Log log) {
    const std::string directory = folder + "/services";
    return Contestant(
            placement,
            [&](const Control& control) {
                setLog(log);
                return runBenchHost(control, directory);
            },
            [&](const Control& control) {
                setLog(Log::kWarnings);
                return runBenchClient(control, directory, nodeType, load);
            },
            load.clients);
}

double Contestant::round(uint32_t requests) const {
    const auto each = std::max<uint32_t>(requests / static_cast<uint32_t>(clients_.size()), 1);
    for (const auto& client : clients_) {
        client->control().send(RoundOrder{each});
    }
    int64_t begin = std::numeric_limits<int64_t>::max();
    int64_t end = 0;
    for (const auto& client : clients_) {
        RoundResult result;
        if (!client->control().receive(&result) || !result.ok) {
            throw std::runtime_error("a request of the benchmark failed");
        }
        begin = std::min(begin, result.beginNs);
        end = std::max(end, result.endNs);
    }
    return static_cast<double>(end - begin) / 1000 / each / static_cast<double>(clients_.size());
}

}  // namespace orva_bench
