/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include <android-base/unique_fd.h>
#include <hwbinder/Binder.h>
#include <hwbinder/BpHwBinder.h>
#include <sys/types.h>
#include <utils/Condition.h>
#include <utils/Mutex.h>

#include "Channel.h"
#include "ExportTable.h"
#include "OutgoingMessage.h"
#include "Reactor.h"
#include "ReceivedMessage.h"

namespace android {
namespace hardware {
namespace socket {

class PeerObject;

// The tie to one peer process: who it is, what either side holds of the other's objects, and the
// channels between them. Its own socket carries new channels and releases, and its end is the
// peer's death. Every operation may be called from any thread.
class Link : public ReactorItem,
             public ObjectNumbers,
             public ObjectFinder,
             public std::enable_shared_from_this<Link> {
public:
    struct Peer {
        pid_t pid;
        uid_t uid;
    };

    // The number of the object that the peer connected to.
    static constexpr uint64_t kRoot = 0;

    // The server's side of a connection to `root`.
    static std::shared_ptr<Link> accept(base::unique_fd socket, Peer peer, sp<BHwBinder> root);
    // The client's side. It ends by itself when neither side holds an object of the other's.
    static std::shared_ptr<Link> connect(base::unique_fd socket, Peer peer);
    ~Link() override;

    // Ends every link of the process.
    static void closeAll();

    const Peer& peer() const { return mPeer; }
    TimeLimit replyLimit() const { return mReplyLimit; }

    // The proxy for the object that this side connected to; null once the link has ended.
    sp<IBinder> root();
    // Whether the peer was there a moment ago, whatever the pool has noticed yet.
    bool connected() const;

    // Calls one of the peer's objects; see IBinder::transact.
    status_t transact(uint64_t target, uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags);
    // One of this process's objects that the peer holds; null when it does not. `mentioned`: the
    // message that names it is one that its release waits for.
    sp<BHwBinder> findTarget(uint64_t number, bool mentioned);
    // A proxy has gone.
    void release(PeerObject& object);
    // The peer has given up an object of this process's, or none, as a message's header says. False
    // when it does not hold it.
    bool released(const MessageHeader& header);

    // Ends the link because of what the peer did; its objects die, as far as this process can tell.
    void cut(const char* reason);
    // Ends the link without a word to anyone here.
    void close();
    // A channel that the peer called on is of no more use.
    void forget(ServerChannel& channel);

    bool ready() override;

    uint64_t numberOfLocal(const sp<IBinder>& binder) override;
    void takeBack(uint64_t number) override;
    bool numberOfRemote(const sp<IBinder>& binder, uint64_t* number) override;
    void takeBackMention(const sp<IBinder>& binder) override;
    sp<IBinder> remote(uint64_t number) override;
    sp<IBinder> local(uint64_t number) override;

private:
    Link(base::unique_fd socket, Peer peer, sp<BHwBinder> root);

    struct Proxy {
        wp<BpHwBinder> binder;
        PeerObject* object;
    };

    using Socket = std::shared_ptr<const base::unique_fd>;

    // Null once the link has ended. Whoever has it keeps it open.
    Socket socket() const;
    bool start();
    enum class End { kPeerDied, kClosed, kClosedIfIdle };
    void end(End why);
    bool handle(std::unique_ptr<ReceivedMessage> message);
    void tell(const base::unique_fd& socket, const Release& release);
    // A client trusts its server with how long its threads wait in the kernel; the other way round
    // would not be safe.
    bool isServer() const { return mRoot != nullptr; }
    bool adoptChannel(base::unique_fd socket, bool replace);
    base::unique_fd replaceByOwn(const base::unique_fd& socket);

    std::unique_ptr<Channel> openChannel(uint32_t code);
    base::unique_fd awaitReplacement(const base::unique_fd& socket, const base::unique_fd& link);
    std::unique_ptr<Channel> acquireChannel();
    void returnChannel(std::unique_ptr<Channel> channel);
    status_t transactOneway(uint64_t target, uint32_t code, const Parcel& data, uint32_t flags);

    const Peer mPeer;
    const TimeLimit mReplyLimit;
    const sp<BHwBinder> mRoot;
    std::atomic<uint64_t> mToken{0};

    mutable Mutex mLock;
    // Let go of with the link's end, however long objects of the peer's are held after it.
    Socket mSocket GUARDED_BY(mLock);
    bool mAlive GUARDED_BY(mLock) = true;
    ExportTable mExports GUARDED_BY(mLock);
    std::unordered_map<uint64_t, Proxy> mProxies GUARDED_BY(mLock);
    std::vector<std::shared_ptr<ServerChannel>> mServerChannels GUARDED_BY(mLock);
    // Channels that this side calls on: all that are open, and of those the ones that are not in
    // use, the one for oneway calls apart.
    std::vector<Channel*> mChannels GUARDED_BY(mLock);
    std::vector<std::unique_ptr<Channel>> mIdleChannels GUARDED_BY(mLock);
    size_t mOpening GUARDED_BY(mLock) = 0;
    Condition mChannelReturned;

    // Oneway calls share one channel, so that they arrive in order.
    Mutex mOnewayLock;
    std::unique_ptr<Channel> mOnewayChannel GUARDED_BY(mOnewayLock);
};

}  // namespace socket
}  // namespace hardware
}  // namespace android
