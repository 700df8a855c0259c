/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <type_traits>

#include "common/UniqueFd.h"

namespace orva_bench {

// The driver's conversation with one of its child processes: records, each a packet, between which
// both sides sleep in the kernel.
class Control {
public:
    explicit Control(orva::hidl::UniqueFd socket) : socket_(std::move(socket)) {}

    // False when the other side has gone.
    template <typename T>
    bool send(const T& record) const {
        static_assert(std::is_trivially_copyable_v<T>);
        return ::send(socket_.Get(), &record, sizeof record, MSG_NOSIGNAL) == sizeof record;
    }
    template <typename T>
    bool receive(T* record) const {
        static_assert(std::is_trivially_copyable_v<T>);
        return ::recv(socket_.Get(), record, sizeof *record, 0) == sizeof *record;
    }

private:
    orva::hidl::UniqueFd socket_;
};

// Sent by a child once, when it is ready for orders.
struct Ready {
    bool ok;
};

// One round of a client: so many requests, one after the other.
struct RoundOrder {
    uint32_t requests;
};

// When the first request began and the last one was completed, on the monotonic clock.
struct RoundResult {
    int64_t beginNs;
    int64_t endNs;
    bool ok;
};

// Receives orders and answers each with the time that `request` takes so many times, until the
// driver goes or a request fails. `request` returns whether it was completed.
template <typename Request>
int obeyRoundOrders(const Control& control, const Request& request);

int64_t monotonicNs();

template <typename Request>
int obeyRoundOrders(const Control& control, const Request& request) {
    RoundOrder order;
    while (control.receive(&order)) {
        RoundResult result = {monotonicNs(), 0, true};
        for (uint32_t i = 0; i < order.requests && result.ok; ++i) {
            result.ok = request();
        }
        result.endNs = monotonicNs();
        if (!control.send(result) || !result.ok) {
            return 1;
        }
    }
    return 0;
}

}  // namespace orva_bench
