/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "hidl"

#include <hidl/Status.h>

#include <ostream>

namespace android::hardware {

namespace {

std::string exceptionName(int32_t code) {
    switch (code) {
    case Status::EX_SECURITY:
        return "EX_SECURITY";
    case Status::EX_BAD_PARCELABLE:
        return "EX_BAD_PARCELABLE";
    case Status::EX_ILLEGAL_ARGUMENT:
        return "EX_ILLEGAL_ARGUMENT";
    case Status::EX_NULL_POINTER:
        return "EX_NULL_POINTER";
    case Status::EX_ILLEGAL_STATE:
        return "EX_ILLEGAL_STATE";
    case Status::EX_NETWORK_MAIN_THREAD:
        return "EX_NETWORK_MAIN_THREAD";
    case Status::EX_UNSUPPORTED_OPERATION:
        return "EX_UNSUPPORTED_OPERATION";
    case Status::EX_TRANSACTION_FAILED:
        return "EX_TRANSACTION_FAILED";
    default:
        return std::to_string(code);
    }
}

std::string errorName(status_t error) {
    switch (error) {
    case NO_MEMORY:
        return "NO_MEMORY";
    case INVALID_OPERATION:
        return "INVALID_OPERATION";
    case BAD_VALUE:
        return "BAD_VALUE";
    case BAD_TYPE:
        return "BAD_TYPE";
    case NAME_NOT_FOUND:
        return "NAME_NOT_FOUND";
    case PERMISSION_DENIED:
        return "PERMISSION_DENIED";
    case NO_INIT:
        return "NO_INIT";
    case ALREADY_EXISTS:
        return "ALREADY_EXISTS";
    case DEAD_OBJECT:
        return "DEAD_OBJECT";
    case FAILED_TRANSACTION:
        return "FAILED_TRANSACTION";
    case BAD_INDEX:
        return "BAD_INDEX";
    case NOT_ENOUGH_DATA:
        return "NOT_ENOUGH_DATA";
    case WOULD_BLOCK:
        return "WOULD_BLOCK";
    case TIMED_OUT:
        return "TIMED_OUT";
    case UNKNOWN_TRANSACTION:
        return "UNKNOWN_TRANSACTION";
    case FDS_NOT_ALLOWED:
        return "FDS_NOT_ALLOWED";
    case UNEXPECTED_NULL:
        return "UNEXPECTED_NULL";
    case UNKNOWN_ERROR:
        return "UNKNOWN_ERROR";
    default:
        return std::to_string(error);
    }
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
    std::string text = "Status(" + exceptionName(mException) + "): '";
    if (mException == EX_TRANSACTION_FAILED)
        text += errorName(mError) + ": ";
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
