/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include <android-base/unique_fd.h>
#include <hwbinder/Parcel.h>

#include "../../hwbinder/ServingScope.h"
#include "../wire/OutgoingMessage.h"
#include "../wire/Packet.h"
#include "../wire/ReceivedMessage.h"

namespace android::hardware::socket {

class Peer;

// One conversation with a peer: a call, its reply, and between them calls back, each answered
// before the one around it. One side starts every call; who it is was settled when the channel was
// opened. Used by one thread at a time.
class Channel : public WayBack {
public:
    // Whether this process starts the calls, and has made the channel.
    enum class Role { kCaller, kServer };

    // The peer outlives the channel.
    Channel(base::unique_fd socket, Peer& peer, Role role);
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    // Sends a call and waits for its reply, serving what the peer calls back meanwhile. If it
    // `mayBeLate`, waits for a moment only; afterwards, isLate() tells whether there is a reply to
    // be waited for still.
    status_t transact(uint64_t target, uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags, bool mayBeLate = false);
    bool isLate() const { return mLate; }
    // Waits for a late reply, and lets go of it.
    void awaitLate();

    // Serves one call and answers it. False when the channel is no longer of use.
    bool serve(std::unique_ptr<ReceivedMessage> call);

    // Has the answer that the peer waits for tell of an object given up, which saves it a message
    // of its own. False when it tells of one already.
    bool tellWithAnswer(const Release& release);

    // Ends the conversation from another thread: whoever waits in it finds the peer gone.
    void shutDown();

    int socket() const { return mSocket; }
    // False once the two sides may no longer agree on what comes next.
    bool usable() const { return mUsable; }
    // Whether the peer had closed it before the last call, of which nothing was sent then.
    bool wasClosed() const { return mWasClosed; }

private:
    Io receive(std::unique_ptr<ReceivedMessage>* message, bool mayBeLate);
    status_t send(uint64_t target, uint32_t code, const Parcel& data, uint32_t flags,
                  bool mayBeLate);
    status_t awaitReply(Parcel* reply, bool mayBeLate);
    Io sendAnswer(OutgoingMessage& answer);
    void refuse(const ReceivedMessage& call);
    void dispatch(std::unique_ptr<ReceivedMessage> call);
    status_t sendReply(const Parcel& reply);
    void sendStatus(status_t status);
    void lost(Io why);

    const base::unique_fd mSocket;
    Peer& mPeer;
    const Role mRole;
    bool mUsable = true;
    bool mWasClosed = false;
    Release mRelease;  // For the next answer to tell.
    // Of the outermost call under way from here, if one is.
    std::optional<Deadline> mDeadline;
    bool mLate = false;
    std::unique_ptr<ReceivedMessage> mUnserved;  // What a late reply's peer called in between.
    bool mOverran = false;  // The deadline passed while a call of the peer's was served.
};

}  // namespace android::hardware::socket
