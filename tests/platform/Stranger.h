/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <android-base/unique_fd.h>
#include <sys/types.h>

#include "WireKit.h"

namespace orva_test {

// A process of its own, forked from the test's, so that it is another peer. It does one thing and
// ends, or is ended with the object. What it expects of things counts as its failure.
class Stranger {
public:
    // With a number, it is the process of that number; see isReal().
    explicit Stranger(const std::function<void()>& act, pid_t number = 0);
    ~Stranger();
    Stranger(const Stranger&) = delete;
    Stranger& operator=(const Stranger&) = delete;

    // False when this machine does not let a test choose a process's number.
    bool isReal() const { return mPid > 0; }
    pid_t pid() const { return mPid; }
    // Waits for its end. Whether it did what it should, and all was as it expected.
    bool succeeded();

private:
    pid_t mPid;
};

// A client without a runtime: a connection, and a channel on it, to put anything on. Made in the
// process whose it shall be. It waits for no answer longer than a watchdog does.
struct RawClient {
    // A client that is refused has no root.
    explicit RawClient(const std::string& path);
    RawClient(android::base::unique_fd socket, const std::string& path);

    // Sends a message of nothing but its header and at most one descriptor on the connection.
    void control(android::hardware::socket::MessageKind kind, uint64_t target, uint32_t code,
                 int descriptor = -1);
    android::base::unique_fd openChannel();
    // Sends a message, a call to the root; false when the server no longer listens.
    bool call(WireMessage message, size_t descriptors = 0);
    // Whether the server ends the connection, or the channel, whatever it sends until then.
    bool isEnded();
    bool isChannelEnded();
    // The next message on the channel, or the connection, by its kind: "reply 0", which has a
    // status, "call", "release", "end".
    std::string next() const { return nextOn(channel); }
    std::string nextNotice() const { return nextOn(link); }

    android::base::unique_fd link;
    uint64_t root = 0;
    android::base::unique_fd channel;

    // The channel that the server opens, whatever it tells until then.
    android::base::unique_fd adoptChannel();
    static std::string nextOn(int socket);
};

// Sends it in as many packets as it takes; false when the peer no longer listens.
bool sendRaw(int socket, const WireMessage& message, size_t descriptors = 0);

}  // namespace orva_test
