/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "Peer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <utility>

#include <sys/socket.h>

#include <log/log.h>

#include "../RuntimeState.h"
#include "../pool/Pool.h"
#include "Peers.h"

namespace android::hardware::socket {

namespace {

// The peer need not be waited for: what goes over a connection is small and it is always read.
constexpr TimeLimit kNoticeSendLimit{1000};
// The same when others wait for whoever opens a channel. Hundreds of notices lie unread then.
constexpr TimeLimit kOpenAtOnceLimit{20};

// A call whose answer this thread has yet to wait for.
struct LateAnswer {
    std::shared_ptr<Peer> peer;
    std::unique_ptr<Channel> channel;
};
thread_local LateAnswer* deferring = nullptr;

orva_platform::PeerLimits limitsFor(size_t poolThreads) {
    orva_platform::PeerLimits limits = runtimeState().peerLimits.get();
    if (limits.calls == 0) {
        // Of a pool of two or more some thread is always the others'.
        limits.calls = std::max<size_t>(1, std::min(poolThreads * 3 / 4, poolThreads - 1));
    }
    return limits;
}

template <typename T>
std::shared_ptr<T> take(std::vector<std::shared_ptr<T>>* all, const T& one) {
    const auto it = std::find_if(all->begin(), all->end(),
                                 [&](const auto& each) { return each.get() == &one; });
    if (it == all->end()) {
        return nullptr;
    }
    std::shared_ptr<T> taken = std::move(*it);
    all->erase(it);
    return taken;
}

}  // namespace

Peer::Peer(const Identity& identity)
        : mIdentity(identity),
          mReplyLimit(runtimeState().replyLimit.get()),
          mLimits(limitsFor(Pool::instance().maxThreads())) {
    ++runtimeState().peers;
}

void Peer::watch(base::unique_fd process) {
    const auto end = std::make_shared<ProcessEnd>(std::move(process), weak_from_this());
    {
        Mutex::Autolock lock(mLock);
        mProcessEnd = end;
    }
    end->open();
}

bool Peer::alive() const {
    Mutex::Autolock lock(mLock);
    return mAlive;
}

std::shared_ptr<Connection> Peer::connection() const {
    Mutex::Autolock lock(mLock);
    std::shared_ptr<Connection> found;
    for (const auto& each : mConnections) {
        if (each->use == Connection::Use::kToPeer) {
            return each;
        }
        // The latest: a peer that left and came back may have the end of an earlier one on its way.
        if (each->use == Connection::Use::kByPeer && each->wasHeard()) {
            found = each;
        }
    }
    return found;
}

bool Peer::anyUsed(Connection::Use use) const {
    return std::any_of(mConnections.begin(), mConnections.end(),
                       [use](const auto& each) { return each->use == use; });
}

bool Peer::connected() const {
    if (const auto connection = this->connection()) {
        return connection->connected();
    }
    Mutex::Autolock lock(mLock);
    return !mConnections.empty();
}

void Peer::atBound(const char* ofWhat, size_t bound) {
    const uint32_t times = ++mRefusals;
    if ((times & (times - 1)) == 0) {  // Less and less often, or it would fill the log.
        ALOGE("process %d is refused more than %zu %s (%u times refused so far)", mIdentity.pid,
              bound, ofWhat, times);
    }
}

bool Peer::admits(size_t connections) {
    if (connections >= mLimits.connections) {
        atBound("connections", mLimits.connections);
        return false;
    }
    return true;
}

// --- Connections ------------------------------------------------------------------------------

bool Peer::serve(base::unique_fd& socket, const sp<BHwBinder>& root) {
    std::shared_ptr<Connection> connection;
    uint64_t number;
    {
        Mutex::Autolock lock(mLock);
        if (!mAlive) {
            return false;
        }
        connection = std::make_shared<Connection>(std::move(socket), shared_from_this(),
                                                  Connection::Use::kByPeer);
        if (!admits(mConnections.size())) {
            return true;
        }
        mIsClient = true;
        mConnections.push_back(connection);
        number = mExports.add(root);
    }
    if (!connection->welcome(number) || !connection->open()) {
        ended(*connection);
    }
    return true;
}

bool Peer::connect(base::unique_fd& socket, sp<IBinder>* root) {
    std::shared_ptr<Connection> asking;
    {
        Mutex::Autolock lock(mLock);
        if (!mAlive) {
            return false;
        }
        asking = std::make_shared<Connection>(std::move(socket), shared_from_this(),
                                              Connection::Use::kAsking);
        mConnections.push_back(asking);
    }
    uint64_t number;
    const Io io = asking->awaitWelcome(mReplyLimit, &number);
    if (io == Io::kDone) {
        *root = remote(number);
    } else {
        ALOGE("process %d does not tell what it serves: %s", mIdentity.pid,
              io == Io::kClosed    ? "it has gone"
              : io == Io::kTimeout ? "it took too long"
                                   : "it does not keep to the protocol");
    }
    bool stays = false;
    {
        Mutex::Autolock lock(mLock);
        stays = mAlive && *root != nullptr && !anyUsed(Connection::Use::kToPeer);
        if (stays) {
            asking->use = Connection::Use::kToPeer;
        } else {
            take(&mConnections, *asking);
        }
    }
    if (!stays) {
        asking->shutDown();
        end(End::kIdle);
        endIfLeft();
    } else if (!asking->open()) {
        ended(*asking);
    }
    return true;
}

void Peer::ended(Connection& connection) {
    std::shared_ptr<Connection> gone;  // Released after the lock.
    {
        Mutex::Autolock lock(mLock);
        gone = take(&mConnections, connection);
    }
    // Also one that the peer's end has taken already: it may have been opened since.
    connection.close();
    endIfLeft();
}

void Peer::endIfLeft() {
    {
        Mutex::Autolock lock(mLock);
        if (!mConnections.empty()) {
            return;
        }
    }
    end(End::kGone);
}

bool Peer::handle(ReceivedMessage& message) {
    switch (message.header().kind) {
    case MessageKind::kOpenChannel:
        // One that could not be received is closed, as its calls find.
        return message.isIncomplete() || adoptChannel(message.takeDescriptor());
    case MessageKind::kRelease: {
        const bool held = message.header().target != 0 && released(message.header());
        end(End::kIdle);
        return held;
    }
    default:
        return false;
    }
}

bool Peer::adoptChannel(base::unique_fd socket) {
    if (!isChannelOf(socket, mIdentity)) {
        ALOGE("process %d offers a channel that is not its own", mIdentity.pid);
        return false;
    }
    auto channel = std::make_shared<InChannel>(std::move(socket), shared_from_this());
    Mutex::Autolock lock(mLock);
    if (!mAlive) {
        return true;
    }
    if (mInChannels.size() >= mLimits.channels) {
        atBound("channels", mLimits.channels);
        return true;
    }
    if (channel->open()) {
        mInChannels.push_back(std::move(channel));
    }
    return true;
}

void Peer::forget(InChannel& channel) {
    std::shared_ptr<InChannel> gone;
    {
        Mutex::Autolock lock(mLock);
        gone = take(&mInChannels, channel);
    }
    if (gone != nullptr) {
        gone->close();
    }
}

void Peer::cut(const char* reason) {
    ALOGE("process %d is cut off: %s", mIdentity.pid, reason);
    mOut.shutDown();
    std::vector<std::shared_ptr<Connection>> connections;
    {
        Mutex::Autolock lock(mLock);
        connections = mConnections;
    }
    // The connections' own events do the rest, on threads of the pool: the caller may hold locks
    // that death recipients need.
    for (const auto& connection : connections) {
        connection->shutDown();
    }
}

void Peer::end(End why) {
    std::vector<std::shared_ptr<Connection>> connections;
    std::vector<std::shared_ptr<InChannel>> inChannels;
    std::vector<sp<BHwBinder>> exports;
    std::vector<wp<BpHwBinder>> proxies;
    std::shared_ptr<ProcessEnd> processEnd;
    {
        Mutex::Autolock lock(mLock);
        // Who is connected to this process leaves when it likes; this one leaves when nothing is
        // held any more.
        const bool idle = !anyUsed(Connection::Use::kByPeer) &&
                          !anyUsed(Connection::Use::kAsking) && mProxies.empty() &&
                          mExports.empty();
        if (!mAlive || (why == End::kIdle && !idle)) {
            return;
        }
        mAlive = false;
        --runtimeState().peers;
        processEnd = std::move(mProcessEnd);
        connections.swap(mConnections);
        inChannels.swap(mInChannels);
        exports = mExports.takeAll();
        for (const auto& proxy : mProxies) {
            proxies.push_back(proxy.second.binder);
        }
        std::unordered_map<uint64_t, Proxy>().swap(mProxies);
    }
    mOut.close();
    for (const auto& connection : connections) {
        connection->close();
    }
    for (const auto& channel : inChannels) {
        channel->close();
    }
    if (processEnd != nullptr) {
        processEnd->close();
    }
    if (why != End::kGone) {
        Peers::instance().ended(*this);
        return;
    }
    Pool::instance().post([self = shared_from_this(), proxies = std::move(proxies)] {
        for (const auto& each : proxies) {
            if (const auto proxy = each.promote()) {
                proxy->sendObituary();
            }
        }
        if (const auto tell = runtimeState().onPeerGone.get()) {
            tell(self->identity().pid);
        }
        Peers::instance().ended(*self);
    });
}

// --- Calls ------------------------------------------------------------------------------------

status_t Peer::transact(uint64_t target, uint32_t code, const Parcel& data, Parcel* reply,
                        uint32_t flags) {
    using For = OutChannels::For;
    const bool oneway = (flags & IBinder::FLAG_ONEWAY) != 0;
    // A thread of the peer that waits for this one serves the call; no other may.
    if (auto* const waiting =
                oneway ? nullptr : static_cast<Channel*>(ServingScope::wayBackTo(this))) {
        return waiting->usable() ? waiting->transact(target, code, data, reply, flags)
                                 : DEAD_OBJECT;
    }
    const bool mayBeLate =
            !oneway && mIsClient && deferring != nullptr && deferring->channel == nullptr;
    const For what = oneway ? For::kOneway : mayBeLate ? For::kCallAtOnce : For::kCall;
    const auto inOrder = oneway ? std::unique_lock(mOnewayLock) : std::unique_lock<Mutex>();
    for (;;) {
        bool fresh;
        std::unique_ptr<Channel> channel = mOut.acquire(what, &fresh);
        if (channel == nullptr) {
            return couldNotCall();
        }
        const status_t status = channel->transact(target, code, data, reply, flags, mayBeLate);
        if (channel->isLate()) {
            // What says that there was no error is all that a call without results answers.
            reply->writeInt32(0);
            reply->setDataPosition(0);
            deferring->peer = shared_from_this();
            deferring->channel = std::move(channel);
            return status;
        }
        // The peer may close channels that it thinks are of no more use, and be there still.
        const bool again = channel->wasClosed() && !fresh;
        mOut.giveBack(what, std::move(channel));
        if (!again) {
            return status;
        }
    }
}

void Peer::deferAnswer() {
    thread_local LateAnswer own;
    deferring = &own;
}

void Peer::awaitAnswer() {
    if (auto* const late = std::exchange(deferring, nullptr);
        late != nullptr && late->channel != nullptr) {
        const std::shared_ptr<Peer> peer = std::move(late->peer);
        late->channel->awaitLate();
        peer->mOut.giveBack(OutChannels::For::kCallAtOnce, std::move(late->channel));
    }
}

status_t Peer::couldNotCall() {
    if (!connected()) {
        return DEAD_OBJECT;
    }
    if (mIsClient) {
        cut("a call to it cannot be sent");
    }
    return FAILED_TRANSACTION;
}

std::unique_ptr<Channel> Peer::openChannel(bool atOnce) {
    const auto connection = this->connection();
    if (connection == nullptr) {
        return nullptr;
    }
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        ALOGE("cannot open a channel to process %d: %s", mIdentity.pid, strerror(errno));
        return nullptr;
    }
    base::unique_fd ours(ends[0]);
    const base::unique_fd theirs(ends[1]);
    OutgoingMessage message(MessageKind::kOpenChannel, *this);
    message.lend(theirs);
    if (message.send(connection->socket(), atOnce ? kOpenAtOnceLimit : kNoticeSendLimit) !=
        Io::kDone) {
        return nullptr;
    }
    return std::make_unique<Channel>(std::move(ours), *this, Channel::Role::kCaller);
}

bool Peer::holdDescriptors(size_t count) {
    if ((mDescriptors += count) <= mLimits.descriptors) {
        return true;
    }
    mDescriptors -= count;
    atBound("descriptors", mLimits.descriptors);
    return false;
}

// --- Objects ----------------------------------------------------------------------------------

sp<IBinder> Peer::remote(uint64_t number) {
    Mutex::Autolock lock(mLock);
    if (!mAlive) {
        return nullptr;
    }
    Proxy& proxy = mProxies[number];
    sp<BpHwBinder> binder = proxy.binder.promote();
    if (binder == nullptr) {
        if (mProxies.size() > mLimits.objects) {
            atBound("objects", mLimits.objects);
            mProxies.erase(number);
            return nullptr;
        }
        auto object = std::make_unique<PeerObject>(shared_from_this(), number);
        proxy.object = object.get();
        binder = new BpHwBinder(std::move(object));
        proxy.binder = binder;
    }
    ++proxy.object->receptions;
    return binder;
}

bool Peer::released(const MessageHeader& header) {
    if (header.target == 0) {
        return true;
    }
    sp<BHwBinder> last;  // Released after the lock.
    Mutex::Autolock lock(mLock);
    return !mAlive || mExports.release(header.target, header.code, header.flags, &last);
}

void Peer::release(PeerObject& object) {
    {
        Mutex::Autolock lock(mLock);
        // A newer proxy for the same object may have taken its place already.
        const auto it = mProxies.find(object.number());
        if (it != mProxies.end() && it->second.object == &object) {
            mProxies.erase(it);
        }
    }
    tell({object.number(), object.receptions, object.mentions});
    end(End::kIdle);
}

void Peer::tell(const Release& release) {
    auto* const answering = static_cast<Channel*>(ServingScope::wayBackTo(this));
    if (answering != nullptr && answering->tellWithAnswer(release)) {
        return;
    }
    const auto connection = this->connection();
    if (connection == nullptr) {
        return;
    }
    OutgoingMessage message(MessageKind::kRelease, *this);
    message.tell(release);
    if (message.send(connection->socket(), kNoticeSendLimit) == Io::kTimeout) {
        cut("it does not read what it is sent");
    }
}

sp<IBinder> Peer::local(uint64_t number) {
    return findTarget(number, true);
}

sp<BHwBinder> Peer::findTarget(uint64_t number, bool mentioned) {
    Mutex::Autolock lock(mLock);
    return mentioned ? mExports.mentioned(number) : mExports.find(number);
}

uint64_t Peer::numberOfLocal(const sp<IBinder>& binder) {
    Mutex::Autolock lock(mLock);
    return mExports.add(binder->localBinder());
}

void Peer::takeBack(uint64_t number) {
    sp<BHwBinder> last;
    Mutex::Autolock lock(mLock);
    mExports.release(number, 1, 0, &last);
}

bool Peer::numberOfRemote(const sp<IBinder>& binder, uint64_t* number) {
    auto* object = dynamic_cast<PeerObject*>(&binder->remoteBinder()->object());
    if (object == nullptr || &object->peer() != this) {
        return false;
    }
    *number = object->number();
    ++object->mentions;
    return true;
}

void Peer::takeBackMention(const sp<IBinder>& binder) {
    --static_cast<PeerObject&>(binder->remoteBinder()->object()).mentions;
}

PeerObject::PeerObject(std::shared_ptr<Peer> peer, uint64_t number)
        : mPeer(std::move(peer)), mNumber(number) {
    ++runtimeState().proxies;
}

PeerObject::~PeerObject() {
    --runtimeState().proxies;
    mPeer->release(*this);
}

status_t PeerObject::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    if ((flags & IBinder::FLAG_ONEWAY) == 0) {
        return mPeer->transact(mNumber, code, data, reply, flags);
    }
    ++mentions;
    const status_t status = mPeer->transact(mNumber, code, data, reply, flags);
    if (status != NO_ERROR) {
        --mentions;
    }
    return status;
}

}  // namespace android::hardware::socket
