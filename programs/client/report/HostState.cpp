/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/report/HostState.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <unistd.h>
#include <nlohmann/json.hpp>

#include "client/report/Latency.h"

namespace orva::client {

namespace {

constexpr size_t kRefusalsShown = 3;

using nlohmann::json;

uint64_t numberAt(const json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_number() ? found->get<uint64_t>() : 0;
}

json groupAt(const json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_object() ? *found : json::object();
}

RequestState requestsIn(const json& object) {
    const uint64_t taken = numberAt(object, "taken_us");
    return {numberAt(object, "in_flight"), numberAt(object, "done"), taken, taken};
}

template <typename State, typename Same>
const State* find(const std::vector<State>& states, const Same& same) {
    const auto found = std::find_if(states.begin(), states.end(), same);
    return found == states.end() ? nullptr : &*found;
}

const ServiceState* sameService(const std::vector<ServiceState>& states,
                                const ServiceState& service) {
    return find(states, [&](const ServiceState& other) {
        return other.name == service.name && other.pid == service.pid;
    });
}

const SessionState* sameSession(const ServiceState* service, const std::string& id) {
    return service == nullptr ? nullptr : find(service->sessions, [&](const SessionState& other) {
        return other.id == id;
    });
}

void follow(const RequestState& before, RequestState* now) {
    now->takenThen = now->done == before.done ? before.takenThen : now->taken;
}

std::string latencyText(const std::optional<double>& latency) {
    char text[32] = "-";
    if (latency) {
        snprintf(text, sizeof text, "%.2f", *latency);
    }
    return text;
}

std::string programOf(pid_t pid) {
    const auto facts = processFacts(pid);
    return facts ? facts->program : "gone";
}

}  // namespace

double RequestState::rateSince(const RequestState& before, double seconds) const {
    return done >= before.done && seconds > 0 ? static_cast<double>(done - before.done) / seconds
                                              : 0;
}

std::optional<double> RequestState::latencySince(const RequestState& before) const {
    // It starts again far below what 64 bits hold.
    if (done <= before.done || taken < before.takenThen) {
        return std::nullopt;
    }
    return static_cast<double>(taken - before.takenThen) / 1000 /
           static_cast<double>(done - before.done);
}

pid_t SessionState::pid() const {
    return static_cast<pid_t>(std::strtol(id.c_str(), nullptr, 10));
}

ServiceState serviceStateOf(const std::string& dump) {
    const json state = json::parse(dump, nullptr, false);
    if (!state.is_object()) {
        throw std::runtime_error("the service shows no state");
    }
    ServiceState result;
    result.name = state.value("service", "");
    result.pid = static_cast<pid_t>(numberAt(state, "pid"));
    result.age = state.value("age_s", 0.0);
    result.requests = requestsIn(groupAt(state, "requests"));
    result.mappedBytes = numberAt(groupAt(state, "held"), "mapped_bytes");
    result.refusals = numberAt(state, "refusals");
    for (const json& session : state.value("sessions", json::array())) {
        result.sessions.push_back(
                {session.value("id", ""), session.value("type", ""), requestsIn(session)});
    }
    for (const json& refusal : state.value("latest_refusals", json::array())) {
        result.latestRefusals.push_back({refusal.value("ago_s", 0.0), refusal.value("client", ""),
                                         refusal.value("program", ""), refusal.value("method", ""),
                                         refusal.value("status", int64_t{0}),
                                         refusal.value("text", "")});
    }
    return result;
}

std::optional<ProcessFacts> processFacts(pid_t pid) {
    const std::string folder = "/proc/" + std::to_string(pid);
    ProcessFacts facts;
    if (pid <= 0 || !std::getline(std::ifstream(folder + "/comm"), facts.program)) {
        return std::nullopt;
    }
    // It is the process's to choose, and must not lead a terminal.
    std::replace_if(
            facts.program.begin(), facts.program.end(),
            [](unsigned char c) { return c < 0x20 || c >= 0x7f; }, '?');
    std::ifstream status(folder + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("Threads:", 0) == 0) {
            facts.threads = static_cast<unsigned>(std::strtoul(line.c_str() + 8, nullptr, 10));
        } else if (line.rfind("VmRSS:", 0) == 0) {
            facts.residentBytes = std::strtoull(line.c_str() + 6, nullptr, 10) * 1024;
        }
    }
    return facts;
}

void follow(const std::vector<ServiceState>& before, std::vector<ServiceState>* now) {
    for (ServiceState& service : *now) {
        const ServiceState* const then = sameService(before, service);
        if (then == nullptr) {
            continue;
        }
        follow(then->requests, &service.requests);
        for (SessionState& session : service.sessions) {
            if (const SessionState* const earlier = sameSession(then, session.id)) {
                follow(earlier->requests, &session.requests);
            }
        }
    }
}

std::string watchText(const std::vector<ServiceState>& before, const std::vector<ServiceState>& now,
                      double seconds, size_t width) {
    std::string text;
    const auto line = [&](const char* format, auto... values) {
        char whole[256];
        const int size = snprintf(whole, sizeof whole, format, values...);
        text.append(whole,
                    std::min({static_cast<size_t>(std::max(size, 0)), sizeof whole - 1, width}));
        text += '\n';
    };
    if (!now.empty()) {
        const auto facts = processFacts(now[0].pid).value_or(ProcessFacts{"gone", 0, 0});
        line("%s %d", facts.program.c_str(), now[0].pid);
        line("up %.0f s, %u threads, %s", now[0].age, facts.threads,
             sizeText(facts.residentBytes).c_str());
        line("tensors mapped: %s", sizeText(now[0].mappedBytes).c_str());
    }
    for (const ServiceState& service : now) {
        const ServiceState* const then = sameService(before, service);
        const RequestState& requests = service.requests;
        const RequestState& earlier = then != nullptr ? then->requests : requests;
        line("%s", "");
        line("%s", service.name.c_str());
        line("%10.1f requests/s, %llu at work", requests.rateSince(earlier, seconds),
             static_cast<unsigned long long>(requests.inFlight));
        line("%10s ms each in the mean", latencyText(requests.latencySince(earlier)).c_str());
        line("%10llu done, %llu refused", static_cast<unsigned long long>(requests.done),
             static_cast<unsigned long long>(service.refusals));
        for (size_t i = service.latestRefusals.size(), shown = 0; i > 0 && shown < kRefusalsShown;
             --i, ++shown) {
            const RefusalState& refusal = service.latestRefusals[i - 1];
            line("%8.0f s ago: %s %s, %s = %lld", refusal.ago, refusal.client.c_str(),
                 refusal.program.c_str(), refusal.method.c_str(),
                 static_cast<long long>(refusal.status));
            line("%15s%s", "", refusal.text.c_str());
        }
        if (service.sessions.empty()) {
            continue;
        }
        line("%-9s %9s %7s %4s %s", "SESSION", "REQUEST/S", "MEAN MS", "WORK", "PROGRAM, TYPE");
        for (const SessionState& session : service.sessions) {
            const SessionState* const known = sameSession(then, session.id);
            const RequestState& done = session.requests;
            const RequestState& before = known != nullptr ? known->requests : done;
            line("%-9s %9.1f %7s %4llu %s, %s", session.id.c_str(), done.rateSince(before, seconds),
                 latencyText(done.latencySince(before)).c_str(),
                 static_cast<unsigned long long>(done.inFlight), programOf(session.pid()).c_str(),
                 session.type.c_str());
        }
    }
    return text;
}

}  // namespace orva::client
