/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <orva/AIServiceBase.h>
#include <orva/reference/NodeRegistry.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "aiservice/AIServiceHIDL.h"
#include "services/ServiceFakes.h"

namespace orva::hidl::test {

using Service = AIServiceHIDL;
using ClientInterface = IAIServiceListener;
using FrameworkListener = AIServiceClientListener;
using Script = ScriptOf<AIServiceListener>;
using FakeFramework = FakeOf<AIServiceBase, Script, AIServiceListener>;

constexpr char kTag[] = "AIServiceHIDL";
const std::string kType = "fake";
const std::string kInterface = "IAIService";
// A configuration, which ends at its first NUL; "a" is "b" in it.
const android::hardware::hidl_string kConfig(std::string("{\"a\":\"b\"}\0never read", 20));
// How messages and those of results begin.
const std::string kName = "AIServiceHIDL";
const std::string kResult = "I OnProcessDone: AIServiceHIDL OnProcessDone ";

inline void SetCreator(const std::function<AIServiceBase*()>& creator) {
    if (creator == nullptr) {
        reference::UnregisterNode(kType);
        return;
    }
    reference::RegisterNode(kType, [creator] { return std::shared_ptr<AIServiceBase>(creator()); });
}

inline auto& Sessions(Service& service) ORVA_NO_THREAD_SAFETY_ANALYSIS {
    return service.serviceNodes;
}
inline Mutex& SessionLock(Service& service) {
    return service.serviceMutex;
}

// The steps of an Init, what it undoes when the framework's fails, and those of a session's end
// (with and without one).
const std::string kAdmitted;
const std::string kMade = "S framework made\nS CreateIdleTimer\n";
const std::string kInitialised = "- framework Init\n";
const std::string kUndone = "S RemoveServiceTime 5\n- framework gone\n";
const std::string kGone = "S RemoveServiceTime 5\nS framework gone\nL listener unlinkToDeath\n";
const std::string kNothingGone = "S RemoveServiceTime 5\n";

// The steps of SetListener: the client's listener, and the one that the framework gets.
const std::string kSetting;
const std::string kLinked = "L listener linkToDeath 13398\nL UpdateServiceTime 5\n";
const std::string kNoRecipient;
const std::string kNoFrameworkListener =
        "E SetListener: SetListener create client listener for service id: PID:5 failed\n";
const std::string kRefusedByFramework =
        "- framework RegisterListener\n"
        "I SetListener: AIServiceHIDL SetListener service PID:5 set complete\n";
const std::string kRegistered = kRefusedByFramework;

// A result: what the framework's listener says, and how the client's is called, without a lock.
const std::string kReported;
const std::string kDelivered = "- listener OnProcessDone ";
// Whether a result's context is copied before it is serialised, for the log and for the client.
constexpr bool kSerializesCopies = false;
const std::string kServiceDied;

inline std::vector<Method> Methods(Service& service, const char* context) {
    return {{"Process",
             [&service, context](auto client, auto& inputs, auto& outputs) -> int32_t {
                 return service.Process(client, context, inputs, outputs, -3);
             },
             "tensor", false, false}};
}

inline void AskMore(Service&, int32_t, const Tensors&) {}

}  // namespace orva::hidl::test
