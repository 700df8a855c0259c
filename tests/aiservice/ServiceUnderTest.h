/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <orva/AIServiceBase.h>
#include <orva/reference/NodeRegistry.h>

#include <functional>
#include <memory>
#include <vector>

#include "aiservice/AIServiceClientListener.h"
#include "aiservice/AIServiceHIDL.h"
#include "support/services/ServiceFakes.h"

namespace orva::hidl::test {

using Service = AIServiceHIDL;
using ClientInterface = IAIServiceListener;
using FrameworkListener = AIServiceClientListener;
using Script = ScriptOf<AIServiceListener>;
using FakeFramework = FakeOf<AIServiceBase, AIServiceListener>;

constexpr char kType[] = "fake";
constexpr char kInterface[] = "IAIService";
// How messages and those of results begin.
const std::string kName = "AIServiceHIDL";
const std::string kResult = "AIServiceHIDL OnProcessDone ";

inline void SetCreator(const std::function<AIServiceBase*()>& creator) {
    if (creator == nullptr) {
        reference::UnregisterNode(kType);
        return;
    }
    reference::RegisterNode(kType, [creator] { return std::shared_ptr<AIServiceBase>(creator()); });
}

// Sessions: what an Init of client 5 does and logs, what it undoes when the framework's fails, and
// what the end of the session does and the end of one that is not there.
const Entries kOpening = {"- CheckServiceNum", "S framework made", "S CreateIdleTimer",
                          "- framework Init", "- UpdateServiceTime 5"};
const Lines kOpeningLines = {Info("Init", "AIServiceHIDL Init")};
const Entries kUndoing = {"S RemoveServiceTime 5", "- framework gone"};
const Entries kEnding = {"S RemoveServiceTime 5", "S framework gone", "L listener unlinkToDeath"};
const Entries kEndingNothing = {"S RemoveServiceTime 5"};

// SetListener: what comes of a client's listener, and of the one that the framework gets.
const Lines kSetListenerLines;
const Entries kLinking = {"L listener linkToDeath 13398", "L UpdateServiceTime 5"};
const Lines kNoRecipient;
const Lines kNoFrameworkListener = {Error(
        "SetListener", "SetListener create client listener for service id: " + kId + " failed")};
const Entries kRegistering = {"- framework RegisterListener"};
const Entries kRegistered;
const Lines kRegisteringLines = {
        Info("SetListener", "AIServiceHIDL SetListener service " + kId + " set complete")};

// Results: the listener is called without a lock; what is logged until it is called, and of a
// framework listener that belongs to no service.
const std::string kDeliveryLock = "- ";
const Lines kDeliveryLines = {Info("OnProcessDone", kResult + kId + " call the listener")};
const Lines kReportLines;
const Lines kServiceDiedLines;

inline std::vector<Method> Methods(Service& service, const char* context) {
    return {{"Process",
             [&service, context](int32_t client, const auto& inputs, const auto& outputs) {
                 return static_cast<int32_t>(service.Process(client, context, inputs, outputs, -3));
             },
             "Process input tensor DeserializeFrom failed",
             "Process output tensor DeserializeFrom failed"}};
}

// Calls of client 5 that are a sign of its life.
inline std::vector<std::function<void()>> SignsOfLife(Service& service) {
    return {[&service] { service.Process(5, "", {}, {}, 0); }};
}

// What racing clients ask for besides.
inline void RaceOn(Service&, int32_t, const android::hardware::hidl_vec<AITensorHandle>&) {}

}  // namespace orva::hidl::test
