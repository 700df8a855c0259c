/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <memory>

#include <android-base/unique_fd.h>

#include "../pool/Poller.h"
#include "Channel.h"
#include "ServingTurns.h"

namespace android::hardware::socket {

// A channel on which the peer calls; served by the pool. A call that has not come whole, or for
// which it is not the peer's turn, waits here without a thread.
class InChannel : public PollItem, public ServingTurns::Waiting {
public:
    InChannel(base::unique_fd socket, std::shared_ptr<Peer> peer);

    // Serves from here on. False when the kernel has no room for it.
    bool open() { return watch(mChannel.socket()); }
    void close();
    void ready() override;
    // What every object has, such as a ping or a dump, if nothing else is served for the peer.
    bool isUrgent() override;
    void turnHasCome() override { watchAgain(); }

private:
    Io serveOne();

    const std::shared_ptr<Peer> mPeer;
    Channel mChannel;
    // Of the thread that has the channel to itself.
    std::unique_ptr<ReceivedMessage> mCall;  // As far as it has come.
    size_t mHeld = 0;                        // Descriptors of it that are counted.
};

}  // namespace android::hardware::socket
