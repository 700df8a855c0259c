/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <string>

#include "TraceServer.h"

namespace orva::host {

// Publishes each call of a client and each callback to one, decoded, for as long as somebody
// watches: a line of JSON where it begins and one where it ends.
//
//   {"event":"begin", "id":7, "at":<nanoseconds, monotonic>, "thread":4720, "client":4711,
//    "kind":"call"|"callback", "interface":"IAIService", "method":"Process", "arguments":{...}}
//   {"event":"end", "id":7, "at":..., "results":{...}}; with "failed":true where a client could
//    not be told, which is seen when the thread goes on to something else
//   {"event":"lost", "count":n} in place of lines that a reader was too slow for
//   {"event":"watching", "host":pid} first; or {"event":"refused", "reason":...}, and the end
//
// Who asks "nodes" is told what sessions can be opened with; of each:
//
//   {"event":"nodes", "nodes":[{"service":"IAIService", "type":"echo", "from":<file, or "built
//   in">,
//    "takes":"..."}, ...]}; "type":null where a service takes any
//
// There may be one in a process.
class CallTrace {
public:
    // In the services' folder. Throws std::system_error as TraceServer does.
    explicit CallTrace(const std::string& folder);
    // To be destroyed when no call is under way any more.
    ~CallTrace() = default;

private:
    TraceServer server_;
};

}  // namespace orva::host
