/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/Status.h>
#include <utils/StrongPointer.h>

namespace orva::client {

// Who can say more of a refusal: a service, and the session that it refused something.
struct Refuser {
    android::sp<android::hidl::base::V1_0::IBase> service;
    int32_t clientId = 0;
};

// What a service or its transport answered when it was not success; the message says what was asked
// and what came.
class ServiceError : public std::runtime_error {
public:
    ServiceError(const std::string& what, int32_t status, Refuser refuser = {},
                 std::string reason = "")
            : std::runtime_error(what),
              status_(status),
              refuser_(std::move(refuser)),
              reason_(std::move(reason)) {}
    // The service's status; -1 when the transport failed.
    int32_t status() const { return status_; }

    // The message, and why it was so: the reason, where that is known, or what the service says.
    std::string explained() const;

private:
    const int32_t status_;
    const Refuser refuser_;
    const std::string reason_;
};

// For messages: "status 103 (the tensors do not fit)".
std::string statusText(int32_t status);

// For messages, after what was refused: ": create AIService type nope error", the latest refusal of
// that session with that status, and what the host's framework said last of that session or, while
// it is opened, of this process; or, where neither is known, that the host's log says why.
std::string whyRefused(const Refuser& refuser, int32_t status);

// Throws that a call, named by `asked`, did not come through: the service took longer than the time
// limit, died, or could not be told.
[[noreturn]] void throwNoAnswer(const std::string& asked, std::chrono::nanoseconds taken,
                                const std::string& why);

// Makes a call and returns its answer; throws ServiceError when it did not come through.
template <typename Call>
auto answerTo(const std::string& asked, const Call& call) {
    const auto begin = std::chrono::steady_clock::now();
    auto answer = call();
    if (!answer.isOk()) {
        throwNoAnswer(asked, std::chrono::steady_clock::now() - begin, answer.description());
    }
    return answer;
}

// Throws ServiceError when a service has answered with a status that is not 0.
void requireSuccess(int32_t status, const std::string& asked, const Refuser& refuser = {});
// The same of a result's status, whose context may have the reason, as "reason".
void requireResult(int32_t result, const std::string& context);
// The same of a call that answers a status, or does not come through.
template <typename Call, typename = decltype(std::declval<Call>()())>
void requireSuccess(const std::string& asked, const Refuser& refuser, const Call& call) {
    requireSuccess(static_cast<int32_t>(answerTo(asked, call)), asked, refuser);
}

}  // namespace orva::client
