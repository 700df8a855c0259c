/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <functional>

namespace orva::reference {

// The knobs of the reference framework and what can be read of its state. All may be called from
// any thread.

// How many clients AIServiceConnectManager admits; 512 at first. With fewer than the model manager
// service takes by itself, 201, a crowd meets this limit, where who is idle or dead makes way, and
// not that one, where nobody does.
void SetClientLimit(size_t limit);
// After how long without a sign of life a client may be evicted; 10 minutes at first.
void SetIdleTimeout(std::chrono::nanoseconds timeout);
// Clients that are counted now.
size_t ClientCount();

// How many of the framework's threads run requests at a time, as many at first as the machine has
// processors, and 2 at least. Threads that wait for a client do not count; others stand in for
// them, up to `most` threads in all, 512 at first.
void SetWorkerThreads(size_t count, size_t most = 512);

// Makes what the engine needs only once, which takes some 20 ms: those of the first model
// otherwise.
void PrepareEngine();

// Says which process the calling thread serves, or 0 when it serves none. What follows holds for
// each process that is known so; as long as nothing is installed, for none. Called often, on any
// thread.
using ClientIdentity = std::function<pid_t()>;
void UseClientIdentity(ClientIdentity identity);

// Called before and after a model manager's listener, by the thread that calls it. A listener may
// hold a lock that others wait for while it waits for its client; this is where a program can have
// the lock given up before the client has answered. Then the deliveries of one client process, but
// no others, go one at a time, each up to the end of `after`. Null for nothing, as at first.
struct DeliveryHooks {
    void (*before)() = nullptr;
    void (*after)() = nullptr;
};
void UseDeliveryHooks(DeliveryHooks hooks);

// What one client process may have at a time; what goes beyond is refused, with the process in the
// log. 0 is without a bound.

// Nodes and model managers, 128 at first: fewer than the model manager service takes from all.
void SetClientSessions(size_t most);
// Requests that were accepted and not heard of yet, 512 at first.
void SetClientRequests(size_t most);
// The tensors of those and the ones bound to models, 4096 at first: each may hold a descriptor and
// a mapping of this process.
void SetClientTensors(size_t most);
// Threads that run its requests or wait for it to take their results, 96 at first: a request that
// would need another one is refused as kNodeBusy.
void SetClientThreads(size_t most);
// Clients that AIServiceConnectManager counts beyond the process's sessions, such as listeners
// without one, 64 at first. Those beyond are let be, but not counted.
void SetClientsWithoutSession(size_t most);
// Bytes that the engine takes, for each process and for all together; a quarter and half of the
// machine's memory at first.
void SetEngineMemory(size_t each, size_t all);

// How long the check or the loading of a model and how long a request may take, a minute each at
// first. They then end with kNodeTimedOut. 0 is without a bound.
void SetLoadTimeout(std::chrono::nanoseconds timeout);
void SetRunTimeout(std::chrono::nanoseconds timeout);

// The process that the calling thread works for: one of the framework's own threads with a request
// of that process, from its beginning to the return of the listener. 0 for any other thread.
pid_t WorkingFor();

// Cancels all loads and requests under way; those that come later are none of this call's.
void CancelWork();

// Ends the framework's threads for good: requests are refused from here on, those accepted before
// run to their end, and the threads are joined. False when that is not done after `patience`, as
// when a client keeps a completion waiting; another call then goes on with it. At the exit of the
// process the same happens; what is not done after ten seconds is cancelled then, and what goes on
// even so ends with the process. Not to be called from a completion.
bool Shutdown(std::chrono::nanoseconds patience = std::chrono::seconds(10));

}  // namespace orva::reference
