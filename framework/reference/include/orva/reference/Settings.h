/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <cstddef>

namespace orva::reference {

// The knobs of the reference framework and what can be read of its state. All may be called from
// any thread.

// How many clients AIServiceConnectManager admits; 512 at first.
void SetClientLimit(size_t limit);
// After how long without a sign of life a client may be evicted; 10 minutes at first.
void SetIdleTimeout(std::chrono::nanoseconds timeout);
// Clients that are counted now.
size_t ClientCount();

// How many of the framework's threads run requests at a time, 4 at first. Threads that wait for a
// client do not count; others stand in for them, up to `most` threads in all, 512 at first.
void SetWorkerThreads(size_t count, size_t most = 512);

// Ends the framework's threads for good: requests are refused from here on, those accepted before
// run to their end, and the threads are joined. False when that is not done after `patience`, as
// when a client keeps a completion waiting; another call then goes on with it. At the exit of the
// process the same happens without a limit of time. Not to be called from a completion.
bool Shutdown(std::chrono::nanoseconds patience = std::chrono::seconds(10));

}  // namespace orva::reference
