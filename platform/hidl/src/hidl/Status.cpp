/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "hidl"

#include <hidl/Status.h>

namespace android::hardware {

namespace {

std::string nameOf(status_t error) {
    static constexpr struct {
        status_t error;
        const char* name;
    } kNames[] = {
            {NO_MEMORY, "NO_MEMORY"},
            {INVALID_OPERATION, "INVALID_OPERATION"},
            {BAD_VALUE, "BAD_VALUE"},
            {BAD_TYPE, "BAD_TYPE"},
            {NAME_NOT_FOUND, "NAME_NOT_FOUND"},
            {PERMISSION_DENIED, "PERMISSION_DENIED"},
            {NO_INIT, "NO_INIT"},
            {ALREADY_EXISTS, "ALREADY_EXISTS"},
            {DEAD_OBJECT, "DEAD_OBJECT"},
            {FAILED_TRANSACTION, "FAILED_TRANSACTION"},
            {BAD_INDEX, "BAD_INDEX"},
            {NOT_ENOUGH_DATA, "NOT_ENOUGH_DATA"},
            {WOULD_BLOCK, "WOULD_BLOCK"},
            {TIMED_OUT, "TIMED_OUT"},
            {UNKNOWN_TRANSACTION, "UNKNOWN_TRANSACTION"},
            {FDS_NOT_ALLOWED, "FDS_NOT_ALLOWED"},
            {UNEXPECTED_NULL, "UNEXPECTED_NULL"},
            {UNKNOWN_ERROR, "UNKNOWN_ERROR"},
    };
    for (const auto& each : kNames) {
        if (each.error == error)
            return each.name;
    }
    return std::to_string(error);
}

}  // namespace

Status Status::fromExceptionCode(int32_t code, const char* /*message*/) {
    Status status;
    status.mException = code;
    status.mError = code == EX_TRANSACTION_FAILED ? FAILED_TRANSACTION : OK;
    return status;
}

Status Status::fromStatusT(status_t error) {
    Status status;
    status.mException = error == OK ? EX_NONE : EX_TRANSACTION_FAILED;
    status.mError = error;
    return status;
}

// In the words that a device's logs have, which people search for.
std::string Status::description() const {
    switch (mException) {
    case EX_NONE:
        return "No error";
    case EX_NULL_POINTER:
        return "Status(EX_NULL_POINTER): ''";
    case EX_TRANSACTION_FAILED:
        return "Status(EX_TRANSACTION_FAILED): '" + nameOf(mError) + ": '";
    default:
        return "Status(" + std::to_string(mException) + "): ''";
    }
}

namespace details {

return_status::return_status(return_status&& other) noexcept
        : mStatus(other.mStatus), mChecked(std::exchange(other.mChecked, true)) {}

return_status& return_status::operator=(return_status&& other) noexcept {
    if (this != &other) {
        requireChecked();
        mStatus = other.mStatus;
        mChecked = std::exchange(other.mChecked, true);
    }
    return *this;
}

bool return_status::isDeadObject() const {
    mChecked = true;
    return mStatus.transactionError() == DEAD_OBJECT;
}

void return_status::failUnchecked() const {
    logAlwaysFatal(("A HIDL call failed and nobody checked: " + description()).c_str());
}

void return_status::failAssertion() const {
    logAlwaysFatal(("The result of a failed HIDL call was used: " + description()).c_str());
}

}  // namespace details

}  // namespace android::hardware
