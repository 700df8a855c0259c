/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <utils/RefBase.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace orva::hidl::test {

// Writes down what a service calls, in order, and which of its two locks the calling thread holds
// meanwhile: each entry begins with "S " (the one of its sessions), "L " (the one of its
// listeners), "- " (neither) or "SL " (both, which must not be). The connection manager's calls
// arrive by themselves, with the client's number; fakes use Note(). One at a time.
class Journal {
public:
    template <typename Service>
    explicit Journal(const android::sp<Service>& service) {
        Begin(FirstLocked(service.get(), sizeof(Service), [&] { service->RemoveService("none"); }),
              FirstLocked(service.get(), sizeof(Service),
                          [&] { service->OnProcessDone("none", {}, 0, {}); }));
    }
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    // Takes out what has been written so far.
    std::vector<std::string> Take();

    // Does nothing while there is no journal.
    static void Note(const std::string& what);

private:
    // The mutex inside an object that an operation locks first.
    static const void* FirstLocked(const void* object, size_t size,
                                   const std::function<void()>& operation);
    void Begin(const void* sessions, const void* listeners);
};

// What the connection manager answers while a Journal lives; the reference's own answers otherwise.
struct Admission {
    bool room = true;
    std::string timedOut;
    // What happens between a request and the note of it; once.
    std::function<void()> beforeUpdate = nullptr;
};
extern Admission admission;

}  // namespace orva::hidl::test
