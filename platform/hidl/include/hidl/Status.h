/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include <utils/Errors.h>

#include <hidl/HidlInternal.h>

namespace android::hardware {

/** How a call went: fine, an exception that the callee raised, or a failure of the transport. */
class Status final {
public:
    enum Exception : int32_t {
        EX_NONE = 0,
        EX_ILLEGAL_ARGUMENT = -3,
        EX_NULL_POINTER = -4,
        // Never travels: what the caller's own side makes of a transport error.
        EX_TRANSACTION_FAILED = -129,
    };

    Status() = default;

    static Status ok() { return Status(); }
    /** The code says it all; a text is not kept. */
    static Status fromExceptionCode(int32_t code, const char* message = nullptr);
    static Status fromStatusT(status_t error);

    void setFromStatusT(status_t error) { *this = fromStatusT(error); }

    bool isOk() const { return mException == EX_NONE; }
    int32_t exceptionCode() const { return mException; }
    /** OK unless the exception is EX_TRANSACTION_FAILED. */
    status_t transactionError() const { return mError; }

    std::string description() const;

private:
    int32_t mException = EX_NONE;
    status_t mError = OK;
};

template <typename T>
class Return;

namespace details {

/**
 * The status inside a Return. A failed one that nobody asked about ends the process when it goes:
 * a caller that ignores a dead peer would work on with values that were never sent.
 */
class return_status {
public:
    return_status() = default;
    return_status(Status status) : mStatus(status) {}
    return_status(const return_status&) = delete;
    return_status& operator=(const return_status&) = delete;
    return_status(return_status&& other) noexcept;
    return_status& operator=(return_status&& other) noexcept;
    ~return_status() { requireChecked(); }

    /** Counts as a check, whatever it answers. */
    bool isOk() const {
        mChecked = true;
        return mStatus.isOk();
    }
    /** Counts as a check, whatever it answers. */
    bool isDeadObject() const;
    std::string description() const { return mStatus.description(); }
    /** Ends the process when the call failed. */
    void assertOk() const {
        if (!isOk())
            failAssertion();
    }

private:
    template <typename From, typename To>
    friend Return<To> StatusOf(const Return<From>& failed);

    void requireChecked() const {
        if (!mChecked && !mStatus.isOk())
            failUnchecked();
    }
    [[noreturn]] void failUnchecked() const;
    [[noreturn]] void failAssertion() const;

    Status mStatus;
    mutable bool mChecked = false;
};

}  // namespace details

/** What a call returns: its value, or why there is none. Using the value of a failed call aborts.
 */
template <typename T>
class Return : public details::return_status {
public:
    Return(T value) : mValue(std::move(value)) {}
    Return(Status status) : return_status(status) {}

    operator T() const {
        assertOk();
        return mValue;
    }
    T withDefault(T fallback) const { return isOk() ? mValue : fallback; }

private:
    T mValue{};
};

template <>
class Return<void> : public details::return_status {
public:
    Return() = default;
    Return(Status status) : return_status(status) {}
};

inline Return<void> Void() {
    return Return<void>();
}

namespace details {

/** Hands a failed call's status on as another type's, where it must be checked again. */
template <typename From, typename To>
Return<To> StatusOf(const Return<From>& failed) {
    failed.mChecked = true;
    return Return<To>(failed.mStatus);
}

}  // namespace details

}  // namespace android::hardware
