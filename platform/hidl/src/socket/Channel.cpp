/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "Channel.h"

#include <functional>

#include <sys/socket.h>
#include <sys/time.h>

#include <hwbinder/Binder.h>
#include <log/log.h>

#include "../hwbinder/ServingScope.h"
#include "Link.h"
#include "RuntimeCounts.h"

namespace android {
namespace hardware {
namespace socket {

namespace {

// How deep calls may lie in one another on one thread, before a peer could exhaust its stack.
constexpr int kMaxNesting = 32;

// How long a oneway call may wait for room: nobody waits for its end, so nobody should for its
// start.
constexpr TimeLimit kOnewaySendLimit{1000};

// How long an answer may wait for room: its caller waits for it, and so takes it at once.
constexpr TimeLimit kReplySendLimit{2000};

// How long a thread of the pool waits for a caller's next call, and after how many further calls it
// does so again when none came.
constexpr TimeLimit kStay{5};
constexpr int kPause = 16;

void limitReceiving(int socket, TimeLimit limit) {
    timeval time = {};
    time.tv_sec = limit.count() / 1000;
    time.tv_usec = limit.count() % 1000 * 1000;
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
}

}  // namespace

Channel::Channel(base::unique_fd socket, Link& link, Role role)
        : mSocket(std::move(socket)), mLink(link), mRole(role) {
    ++runtimeCounts().channels;
    const TimeLimit limit = mLink.replyLimit();
    if (mRole == Role::kCaller && limit.count() > 0) {
        // Nobody has this socket who is not trusted, so the kernel may keep the time.
        limitReceiving(mSocket, limit);
    }
}

Channel::~Channel() {
    --runtimeCounts().channels;
}

void Channel::shutDown() {
    ::shutdown(mSocket, SHUT_RDWR);
}

void Channel::disarm() {
    if (!std::exchange(mDisarmed, true)) {
        Reactor::instance().disarm(mToken, mSocket);
    }
}

void Channel::lost(Io why) {
    mUsable = false;
    switch (why) {
    case Io::kTimeout:
        mLink.cut("it took too long to answer or to read");
        break;
    case Io::kBroken:
        mLink.cut("it does not keep to the protocol");
        break;
    default:
        break;
    }
}

Io Channel::receive(std::unique_ptr<ReceivedMessage>* message, const Deadline& deadline) {
    if (mRole == Role::kCaller) {
        return ReceivedMessage::receive(mSocket, Wait::kForPeer, message);
    }
    // The peer may have made this socket and still share it: it must not decide how long we wait,
    // nor take away what we were told is there.
    for (;;) {
        const Io ready = waitReadable(mSocket, deadline);
        if (ready != Io::kDone) {
            return ready;
        }
        const Io io = ReceivedMessage::receive(mSocket, Wait::kNo, message);
        if (io != Io::kEmpty) {
            return io;
        }
    }
}

status_t Channel::transact(uint64_t target, uint32_t code, const Parcel& data, Parcel* reply,
                           uint32_t flags) {
    const bool oneway = (flags & IBinder::FLAG_ONEWAY) != 0;
    const Deadline deadline(oneway ? kOnewaySendLimit : mLink.replyLimit());
    if (mRole == Role::kServer) {
        disarm();
    }
    {
        OutgoingMessage call(MessageKind::kCall, mLink);
        call.header.target = target;
        call.header.code = code;
        call.header.flags = flags;
        const status_t packed = call.pack(data);
        if (packed != NO_ERROR) {
            return packed;
        }
        const Io sent = call.send(mSocket, deadline);
        if (sent == Io::kBroken) {
            return FAILED_TRANSACTION;  // Nothing of it went out: the channel is as it was.
        }
        if (sent != Io::kDone) {
            lost(sent);
            return DEAD_OBJECT;
        }
    }
    if (oneway) {
        return NO_ERROR;
    }
    for (;;) {
        std::unique_ptr<ReceivedMessage> message;
        const Io io = receive(&message, deadline);
        if (io != Io::kDone) {
            lost(io);
            return DEAD_OBJECT;
        }
        if (message->header().kind == MessageKind::kCall) {
            // No peer puts its answer off for ever by calling instead.
            if (deadline.over()) {
                lost(Io::kTimeout);
                return DEAD_OBJECT;
            }
            if (!serve(std::move(message))) {
                return DEAD_OBJECT;
            }
            continue;
        }
        if (message->header().kind == MessageKind::kReply && message->isIncomplete()) {
            mLink.released(message->header());
            return FAILED_TRANSACTION;
        }
        if (message->header().kind != MessageKind::kReply || !message->resolve(mLink) ||
            !mLink.released(message->header())) {
            lost(Io::kBroken);
            return DEAD_OBJECT;
        }
        const status_t status = message->header().status;
        if (status == NO_ERROR && reply != nullptr) {
            reply->setIncoming(std::move(message));
        }
        return status;
    }
}

bool Channel::serve(std::unique_ptr<ReceivedMessage> call) {
    if (call->header().kind == MessageKind::kCall && call->isIncomplete()) {
        if ((call->header().flags & IBinder::FLAG_ONEWAY) == 0) {
            sendStatus(FAILED_TRANSACTION);
        }
        return mUsable;
    }
    if (call->header().kind != MessageKind::kCall || !call->resolve(mLink)) {
        lost(Io::kBroken);
        return false;
    }
    dispatch(std::move(call));
    return mUsable;
}

void Channel::dispatch(std::unique_ptr<ReceivedMessage> call) {
    const MessageHeader header = call->header();
    const bool oneway = (header.flags & IBinder::FLAG_ONEWAY) != 0;
    ServingScope scope(mLink.peer().pid, mLink.peer().uid, oneway, this);
    if (scope.depth() > kMaxNesting) {
        ALOGE("process %d nests more than %d calls in one another", mLink.peer().pid, kMaxNesting);
        sendStatus(FAILED_TRANSACTION);
        return;
    }
    const sp<BHwBinder> target = mLink.findTarget(header.target, oneway);
    Parcel data;
    Parcel reply;
    data.setIncoming(std::move(call));
    bool answered = oneway;
    status_t status = BAD_VALUE;
    const auto answer = [&](Parcel& out) {
        if (!answered) {
            answered = true;
            const status_t sent = sendReply(out);
            if (sent != NO_ERROR) {
                sendStatus(sent);
            }
            scope.callerGoesOn();
        }
    };
    if (target != nullptr) {
        // By reference, which takes no memory.
        status = target->transact(header.code, data, &reply, header.flags, std::cref(answer));
    } else {
        ALOGE("process %d calls an object that it does not hold", mLink.peer().pid);
    }
    if (!answered && status == NO_ERROR) {
        status = sendReply(reply);
        answered = status == NO_ERROR;
    }
    if (!answered) {
        sendStatus(status);
    }
    // What is let go of with the parcels can no longer be told of with this answer.
    scope.callerGoesOn();
}

bool Channel::tellWithAnswer(const Release& release) {
    if (mRelease.number != 0) {
        return false;
    }
    mRelease = release;
    return true;
}

Io Channel::sendAnswer(OutgoingMessage& answer) {
    answer.tell(mRelease);
    const Io sent = answer.send(mSocket, kReplySendLimit);
    if (sent == Io::kDone) {
        mRelease = {};
    }
    return sent;
}

// NO_ERROR also when the peer has gone: then nobody waits for another answer.
status_t Channel::sendReply(const Parcel& reply) {
    if (reply.errorCheck() != NO_ERROR) {
        return reply.errorCheck();
    }
    OutgoingMessage message(MessageKind::kReply, mLink);
    const status_t packed = message.pack(reply);
    if (packed != NO_ERROR) {
        return packed;
    }
    const Io sent = sendAnswer(message);
    if (sent == Io::kBroken) {
        return FAILED_TRANSACTION;
    }
    if (sent != Io::kDone) {
        lost(sent);
    }
    return NO_ERROR;
}

void Channel::sendStatus(status_t status) {
    OutgoingMessage message(MessageKind::kReply, mLink);
    message.header.status = status;
    const Io sent = sendAnswer(message);
    if (sent != Io::kDone) {
        lost(sent);
    }
}

ServerChannel::ServerChannel(base::unique_fd socket, Stay stay, std::shared_ptr<Link> link)
        : mLink(std::move(link)),
          mChannel(std::move(socket), *mLink, Channel::Role::kServer),
          mStay(stay) {
    if (mStay == Stay::kShortly) {
        limitReceiving(mChannel.socket(), kStay);
    }
}

bool ServerChannel::open() {
    mChannel.setToken(Reactor::instance().add(shared_from_this()));
    if (!Reactor::instance().arm(mChannel.token(), mChannel.socket(), Notice::kEach)) {
        Reactor::instance().remove(mChannel.token(), mChannel.socket());
        return false;
    }
    return true;
}

void ServerChannel::close() {
    mChannel.shutDown();
    Reactor::instance().remove(mChannel.token(), mChannel.socket());
}

// Most callers call again at once. Whoever waits for that spares this process a call of the
// kernel's each time; but others must be there for everybody else.
bool ServerChannel::mayStay() {
    if (mStay == Stay::kNever || !Reactor::instance().othersWait()) {
        return false;
    }
    if (mPause > 0) {
        --mPause;
        return false;
    }
    return true;
}

// Serves what is there and what follows at once. kEmpty when there may be more later.
Io ServerChannel::serveCalls(bool* found, bool* oneway) {
    std::unique_ptr<ReceivedMessage> call;
    Io io = ReceivedMessage::receive(mChannel.socket(), Wait::kNo, &call);
    while (io == Io::kDone) {
        *found = true;
        *oneway = *oneway || (call->header().flags & IBinder::FLAG_ONEWAY) != 0;
        const bool stays = mayStay();
        if (stays) {
            mChannel.disarm();
        }
        if (!mChannel.serve(std::move(call))) {
            return Io::kClosed;
        }
        if (!stays || !Reactor::instance().othersWait()) {
            return Io::kEmpty;
        }
        io = ReceivedMessage::receive(mChannel.socket(), Wait::kForMore, &call);
        if (io == Io::kEmpty) {
            mPause = kPause;
        }
    }
    return io;
}

// Whoever is told first has the channel to itself. A caller that waits for its answer sends nothing
// behind its call, and if it does all the same, that lies there until it sends more or leaves. Only
// where a sender that keeps to the rules may have left something that no thread was told of is the
// kernel asked to tell of it.
bool ServerChannel::ready() {
    if (mTold.fetch_add(1, std::memory_order_acquire) != 0) {
        return false;
    }
    bool found = false;
    bool oneway = false;
    const Io io = serveCalls(&found, &oneway);
    if (io == Io::kEmpty) {
        const bool disarmed = mChannel.takeDisarmed();
        const bool othersTold = mTold.exchange(0, std::memory_order_acq_rel) > 1;
        if (oneway || disarmed || othersTold) {
            Reactor::instance().rearm(mChannel.token(), mChannel.socket(), Notice::kEach);
        }
        return found;
    }
    if (io == Io::kBroken || io == Io::kTimeout) {
        mLink->cut("it does not keep to the protocol");
    }
    mLink->forget(*this);
    return true;
}

}  // namespace socket
}  // namespace hardware
}  // namespace android
