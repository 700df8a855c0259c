/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "Link.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>

#include <log/log.h>

#include "../hwbinder/ServingScope.h"
#include "PeerObject.h"
#include "RuntimeCounts.h"
#include "TransportSettings.h"

namespace android {
namespace hardware {
namespace socket {

namespace {

// What one peer may make this process hold. A client uses a handful of each.
constexpr size_t kMaxServerChannels = 64;
constexpr size_t kMaxProxies = 4096;
constexpr size_t kMaxLinks = 64;
// As many calls of this process as may wait in one peer at once; further ones wait their turn.
constexpr size_t kMaxChannels = 32;

// The peer need not be waited for: what goes over a link is small and it is always read.
constexpr TimeLimit kLinkSendLimit{1000};

// A socket made for this answer alone has room for it.
constexpr TimeLimit kReplacementSendLimit{1};

// Every link of the process. Never destroyed: links may outlive the program's static objects.
class AllLinks {
public:
    static AllLinks& instance() {
        static AllLinks* const all = new AllLinks;
        return *all;
    }

    // False when the peer has as many already as one process may.
    bool add(const std::shared_ptr<Link>& link) {
        Mutex::Autolock lock(mLock);
        size_t& held = mHeld[link->peer().pid];
        if (held >= kMaxLinks) {
            ALOGE("process %d connects more than %zu times", link->peer().pid, kMaxLinks);
            return false;
        }
        ++held;
        mLinks.emplace(link.get(), link);
        return true;
    }

    // Whether that was its peer's last.
    bool remove(const Link* link) {
        Mutex::Autolock lock(mLock);
        if (mLinks.erase(link) == 0) {
            return false;
        }
        const auto held = mHeld.find(link->peer().pid);
        if (--held->second == 0) {
            mHeld.erase(held);
            return true;
        }
        return false;
    }

    std::vector<std::shared_ptr<Link>> living() {
        std::vector<std::shared_ptr<Link>> links;
        Mutex::Autolock lock(mLock);
        for (const auto& entry : mLinks) {
            if (auto link = entry.second.lock()) {
                links.push_back(std::move(link));
            }
        }
        return links;
    }

private:
    Mutex mLock;
    std::unordered_map<const Link*, std::weak_ptr<Link>> mLinks GUARDED_BY(mLock);
    std::unordered_map<pid_t, size_t> mHeld GUARDED_BY(mLock);
};

// The ends of a new channel; false when there are no descriptors left, logged.
bool makeChannel(base::unique_fd* ours, base::unique_fd* theirs) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        ALOGE("cannot open a channel: %s", strerror(errno));
        return false;
    }
    ours->reset(ends[0]);
    theirs->reset(ends[1]);
    return true;
}

bool isChannelOf(const base::unique_fd& socket, const Link::Peer& peer) {
    int domain = 0;
    int type = 0;
    ucred maker = {};
    socklen_t size = sizeof domain;
    if (getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &domain, &size) != 0 || domain != AF_UNIX) {
        return false;
    }
    size = sizeof type;
    if (getsockopt(socket, SOL_SOCKET, SO_TYPE, &type, &size) != 0 || type != SOCK_SEQPACKET) {
        return false;
    }
    size = sizeof maker;
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &maker, &size) == 0 &&
           maker.pid == peer.pid && maker.uid == peer.uid;
}

}  // namespace

Link::Link(base::unique_fd socket, Peer peer, sp<BHwBinder> root)
        : mPeer(peer),
          mReplyLimit(transportSettings().replyLimit()),
          mRoot(std::move(root)),
          mSocket(std::make_shared<const base::unique_fd>(std::move(socket))) {
    ++runtimeCounts().links;
}

Link::~Link() {
    AllLinks::instance().remove(this);
    --runtimeCounts().links;
}

void Link::closeAll() {
    for (const auto& link : AllLinks::instance().living()) {
        link->close();
    }
}

std::shared_ptr<Link> Link::accept(base::unique_fd socket, Peer peer, sp<BHwBinder> root) {
    std::shared_ptr<Link> link(new Link(std::move(socket), peer, std::move(root)));
    return link->start() ? link : nullptr;
}

std::shared_ptr<Link> Link::connect(base::unique_fd socket, Peer peer) {
    return accept(std::move(socket), peer, nullptr);
}

Link::Socket Link::socket() const {
    Mutex::Autolock lock(mLock);
    return mSocket;
}

bool Link::start() {
    if (!AllLinks::instance().add(shared_from_this())) {
        return false;
    }
    const Socket socket = this->socket();
    mToken = Reactor::instance().add(shared_from_this());
    if (!Reactor::instance().arm(mToken, *socket, Notice::kOnce)) {
        Reactor::instance().remove(mToken, *socket);
        return false;
    }
    return true;
}

// --- The link's own socket --------------------------------------------------------------------

bool Link::ready() {
    // One message at a time, so that no peer keeps the thread from the others.
    const Socket socket = this->socket();
    if (socket == nullptr) {
        return true;
    }
    std::unique_ptr<ReceivedMessage> message;
    const Io io = ReceivedMessage::receive(*socket, Wait::kNo, &message);
    if (io == Io::kEmpty || (io == Io::kDone && handle(std::move(message)))) {
        Reactor::instance().rearm(mToken, *socket, Notice::kOnce);
        return io != Io::kEmpty;
    }
    if (io != Io::kClosed) {
        cut("it does not keep to the protocol");
    }
    end(End::kPeerDied);
    return true;
}

bool Link::handle(std::unique_ptr<ReceivedMessage> message) {
    switch (message->header().kind) {
    case MessageKind::kOpenChannel:
        if (message->isIncomplete()) {
            return true;  // Its calls find it closed.
        }
        return adoptChannel(message->takeDescriptor(), message->header().code == kReplaceChannel);
    case MessageKind::kRelease: {
        const bool held = message->header().target != kRoot && released(message->header());
        end(End::kClosedIfIdle);
        return held;
    }
    default:
        return false;
    }
}

bool Link::adoptChannel(base::unique_fd socket, bool replace) {
    if (!isChannelOf(socket, mPeer)) {
        ALOGE("process %d offers a channel that is not its own", mPeer.pid);
        return false;
    }
    if (replace) {
        socket = replaceByOwn(socket);
        if (socket < 0) {
            return true;  // The peer finds the other one closed.
        }
    }
    const auto stay = replace ? ServerChannel::Stay::kShortly : ServerChannel::Stay::kNever;
    auto channel = std::make_shared<ServerChannel>(std::move(socket), stay, shared_from_this());
    Mutex::Autolock lock(mLock);
    if (!mAlive) {
        return true;
    }
    if (mServerChannels.size() >= kMaxServerChannels) {
        ALOGE("process %d opens more than %zu channels", mPeer.pid, kMaxServerChannels);
        return false;
    }
    if (!channel->open()) {
        return false;
    }
    mServerChannels.push_back(std::move(channel));
    return true;
}

// Answers the peer with an end of a channel that it cannot share the other end of.
base::unique_fd Link::replaceByOwn(const base::unique_fd& socket) {
    base::unique_fd ours;
    base::unique_fd theirs;
    if (!makeChannel(&ours, &theirs)) {
        return {};
    }
    OutgoingMessage message(MessageKind::kOpenChannel, *this);
    message.lend(theirs);
    return message.send(socket, kReplacementSendLimit) == Io::kDone ? std::move(ours)
                                                                    : base::unique_fd();
}

void Link::forget(ServerChannel& channel) {
    std::shared_ptr<ServerChannel> gone;
    {
        Mutex::Autolock lock(mLock);
        const auto it = std::find_if(mServerChannels.begin(), mServerChannels.end(),
                                     [&](const auto& entry) { return entry.get() == &channel; });
        if (it == mServerChannels.end()) {
            return;
        }
        gone = std::move(*it);
        mServerChannels.erase(it);
    }
    gone->close();
}

void Link::cut(const char* reason) {
    ALOGE("process %d is cut off: %s", mPeer.pid, reason);
    Socket socket;
    {
        Mutex::Autolock lock(mLock);
        socket = mSocket;
        for (Channel* channel : mChannels) {
            channel->shutDown();
        }
    }
    // The link's own event does the rest, on a thread of the pool: the caller may hold locks that
    // death recipients need.
    if (socket != nullptr) {
        ::shutdown(*socket, SHUT_RDWR);
        Reactor::instance().rearm(mToken, *socket, Notice::kOnce);
    }
}

void Link::close() {
    end(End::kClosed);
}

void Link::end(End why) {
    Socket socket;
    std::vector<std::shared_ptr<ServerChannel>> serverChannels;
    std::vector<std::unique_ptr<Channel>> idleChannels;
    std::vector<sp<BHwBinder>> exports;
    std::vector<sp<BpHwBinder>> proxies;
    {
        Mutex::Autolock lock(mLock);
        // A server waits for the peer to leave; a client leaves when nothing is held any more.
        const bool idle = mRoot == nullptr && mProxies.empty() && mExports.empty();
        if (!mAlive || (why == End::kClosedIfIdle && !idle)) {
            return;
        }
        mAlive = false;
        socket = std::move(mSocket);
        serverChannels.swap(mServerChannels);
        idleChannels.swap(mIdleChannels);
        for (Channel* channel : mChannels) {
            channel->shutDown();
        }
        for (const auto& channel : idleChannels) {
            mChannels.erase(std::find(mChannels.begin(), mChannels.end(), channel.get()));
        }
        exports = mExports.takeAll();
        for (const auto& proxy : mProxies) {
            if (auto binder = proxy.second.binder.promote()) {
                proxies.push_back(std::move(binder));
            }
        }
        mChannelReturned.broadcast();
    }
    ::shutdown(*socket, SHUT_RDWR);
    Reactor::instance().remove(mToken, *socket);
    const bool lastOfPeer = AllLinks::instance().remove(this);
    for (const auto& channel : serverChannels) {
        channel->close();
    }
    if (why == End::kPeerDied) {
        for (const auto& proxy : proxies) {
            proxy->sendObituary();
        }
        const auto peerGone = transportSettings().onPeerGone();
        if (lastOfPeer && peerGone != nullptr) {
            peerGone(mPeer.pid);
        }
    }
}

// --- Objects ----------------------------------------------------------------------------------

sp<IBinder> Link::root() {
    return remote(kRoot);
}

bool Link::connected() const {
    const Socket socket = this->socket();
    if (socket == nullptr) {
        return false;
    }
    pollfd entry = {*socket, POLLRDHUP, 0};
    return poll(&entry, 1, 0) == 0;
}

sp<IBinder> Link::remote(uint64_t number) {
    Mutex::Autolock lock(mLock);
    if (!mAlive) {
        return nullptr;
    }
    Proxy& proxy = mProxies[number];
    sp<BpHwBinder> binder = proxy.binder.promote();
    if (binder == nullptr) {
        if (mProxies.size() > kMaxProxies) {
            ALOGE("process %d sends more than %zu objects", mPeer.pid, kMaxProxies);
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

bool Link::released(const MessageHeader& header) {
    if (header.target == kRoot) {
        return true;
    }
    sp<BHwBinder> last;  // Released after the lock.
    Mutex::Autolock lock(mLock);
    return mExports.release(header.target, header.code, header.flags, &last);
}

void Link::release(PeerObject& object) {
    Socket socket;
    {
        Mutex::Autolock lock(mLock);
        const auto it = mProxies.find(object.number());
        // A newer proxy for the same object may have taken its place already.
        if (it != mProxies.end() && it->second.object == &object) {
            mProxies.erase(it);
        }
        socket = mSocket;
    }
    if (socket != nullptr && object.number() != kRoot) {
        tell(*socket, {object.number(), object.receptions, object.mentions});
    }
    end(End::kClosedIfIdle);
}

void Link::tell(const base::unique_fd& socket, const Release& release) {
    Channel* const answering = ServingScope::channelTo(*this);
    if (answering != nullptr && answering->tellWithAnswer(release)) {
        return;
    }
    OutgoingMessage message(MessageKind::kRelease, *this);
    message.tell(release);
    if (message.send(socket, kLinkSendLimit) == Io::kTimeout) {
        cut("it does not read what it is sent");
    }
}

sp<IBinder> Link::local(uint64_t number) {
    return findTarget(number, true);
}

sp<BHwBinder> Link::findTarget(uint64_t number, bool mentioned) {
    if (number == kRoot) {
        return mRoot;
    }
    Mutex::Autolock lock(mLock);
    return mentioned ? mExports.mentioned(number) : mExports.find(number);
}

uint64_t Link::numberOfLocal(const sp<IBinder>& binder) {
    if (binder == mRoot) {
        return kRoot;  // One object, one number; and this one lasts as long as the link.
    }
    Mutex::Autolock lock(mLock);
    return mExports.add(binder->localBinder());
}

void Link::takeBack(uint64_t number) {
    sp<BHwBinder> last;
    Mutex::Autolock lock(mLock);
    mExports.release(number, 1, 0, &last);
}

bool Link::numberOfRemote(const sp<IBinder>& binder, uint64_t* number) {
    auto* object = dynamic_cast<PeerObject*>(&binder->remoteBinder()->object());
    if (object == nullptr || object->link() != this) {
        return false;
    }
    *number = object->number();
    ++object->mentions;
    return true;
}

void Link::takeBackMention(const sp<IBinder>& binder) {
    --static_cast<PeerObject&>(binder->remoteBinder()->object()).mentions;
}

// --- Calls ------------------------------------------------------------------------------------

status_t Link::transact(uint64_t target, uint32_t code, const Parcel& data, Parcel* reply,
                        uint32_t flags) {
    if ((flags & IBinder::FLAG_ONEWAY) != 0) {
        return transactOneway(target, code, data, flags);
    }
    // A thread of the peer that waits for this one serves the call; no other may.
    if (Channel* waiting = ServingScope::channelTo(*this)) {
        return waiting->usable() ? waiting->transact(target, code, data, reply, flags)
                                 : DEAD_OBJECT;
    }
    std::unique_ptr<Channel> channel = acquireChannel();
    if (channel == nullptr) {
        return connected() ? FAILED_TRANSACTION : DEAD_OBJECT;
    }
    const status_t status = channel->transact(target, code, data, reply, flags);
    returnChannel(std::move(channel));
    return status;
}

std::unique_ptr<Channel> Link::acquireChannel() {
    {
        Mutex::Autolock lock(mLock);
        while (mAlive && mIdleChannels.empty() && mChannels.size() + mOpening >= kMaxChannels) {
            mChannelReturned.wait(mLock);
        }
        if (!mAlive) {
            return nullptr;
        }
        if (!mIdleChannels.empty()) {
            std::unique_ptr<Channel> channel = std::move(mIdleChannels.back());
            mIdleChannels.pop_back();
            return channel;
        }
        ++mOpening;
    }
    std::unique_ptr<Channel> channel = openChannel(isServer() ? kKeepChannel : kReplaceChannel);
    Mutex::Autolock lock(mLock);
    --mOpening;
    mChannelReturned.signal();
    return channel;
}

void Link::returnChannel(std::unique_ptr<Channel> channel) {
    Mutex::Autolock lock(mLock);
    if (mAlive && channel->usable()) {
        mIdleChannels.push_back(std::move(channel));
    } else {
        mChannels.erase(std::find(mChannels.begin(), mChannels.end(), channel.get()));
    }
    mChannelReturned.signal();
}

base::unique_fd Link::awaitReplacement(const base::unique_fd& socket, const base::unique_fd& link) {
    std::unique_ptr<ReceivedMessage> answer;
    Io io = waitReadable(socket, mReplyLimit, link);
    if (io == Io::kDone) {
        io = ReceivedMessage::receive(socket, Wait::kNo, &answer);
    }
    if (io == Io::kDone && answer->isIncomplete()) {
        return {};
    }
    if (io == Io::kDone && answer->header().kind == MessageKind::kOpenChannel) {
        base::unique_fd replacement = answer->takeDescriptor();
        if (isChannelOf(replacement, mPeer)) {
            return replacement;
        }
    }
    if (io == Io::kTimeout) {
        cut("it took too long to open a channel");
    } else if (io != Io::kClosed) {
        cut("it does not keep to the protocol");
    }
    return {};
}

std::unique_ptr<Channel> Link::openChannel(uint32_t code) {
    base::unique_fd ours;
    base::unique_fd theirs;
    const Socket socket = this->socket();
    if (socket == nullptr || !makeChannel(&ours, &theirs)) {
        return nullptr;
    }
    OutgoingMessage message(MessageKind::kOpenChannel, *this);
    message.header.code = code;
    message.lend(theirs);
    if (message.send(*socket, kLinkSendLimit) != Io::kDone) {
        return nullptr;
    }
    if (code == kReplaceChannel) {
        theirs.reset();  // So that its end can be seen.
        ours = awaitReplacement(ours, *socket);
        if (ours < 0) {
            return nullptr;
        }
    }
    auto channel = std::make_unique<Channel>(std::move(ours), *this, Channel::Role::kCaller);
    Mutex::Autolock lock(mLock);
    if (!mAlive) {
        return nullptr;
    }
    mChannels.push_back(channel.get());
    return channel;
}

status_t Link::transactOneway(uint64_t target, uint32_t code, const Parcel& data, uint32_t flags) {
    Mutex::Autolock lock(mOnewayLock);
    if (mOnewayChannel == nullptr) {
        mOnewayChannel = openChannel(kKeepChannel);  // Which waits for no answer.
    }
    if (mOnewayChannel == nullptr) {
        return connected() ? FAILED_TRANSACTION : DEAD_OBJECT;
    }
    if (!mOnewayChannel->usable()) {
        return DEAD_OBJECT;
    }
    return mOnewayChannel->transact(target, code, data, nullptr, flags);
}

}  // namespace socket
}  // namespace hardware
}  // namespace android
