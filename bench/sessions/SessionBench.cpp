/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "sessions/SessionBench.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include <android/log.h>

#include "driver/ChildProcess.h"
#include "request/BenchHost.h"
#include "sessions/SessionClients.h"

namespace orva_bench {

namespace {

// Clients that are killed at about the same time.
constexpr uint32_t kKilledTogether = 8;

// How long the host may take to notice that clients have gone.
constexpr std::chrono::seconds kPatience{20};

class Host {
public:
    explicit Host(std::string directory)
            : directory_(std::move(directory)),
              process_(ChildProcess::Placement{}, [this](const Control& control) {
                  // Clients that die amid requests are what this is about, not news.
                  __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
                  return runBenchHost(control, directory_);
              }) {
        process_.awaitReady();
    }

    const std::string& directory() const { return directory_; }

    HostState state() const {
        HostState state;
        if (!process_.control().send(StateOrder{}) || !process_.control().receive(&state)) {
            throw std::runtime_error("the host has died");
        }
        return state;
    }

    // The state as soon as the host holds what it held before, or when that takes too long.
    HostState stateAfter(const HostState& before) const {
        const auto deadline = std::chrono::steady_clock::now() + kPatience;
        HostState now = state();
        while (!now.holdsAsMuchAs(before) && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            now = state();
        }
        return now;
    }

private:
    const std::string directory_;
    const ChildProcess process_;
};

using Clients = std::vector<std::unique_ptr<ChildProcess>>;

Clients startClients(uint32_t count, const ChildProcess::Main& main) {
    Clients clients;
    for (uint32_t i = 0; i < count; ++i) {
        clients.push_back(std::make_unique<ChildProcess>(ChildProcess::Placement{}, main));
    }
    for (const auto& client : clients) {
        client->awaitReady();
    }
    return clients;
}

void cycle(const Host& host, uint32_t rounds) {
    const ChildProcess client(ChildProcess::Placement{}, [&](const Control& control) {
        return runCyclingClient(control, host.directory());
    });
    client.awaitReady();
    RoundResult result;
    if (!client.control().send(RoundOrder{rounds}) || !client.control().receive(&result) ||
        !result.ok) {
        throw std::runtime_error("a session could not be opened and used");
    }
}

void killClients(const Host& host, uint32_t count) {
    for (uint32_t killed = 0; killed < count;) {
        const uint32_t together = std::min(kKilledTogether, count - killed);
        // Each is amid its requests from here to its end.
        startClients(together, [&](const Control& control) {
            return runDoomedClient(control, host.directory());
        });
        killed += together;
    }
}

}  // namespace

double SessionResult::kibPerSession(const SessionSettings& settings) const {
    return (static_cast<double>(idle.residentKib) - static_cast<double>(before.residentKib)) /
           settings.idleSessions;
}

bool SessionResult::nothingLeft() const {
    return closed.holdsAsMuchAs(before) && cycled.holdsAsMuchAs(before) &&
           killed.holdsAsMuchAs(before);
}

SessionResult runSessionBench(const SessionSettings& settings) {
    const Host host(settings.folder + "/services");
    const HostState fresh = host.state();
    cycle(host, 1);
    SessionResult result = {};
    result.before = host.stateAfter(fresh);
    {
        const uint32_t each = settings.idleSessions / settings.idleClients;
        const Clients idle = startClients(settings.idleClients, [&](const Control& control) {
            return runIdleClient(control, host.directory(), each);
        });
        result.idle = host.state();
    }
    result.closed = host.stateAfter(result.before);
    cycle(host, settings.cycles);
    result.cycled = host.stateAfter(result.before);
    killClients(host, settings.kills);
    result.killed = host.stateAfter(result.before);
    return result;
}

}  // namespace orva_bench
