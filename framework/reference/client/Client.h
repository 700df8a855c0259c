/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <atomic>
#include <memory>

#include "base/Mutex.h"
#include "client/ProcessLife.h"
#include "client/Quota.h"

namespace orva::reference {

// One client process, and what it holds of what all share. It lives as long as anything of the
// process's does. May be used from any thread.
class Client {
public:
    // The process whose call this thread serves; nobody where UseClientIdentity does not know one,
    // as in a program's own calls.
    static std::shared_ptr<Client> Calling();
    // The process that has a number now. A process that got the number of another one is another
    // client.
    static std::shared_ptr<Client> Of(pid_t pid);
    // Whether the program says who calls. If it does not, no process has anything.
    static bool AreKnown();

    explicit Client(pid_t pid);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    pid_t pid() const { return life_.pid(); }
    bool HasGone() const { return life_.HasEnded(); }

private:
    const ProcessLife life_;

public:
    Holding sessions;  // nodes and model managers
    Holding requests;  // accepted and not yet heard of
    Holding tensors;   // of those and bound to models, each with its descriptor
    Holding threads;   // that run its requests or wait for it
    Holding memory;    // bytes of the engine's

    Mutex deliveries;  // of its model managers' results

    // How often the engine was at fault over its models.
    std::atomic<int> engineFaults{0};
};

// The bounds, with the defaults that Settings.h names.
Quota& SessionQuota();
Quota& RequestQuota();
Quota& TensorQuota();
Quota& ThreadQuota();
Quota& EngineMemoryQuota();

}  // namespace orva::reference
