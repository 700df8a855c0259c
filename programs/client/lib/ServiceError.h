/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include <hidl/Status.h>

namespace orva::client {

// What a service or its transport answered when it was not success; the message says what was asked
// and what came.
class ServiceError : public std::runtime_error {
public:
    ServiceError(const std::string& what, int32_t status)
            : std::runtime_error(what), status_(status) {}
    // The service's status; -1 when the transport failed.
    int32_t status() const { return status_; }

private:
    const int32_t status_;
};

// For messages: "status 103 (the tensors do not fit)".
std::string statusText(int32_t status);

// Throws ServiceError when a call did not come through. `asked` names it.
template <typename T>
void requireAnswer(const android::hardware::Return<T>& answer, const std::string& asked) {
    if (!answer.isOk()) {
        throw ServiceError(asked + ": " + answer.description(), -1);
    }
}
// The same, and when the service answered with a status that is not 0.
void requireSuccess(int32_t status, const std::string& asked);
void requireSuccess(const android::hardware::Return<int32_t>& answer, const std::string& asked);

}  // namespace orva::client
