/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>

#include <orva/reference/Cancellation.h>

#include "client/Client.h"

namespace orva::reference {

// A piece of work under way on this thread for a client, from its making to its end. It is
// cancelled when its time is up and when the client's process has ended, both within a second.
class Work {
public:
    using Clock = std::chrono::steady_clock;

    // How long cancelled work may take to end before it is given up.
    static constexpr std::chrono::seconds kGrace{2};

    // A limit of 0 is none. `onGivenUp` is called once, on another thread, if the work goes on
    // although it was cancelled; not after this object is gone. It must be quick, and must not
    // throw.
    Work(std::shared_ptr<Client> client, std::chrono::nanoseconds limit,
         std::function<void()> onGivenUp = {});
    ~Work();
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    Cancellation& cancellation() { return cancellation_; }

    // What to tell of work that has ended with a status: that it was cancelled, if that is why it
    // failed.
    int32_t Outcome(int32_t status) const;

private:
    friend class Watch;

    const std::shared_ptr<Client> client_;
    const std::function<void()> onGivenUp_;
    const std::string subject_;  // of the lines about it
    Cancellation cancellation_;
    // The watch's, under its lock.
    const Clock::time_point timeout_;
    std::optional<Clock::time_point> giveUp_;
    bool givenUp_ = false;
    std::list<Work*>::iterator place_;
};

// What the settings allow, for the limits above.
std::chrono::nanoseconds LoadTimeout();
std::chrono::nanoseconds RunTimeout();

// While it lives, WorkingFor() tells a client's process on this thread.
class WorkingScope {
public:
    explicit WorkingScope(const Client& client);
    ~WorkingScope();
    WorkingScope(const WorkingScope&) = delete;
    WorkingScope& operator=(const WorkingScope&) = delete;

private:
    const pid_t outer_;
};

}  // namespace orva::reference
