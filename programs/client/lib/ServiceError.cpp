/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/lib/ServiceError.h"

#include <orva/reference/NodeStatus.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include "client/lib/HostSocket.h"
#include "client/lib/StateDump.h"
#include "client/lib/TimeLimit.h"

namespace orva::client {

namespace {

// 1 and 2 are the services' own; the rest is the framework's.
constexpr int32_t kLastOfServices = 2;

const char* meaningOf(int32_t status) {
    switch (status) {
    case 1:
        return "refused by the service";
    case 2:
        return "no such session";
    case reference::kNodeNotReady:
        return "not set up for that";
    case reference::kNodeBadModel:
        return "no model that can run here";
    case reference::kNodeBadConfig:
        return "a configuration without meaning";
    case reference::kNodeBadRequest:
        return "tensors that do not fit";
    case reference::kNodeFailed:
        return "the engine gave up";
    case reference::kNodeStopped:
        return "shut down meanwhile";
    case reference::kNodeTimedOut:
        return "it took longer than the host allows";
    case reference::kNodeBusy:
        return "too many requests wait already";
    default:
        return nullptr;
    }
}

// Empty when the service names none.
std::string latestRefusal(const Refuser& refuser, int32_t status) {
    const std::string pid = std::to_string(getpid());
    const nlohmann::json state = nlohmann::json::parse(
            stateOf(*refuser.service, {"--json", "--client", pid}), nullptr, false);
    // A listener's call has the session's number negated.
    const std::string numbers[] = {std::to_string(refuser.clientId),
                                   std::to_string(-refuser.clientId)};
    std::string reason;
    for (const auto& refusal : state.at("latest_refusals")) {
        const std::string client = refusal.at("client");
        if (refusal.at("status") == status &&
            (client == pid + ":" + numbers[0] || client == pid + ":" + numbers[1])) {
            reason = refusal.at("text");
        }
    }
    return reason;
}

// Empty when the host's framework says nothing.
std::string frameworkReason(const Refuser& refuser) {
    pid_t host = 0;
    refuser.service->getDebugInfo([&](const auto& info) { host = info.pid; }).isOk();
    const std::string pid = std::to_string(getpid());
    // While a session is opened its number is not known there.
    const std::string marks[] = {pid + ":" + std::to_string(refuser.clientId) + ": ",
                                 "process " + pid + ": "};
    std::string reason;
    for (const std::string& error : frameworkErrors(host)) {
        for (const std::string& mark : marks) {
            if (error.rfind(mark, 0) == 0) {
                reason = error.substr(mark.size());
            }
        }
    }
    return reason;
}

// Empty where it has gone, is too busy, or shows no such thing.
template <typename Ask>
std::string orNothing(const Ask& ask) {
    try {
        return ask();
    } catch (const std::exception&) {
        return "";
    }
}

}  // namespace

std::string statusText(int32_t status) {
    const char* const meaning = meaningOf(status);
    return "status " + std::to_string(status) +
           (meaning != nullptr ? " (" + std::string(meaning) + ")" : "");
}

void requireSuccess(int32_t status, const std::string& asked, const Refuser& refuser) {
    if (status != 0) {
        throw ServiceError(asked + " failed with " + statusText(status), status, refuser);
    }
}

std::string whyRefused(const Refuser& refuser, int32_t status) {
    std::string reason;
    if (refuser.service != nullptr) {
        reason = orNothing([&] { return latestRefusal(refuser, status); });
        if (status > kLastOfServices || reason.empty()) {
            const std::string more = orNothing([&] { return frameworkReason(refuser); });
            reason += (reason.empty() || more.empty() ? "" : ": ") + more;
        }
    }
    return reason.empty() ? "; the host's log says why" : ": " + reason;
}

void requireResult(int32_t result, const std::string& context) {
    if (result != 0) {
        const auto said = nlohmann::json::parse(context, nullptr, false);
        const auto reason = said.is_object() ? said.find("reason") : said.end();
        throw ServiceError(
                "the request failed with " + statusText(result), result, {},
                reason != said.end() && reason->is_string() ? reason->get<std::string>() : "");
    }
}

std::string ServiceError::explained() const {
    if (!reason_.empty()) {
        return what() + (": " + reason_);
    }
    return what() + (status_ > 0 ? whyRefused(refuser_, status_) : std::string());
}

void throwNoAnswer(const std::string& asked, std::chrono::nanoseconds taken,
                   const std::string& why) {
    const std::chrono::milliseconds limit = timeLimit();
    const bool late = limit.count() > 0 && taken >= limit;
    throw ServiceError(asked + ": " +
                               (late ? tooLong("the service did not answer", limit)
                                     : "the call did not come through (" + why + ")"),
                       -1);
}

}  // namespace orva::client
