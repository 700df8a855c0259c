/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

#include <android-base/unique_fd.h>
#include <hwbinder/Parcel.h>

#include "OutgoingMessage.h"
#include "Packet.h"
#include "Reactor.h"
#include "ReceivedMessage.h"

namespace android {
namespace hardware {
namespace socket {

class Link;

// One conversation with a peer: a call, its reply, and between them calls back, each answered
// before the one around it. One side starts every call; who it is was settled when the channel was
// opened. Used by one thread at a time.
class Channel {
public:
    // Whether this process starts the calls.
    enum class Role { kCaller, kServer };

    // The link outlives the channel.
    Channel(base::unique_fd socket, Link& link, Role role);
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    // Sends a call and waits for its reply, serving what the peer calls back meanwhile.
    status_t transact(uint64_t target, uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags);

    // Serves one call and answers it. False when the channel is no longer of use.
    bool serve(std::unique_ptr<ReceivedMessage> call);

    // Has the answer that the peer waits for tell of an object given up, which saves it a message
    // of its own. False when it tells of one already.
    bool tellWithAnswer(const Release& release);

    // Ends the conversation from another thread: whoever waits in it finds the peer gone.
    void shutDown();

    // What a channel that the peer calls on is known to the reactor by.
    void setToken(uint64_t token) { mToken = token; }
    uint64_t token() const { return mToken; }
    // Has what comes from here on left to the thread that serves: no other is woken up for it.
    void disarm();
    // Whether that was done since this was asked last.
    bool takeDisarmed() { return std::exchange(mDisarmed, false); }

    int socket() const { return mSocket; }
    Link& link() const { return mLink; }
    // False once the two sides may no longer agree on what comes next.
    bool usable() const { return mUsable; }

private:
    Io receive(std::unique_ptr<ReceivedMessage>* message, const Deadline& deadline);
    Io sendAnswer(OutgoingMessage& answer);
    void dispatch(std::unique_ptr<ReceivedMessage> call);
    status_t sendReply(const Parcel& reply);
    void sendStatus(status_t status);
    void lost(Io why);

    const base::unique_fd mSocket;
    Link& mLink;
    const Role mRole;
    bool mUsable = true;
    Release mRelease;  // For the next answer to tell.
    std::atomic<uint64_t> mToken{0};
    bool mDisarmed = false;
};

// A channel on which the peer calls; served by the pool.
class ServerChannel : public ReactorItem, public std::enable_shared_from_this<ServerChannel> {
public:
    // Whether a thread may wait for the next call in the kernel, on this socket alone. Whoever
    // shares the socket decides how long that takes.
    enum class Stay { kNever, kShortly };

    ServerChannel(base::unique_fd socket, Stay stay, std::shared_ptr<Link> link);

    // Serves from here on. False when the kernel has no room for it.
    bool open();
    void close();
    bool ready() override;

private:
    bool mayStay();
    Io serveCalls(bool* found, bool* oneway);

    const std::shared_ptr<Link> mLink;
    Channel mChannel;
    const Stay mStay;
    int mPause = 0;  // Of the thread that has the channel to itself.
    // Threads that were told of something since one began to serve, that one included.
    std::atomic<uint32_t> mTold{0};
};

}  // namespace socket
}  // namespace hardware
}  // namespace android
