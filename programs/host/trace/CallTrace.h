/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <string>

#include "../LatestErrors.h"
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
//   {"event":"nodes", "nodes":[{"service":"IAIService", "type":"echo", "takes":"...",
//    "from":<file, or "built in">}, ...]}; "type":null where a service takes any
//
// Who asks "errors 4711" is told what the framework said last of that client's work that failed:
//
//   {"event":"errors", "errors":["4711:1: input 0 has 100 bytes, its output 5", ...]}
//
// Who asks "requests" is told of the latest of each session that is there, those that have ended
// before those that are under way:
//
//   {"event":"requests", "requests":[{"service":"IAIService", "session":"4711:1",
//    "state":"waiting"|"running"|"ended", "ago_s":0.0009, "waiting_us":20, "running_us":880,
//    "result":0}, ...]}; "result" of one that has ended
//
// There may be one in a process.
class CallTrace {
public:
    // In the services' folder. The errors outlive this. Throws std::system_error as TraceServer
    // does.
    CallTrace(const std::string& folder, const LatestErrors& errors);
    // To be destroyed when no call is under way any more.
    ~CallTrace() = default;

private:
    TraceServer server_;
};

}  // namespace orva::host
