/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "../../hwbinder/Transport.h"

namespace android::hardware::socket {

class Peer;

// One of a peer's objects, by the number that its process has given it.
class PeerObject : public RemoteObject {
public:
    PeerObject(std::shared_ptr<Peer> peer, uint64_t number);
    ~PeerObject() override;

    status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override;

    uint64_t number() const { return mNumber; }
    const Peer& peer() const { return *mPeer; }

    // How often the peer sent it; guarded by the peer's lock.
    uint32_t receptions = 0;
    // How many messages to the peer name it that may arrive after its release.
    std::atomic<uint32_t> mentions{0};

private:
    const std::shared_ptr<Peer> mPeer;
    const uint64_t mNumber;
};

}  // namespace android::hardware::socket
