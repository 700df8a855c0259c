/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "debug/ServiceActivity.h"

#include <cstring>

namespace orva::hidl {

namespace {

// Clients choose it, and each session keeps it.
constexpr size_t kLongestType = 64;

}  // namespace

const char* RefusalName(Refusal reason) {
    switch (reason) {
    case Refusal::kClientLimit:
        return "client_limit";
    case Refusal::kSessionLimit:
        return "session_limit";
    case Refusal::kUnknownType:
        return "unknown_type";
    case Refusal::kModelRegion:
        return "model_region";
    case Refusal::kInit:
        return "framework_init";
    case Refusal::kNoSession:
        return "no_session";
    case Refusal::kInputTensor:
        return "input_tensor";
    case Refusal::kOutputTensor:
        return "output_tensor";
    case Refusal::kRequest:
        return "framework_request";
    case Refusal::kListenerSet:
        return "listener_already_set";
    case Refusal::kMemory:
        return "out_of_memory";
    case Refusal::kNoListener:
        return "result_without_listener";
    case Refusal::kLostOutput:
        return "output_not_sent";
    case Refusal::kDelivery:
        return "listener_not_reached";
    case Refusal::kBuildTooLarge:
        return "build_too_large";
    case Refusal::kBuildRegion:
        return "build_region";
    case Refusal::kBuild:
        return "framework_build";
    case Refusal::kCount_:
        break;
    }
    return "";
}

SessionActivity::SessionActivity(ServiceActivity& service, const char* type)
        : service_(service), type_(type, strnlen(type, kLongestType)) {}

void SessionActivity::RequestStarts() {
    ServiceActivity::Add(started_);
    ServiceActivity::Add(service_.started_);
}

void SessionActivity::RequestIsDone() {
    End();
    ServiceActivity::Add(done_);
    ServiceActivity::Add(service_.done_);
}

void SessionActivity::RequestIsRefused(Refusal reason) {
    End();
    service_.Refuse(reason);
}

void SessionActivity::End() {
    ServiceActivity::Add(ended_);
    ServiceActivity::Add(service_.ended_);
}

void EndSession(SessionActivities& sessions, const std::string& serviceId) {
    const auto found = sessions.find(serviceId);
    if (found != sessions.end()) {
        found->second->SessionEnds();
        sessions.erase(found);
    }
}

}  // namespace orva::hidl
