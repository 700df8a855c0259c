/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <hidl/HidlSupport.h>
#include <utils/StrongPointer.h>

#include <string>
#include <vector>

#include "aiservice/AIServiceHIDL.h"

namespace orva::hidl::test {

// Writes down what a service calls, in order, and which of its two locks the calling thread holds
// meanwhile: each entry begins with "S " (serviceMutex), "L " (listenerMutex), "- " (neither) or
// "SL " (both, which must not be). The connection manager's calls arrive by themselves; nodes and
// listeners of tests use Note(). One at a time.
class Journal {
public:
    explicit Journal(android::sp<AIServiceHIDL> service);
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    // Takes out what has been written so far.
    std::vector<std::string> Take();

    // Does nothing while there is no journal.
    static void Note(const std::string& what);

private:
    const android::sp<AIServiceHIDL> service_;
};

// What the connection manager answers while a Journal lives; the reference's own answers otherwise.
struct Admission {
    bool room = true;
    std::string timedOut;
};
extern Admission admission;

// Which process the current thread's calls seem to come from; 0: from this one.
extern thread_local int callerPid;

// The service id of a client number in that process.
std::string IdOf(int32_t clientId);

}  // namespace orva::hidl::test
