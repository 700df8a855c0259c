/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "hidl"

#include <hidl/Status.h>

#include <ostream>

namespace android::hardware {

namespace {

struct Named {
    int32_t code;
    const char* name;
};

constexpr Named kExceptions[] = {
        {Status::EX_SECURITY, "EX_SECURITY"},
        {Status::EX_BAD_PARCELABLE, "EX_BAD_PARCELABLE"},
        {Status::EX_ILLEGAL_ARGUMENT, "EX_ILLEGAL_ARGUMENT"},
        {Status::EX_NULL_POINTER, "EX_NULL_POINTER"},
        {Status::EX_ILLEGAL_STATE, "EX_ILLEGAL_STATE"},
        {Status::EX_NETWORK_MAIN_THREAD, "EX_NETWORK_MAIN_THREAD"},
        {Status::EX_UNSUPPORTED_OPERATION, "EX_UNSUPPORTED_OPERATION"},
        {Status::EX_TRANSACTION_FAILED, "EX_TRANSACTION_FAILED"},
};

constexpr Named kErrors[] = {
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

template <size_t N>
std::string nameIn(const Named (&names)[N], int32_t code) {
    for (const Named& each : names) {
        if (each.code == code)
            return each.name;
    }
    return std::to_string(code);
}

}  // namespace

Status Status::fromExceptionCode(int32_t code, const char* message) {
    Status status;
    status.setException(code, message);
    return status;
}

Status Status::fromStatusT(status_t error) {
    Status status;
    status.setFromStatusT(error);
    return status;
}

void Status::setException(int32_t code, const std::string& message) {
    mException = code;
    mError = code == EX_TRANSACTION_FAILED ? FAILED_TRANSACTION : OK;
    mMessage = message;
}

void Status::setFromStatusT(status_t error) {
    mException = error == OK ? EX_NONE : EX_TRANSACTION_FAILED;
    mError = error;
    mMessage.clear();
}

// In the words that a device's logs have, which people search for.
std::string Status::description() const {
    if (isOk())
        return "No error";
    std::string text = "Status(" + nameIn(kExceptions, mException) + "): '";
    if (mException == EX_TRANSACTION_FAILED)
        text += nameIn(kErrors, mError) + ": ";
    return text + mMessage + "'";
}

std::ostream& operator<<(std::ostream& out, const Status& status) {
    return out << status.description();
}

namespace details {

return_status::return_status(return_status&& other) noexcept
        : mStatus(std::move(other.mStatus)), mChecked(std::exchange(other.mChecked, true)) {}

return_status& return_status::operator=(return_status&& other) noexcept {
    if (this != &other) {
        requireChecked();
        mStatus = std::move(other.mStatus);
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
