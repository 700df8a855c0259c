/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>

#include "client/Client.h"

namespace orva::reference {

// One of the sessions that a client process may have, for as long as this lives.
class SessionShare {
public:
    SessionShare() : client_(Client::Calling()), taken_(client_->sessions.Take()) {}
    ~SessionShare() {
        if (taken_) {
            client_->sessions.Give();
        }
    }
    SessionShare(const SessionShare&) = delete;
    SessionShare& operator=(const SessionShare&) = delete;

    // False when the process has as many as it may.
    bool taken() const { return taken_; }

private:
    const std::shared_ptr<Client> client_;
    const bool taken_;
};

}  // namespace orva::reference
