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
#include "support/services/Racing.h"
#include "support/services/ServiceFakes.h"

namespace orva::hidl::test {

using Service = AIServiceHIDL;
using ClientInterface = IAIServiceListener;
using FrameworkObject = AIServiceBase;
using FrameworkListener = AIServiceClientListener;
using Script = ScriptOf<AIServiceListener>;
using FakeFramework = FakeOf<AIServiceBase, AIServiceListener>;
using RacingFramework = RacingOf<AIServiceBase, AIServiceListener>;

constexpr char kType[] = "fake";
constexpr char kInterface[] = "IAIService";
// How messages and those of results begin.
const std::string kName = "AIServiceHIDL";
const std::string kResult = "AIServiceHIDL OnProcessDone ";

inline void SetCreator(const std::function<FrameworkObject*()>& creator) {
    if (creator == nullptr) {
        reference::UnregisterNode(kType);
        return;
    }
    reference::RegisterNode(kType, [creator] { return std::shared_ptr<AIServiceBase>(creator()); });
}

// Sessions: what an Init does and logs, what it undoes when the framework's fails, and what the end
// of a session does and the end of one that is not there.
inline Entries Opening(int32_t client) {
    return {"- CheckServiceNum", "S framework made", "S CreateIdleTimer", "- framework Init",
            "- UpdateServiceTime " + IdOf(client)};
}
const Lines kOpeningLines = {Info("Init", "AIServiceHIDL Init")};
inline Entries Undoing(int32_t client) {
    return {"S RemoveServiceTime " + IdOf(client), "- framework gone"};
}
inline Entries Ending(int32_t client) {
    return {"S RemoveServiceTime " + IdOf(client), "S framework gone", "L listener unlinkToDeath"};
}
inline Entries EndingNothing(int32_t client) {
    return {"S RemoveServiceTime " + IdOf(client)};
}

// SetListener: what comes of a client's listener, and of the one that the framework gets.
const Lines kSetListenerLines;
inline Entries Linking(int32_t client) {
    return {"L listener linkToDeath 13398", "L UpdateServiceTime " + IdOf(client)};
}
const Lines kNoRecipient;
inline Lines NoFrameworkListener(int32_t client) {
    return {Error("SetListener", "SetListener create client listener for service id: " +
                                         IdOf(client) + " failed")};
}
inline Entries Registering(int32_t /*client*/, bool /*accepted*/) {
    return {"- framework RegisterListener"};
}
inline Lines RegisteringLines(int32_t client) {
    return {Info("SetListener",
                 "AIServiceHIDL SetListener service " + IdOf(client) + " set complete")};
}

// Results: the listener is called without a lock; what is logged until it is called, and of a
// framework listener that belongs to no service.
const std::string kDeliveryLock = "- ";
inline Lines DeliveryLines(int32_t client, const std::string& /*context*/) {
    return {Info("OnProcessDone", kResult + IdOf(client) + " call the listener")};
}
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

// Calls for client 5 that are a sign of its life.
inline std::vector<std::function<void()>> SignsOfLife(Service& service) {
    return {[&service] { service.Process(5, "", {}, {}, 0); }};
}

// What racing clients ask for besides; how many requests were accepted.
inline size_t RaceOn(Service&, int32_t, const android::hardware::hidl_vec<AITensorHandle>&) {
    return 0;
}

}  // namespace orva::hidl::test
