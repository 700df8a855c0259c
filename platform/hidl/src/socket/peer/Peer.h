/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include <android-base/unique_fd.h>
#include <hwbinder/Binder.h>
#include <hwbinder/BpHwBinder.h>
#include <orva_platform/Runtime.h>
#include <utils/Mutex.h>

#include "../../hwbinder/Transport.h"
#include "../wire/OutgoingMessage.h"
#include "../wire/ReceivedMessage.h"
#include "Connection.h"
#include "ExportTable.h"
#include "Identity.h"
#include "InChannel.h"
#include "OutChannels.h"

namespace android::hardware::socket {

class PeerObject;

// Another process: who it is, what either side holds of the other's objects, what it may have of
// this process, and the channels both ways. It lives while it is connected, whichever side made the
// connections and whatever for. Every operation may be called from any thread.
class Peer final : public ObjectNumbers,
                   public ObjectFinder,
                   public std::enable_shared_from_this<Peer> {
public:
    explicit Peer(const Identity& identity);
    // Ends the peer also when its process ends, whoever has its sockets then.
    void watch(base::unique_fd process);

    const Identity& identity() const { return mIdentity; }
    TimeLimit replyLimit() const { return mReplyLimit; }
    bool alive() const;
    // Whether it was there a moment ago, whatever the pool has noticed yet.
    bool connected() const;

    // --- Connections. Those that the peer made make it a client.

    // Serves `root` on a connection that the peer made, and has it known there. False, and the
    // socket is left alone, when the peer has ended.
    bool serve(base::unique_fd& socket, const sp<BHwBinder>& root);
    // The object that the peer serves on a connection that this process made; null, logged, when it
    // does not tell. False, and the socket is left alone, when the peer has ended.
    bool connect(base::unique_fd& socket, sp<IBinder>* root);

    // What came on a connection; false for what may not. A connection has ended.
    bool handle(ReceivedMessage& message);
    void ended(Connection& connection);

    // Ends the peer because of what it did: it loses its connections.
    void cut(const char* reason);
    // kGone: its objects have died, and whom that concerns is told, on a thread of the pool.
    // kClosed: without a word to anyone here. kIdle: the same, if there is nothing to keep it for.
    enum class End { kGone, kClosed, kIdle };
    void end(End why);
    // Whether there may be one connection more than so many; logs that there may not.
    bool admits(size_t connections);

    // --- Calls.

    // Calls one of the peer's objects; see IBinder::transact.
    status_t transact(uint64_t target, uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags);
    // The next call of this thread to a client may be late: it is given up waiting for, as one that
    // is done and says nothing, before it holds the thread up; see orva_platform::deferAnswer.
    static void deferAnswer();
    // Waits for a late answer, if there is one.
    static void awaitAnswer();
    // The call that it waits for could not be sent: a client is cut off, so that it learns of that.
    status_t couldNotCall();
    // Whether there is a channel for calls to whom we owe some.
    bool canBeCalled() { return !mIsClient || mOut.ensureOne(); }
    std::unique_ptr<Channel> openChannel(bool atOnce);
    size_t mostCallsTo() const { return mLimits.callbacks; }
    // A channel that the peer called on is of no more use.
    void forget(InChannel& channel);

    ServingTurns& turns() { return mTurns; }
    size_t mostServed() const { return mIsClient ? mLimits.calls : SIZE_MAX; }
    // Counts descriptors that came with the peer's calls; false when those are too many.
    bool holdDescriptors(size_t count);
    void dropDescriptors(size_t count) { mDescriptors -= count; }

    // --- Objects.

    // One of this process's objects that the peer holds; null when it does not. `mentioned`: the
    // message that names it is one that its release waits for.
    sp<BHwBinder> findTarget(uint64_t number, bool mentioned);
    // A proxy has gone.
    void release(PeerObject& object);
    // The peer has given up an object of this process's, or none, as a message's header says. False
    // when it does not hold it.
    bool released(const MessageHeader& header);

    uint64_t numberOfLocal(const sp<IBinder>& binder) override;
    void takeBack(uint64_t number) override;
    bool numberOfRemote(const sp<IBinder>& binder, uint64_t* number) override;
    void takeBackMention(const sp<IBinder>& binder) override;
    sp<IBinder> remote(uint64_t number) override;
    sp<IBinder> local(uint64_t number) override;

private:
    struct Proxy {
        wp<BpHwBinder> binder;
        PeerObject* object;
    };

    // Any connection on which the peer listens; null when there is none.
    std::shared_ptr<Connection> connection() const;
    bool anyUsed(Connection::Use use) const REQUIRES(mLock);
    void endIfLeft();
    bool adoptChannel(base::unique_fd socket);
    void tell(const Release& release);
    void atBound(const char* ofWhat, size_t bound);

    const Identity mIdentity;
    const TimeLimit mReplyLimit;
    const orva_platform::PeerLimits mLimits;
    std::atomic<bool> mIsClient{false};
    std::atomic<size_t> mDescriptors{0};
    std::atomic<uint32_t> mRefusals{0};
    ServingTurns mTurns;
    OutChannels mOut{*this};
    Mutex mOnewayLock;  // For each oneway call as it is sent.

    mutable Mutex mLock;
    bool mAlive GUARDED_BY(mLock) = true;
    std::shared_ptr<ProcessEnd> mProcessEnd GUARDED_BY(mLock);
    std::vector<std::shared_ptr<Connection>> mConnections GUARDED_BY(mLock);  // The latest last.
    std::vector<std::shared_ptr<InChannel>> mInChannels GUARDED_BY(mLock);
    ExportTable mExports GUARDED_BY(mLock);
    std::unordered_map<uint64_t, Proxy> mProxies GUARDED_BY(mLock);
};

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
