/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "Channel.h"

#include <algorithm>
#include <functional>
#include <utility>

#include <sys/socket.h>
#include <sys/time.h>

#include <hwbinder/Binder.h>
#include <log/log.h>

#include "../RuntimeState.h"
#include "Peer.h"

namespace android::hardware::socket {

namespace {

// How deep calls may lie in one another on one thread, before a peer could exhaust its stack.
constexpr int kMaxNesting = 32;

// How long a oneway call may wait for room: nobody waits for its end, so nobody should for its
// start.
constexpr TimeLimit kOnewaySendLimit{1000};

// How long an answer may wait for room: its caller waits for it, and so takes it at once. The
// peer's own limit bounds it, too, where that is less.
constexpr TimeLimit kReplySendLimit{2000};

// How long a peer is waited for at first: as long as those take that do what they should, and no
// longer than others can wait meanwhile. Afterwards the caller does not wait if it need not, or
// looks at a clock.
constexpr TimeLimit kPatience{50};

// How long a call that may be late may wait for room.
constexpr TimeLimit kLateSendLimit{20};

// How long a peer has to answer when it was we who overran its limit, with a call of its own.
constexpr TimeLimit kGrace{1000};

}  // namespace

Channel::Channel(base::unique_fd socket, Peer& peer, Role role)
        : WayBack(&peer), mSocket(std::move(socket)), mPeer(peer), mRole(role) {
    ++runtimeState().channels;
    if (mRole == Role::kCaller) {
        // Nobody has this socket who is not trusted, so the kernel may keep the time of the first
        // moments, which are nearly always all.
        const timeval time = {0, std::chrono::microseconds(kPatience).count()};
        setsockopt(mSocket, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
    }
}

Channel::~Channel() {
    --runtimeState().channels;
}

void Channel::shutDown() {
    ::shutdown(mSocket, SHUT_RDWR);
}

void Channel::lost(Io why) {
    mUsable = false;
    switch (why) {
    case Io::kTimeout:
        mPeer.cut("it took too long to answer or to read");
        break;
    case Io::kBroken:
        mPeer.cut("it does not keep to the protocol");
        break;
    default:
        break;
    }
}

Io Channel::receive(std::unique_ptr<ReceivedMessage>* message, bool mayBeLate) {
    Io io = Io::kEmpty;
    if (mRole == Role::kCaller) {
        io = ReceivedMessage::receive(mSocket, Wait::kForPeer, message);
        if (io == Io::kTimeout && !mayBeLate) {
            io = Io::kEmpty;
        }
    }
    // The peer may have made this socket and still share it: it must not decide how long we wait,
    // nor take away what we were told is there.
    while (io == Io::kEmpty) {
        io = waitReadable(mSocket, *mDeadline);
        if (io == Io::kDone) {
            io = ReceivedMessage::receive(mSocket, Wait::kNo, message);
        }
    }
    return io;
}

status_t Channel::transact(uint64_t target, uint32_t code, const Parcel& data, Parcel* reply,
                           uint32_t flags, bool mayBeLate) {
    const bool oneway = (flags & IBinder::FLAG_ONEWAY) != 0;
    // What is called back while a call back is under way has what is left of that one's time.
    const bool outermost = !mDeadline;
    if (outermost) {
        mDeadline.emplace(oneway ? kOnewaySendLimit : mPeer.replyLimit());
        mOverran = false;
    }
    const status_t status = send(target, code, data, flags, mayBeLate);
    const status_t answered = status == NO_ERROR && !oneway ? awaitReply(reply, mayBeLate) : status;
    if (outermost && !mLate) {
        mDeadline.reset();
    }
    return answered;
}

status_t Channel::send(uint64_t target, uint32_t code, const Parcel& data, uint32_t flags,
                       bool mayBeLate) {
    mDeadline->begin();
    OutgoingMessage call(MessageKind::kCall, mPeer);
    call.header.target = target;
    call.header.code = code;
    call.header.flags = flags;
    const status_t packed = call.pack(data);
    if (packed != NO_ERROR) {
        return packed;
    }
    const Io sent = call.send(mSocket, mayBeLate ? Deadline(kLateSendLimit) : *mDeadline);
    if (sent == Io::kBroken) {
        mPeer.couldNotCall();
        return FAILED_TRANSACTION;  // Nothing of it went out: the channel is as it was.
    }
    if (sent != Io::kDone) {
        mWasClosed = sent == Io::kClosed;
        lost(sent);
        return DEAD_OBJECT;
    }
    return NO_ERROR;
}

void Channel::awaitLate() {
    mLate = false;
    awaitReply(nullptr, false);
    mDeadline.reset();
}

status_t Channel::awaitReply(Parcel* reply, bool mayBeLate) {
    for (;;) {
        std::unique_ptr<ReceivedMessage> message = std::move(mUnserved);
        const Io io = message != nullptr ? Io::kDone : receive(&message, mayBeLate);
        const bool goesOn = io == Io::kTimeout ||
                            (io == Io::kDone && message->header().kind == MessageKind::kCall);
        if (mayBeLate && goesOn) {
            mUnserved = std::move(message);
            mLate = true;
            return NO_ERROR;
        }
        if (io != Io::kDone) {
            lost(io);
            return DEAD_OBJECT;
        }
        if (message->header().kind == MessageKind::kCall) {
            // No peer puts its answer off for ever by calling instead.
            if (mDeadline->over()) {
                lost(Io::kTimeout);
                return DEAD_OBJECT;
            }
            if (mOverran) {
                refuse(*message);
            } else {
                serve(std::move(message));
            }
            if (!mUsable) {
                return DEAD_OBJECT;
            }
            if (!mOverran && mDeadline->over()) {
                ALOGW("process %d has a second left to answer", mPeer.identity().pid);
                mOverran = true;
                mDeadline->restart(kGrace);
            }
            continue;
        }
        if (message->header().kind == MessageKind::kReply && message->isIncomplete()) {
            mPeer.released(message->header());
            return FAILED_TRANSACTION;
        }
        if (message->header().kind != MessageKind::kReply) {
            lost(Io::kBroken);
            return DEAD_OBJECT;
        }
        const status_t resolved = message->resolve(mPeer);
        if (resolved == BAD_VALUE || !mPeer.released(message->header())) {
            lost(Io::kBroken);
            return DEAD_OBJECT;
        }
        const status_t status = resolved == NO_ERROR ? message->header().status : resolved;
        if (status == NO_ERROR && reply != nullptr) {
            reply->setIncoming(std::move(message));
        }
        return status;
    }
}

bool Channel::serve(std::unique_ptr<ReceivedMessage> call) {
    if (call->header().kind != MessageKind::kCall) {
        lost(Io::kBroken);
        return false;
    }
    const size_t descriptors = call->descriptorCount();
    if (!mPeer.holdDescriptors(descriptors)) {
        refuse(*call);
        return mUsable;
    }
    const status_t resolved = call->isIncomplete() ? FAILED_TRANSACTION : call->resolve(mPeer);
    if (resolved == BAD_VALUE) {
        lost(Io::kBroken);
    } else if (resolved != NO_ERROR || (call->bringsObjects() && !mPeer.canBeCalled())) {
        refuse(*call);
    } else {
        dispatch(std::move(call));
    }
    call.reset();
    mPeer.dropDescriptors(descriptors);
    return mUsable;
}

void Channel::refuse(const ReceivedMessage& call) {
    if ((call.header().flags & IBinder::FLAG_ONEWAY) == 0) {
        sendStatus(FAILED_TRANSACTION);
    }
}

void Channel::dispatch(std::unique_ptr<ReceivedMessage> call) {
    const MessageHeader header = call->header();
    const bool oneway = (header.flags & IBinder::FLAG_ONEWAY) != 0;
    const Identity& caller = mPeer.identity();
    ServingScope scope(caller.pid, caller.uid, oneway ? nullptr : this);
    if (scope.depth() > kMaxNesting) {
        ALOGE("process %d nests more than %d calls in one another", caller.pid, kMaxNesting);
        refuse(*call);
        return;
    }
    const sp<BHwBinder> target = mPeer.findTarget(header.target, oneway);
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
        ALOGE("process %d calls an object that it does not hold", caller.pid);
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
    const TimeLimit limit = mPeer.replyLimit();
    const Io sent = answer.send(
            mSocket, limit.count() > 0 ? std::min(limit, kReplySendLimit) : kReplySendLimit);
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
    OutgoingMessage message(MessageKind::kReply, mPeer);
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
    OutgoingMessage message(MessageKind::kReply, mPeer);
    message.header.status = status;
    const Io sent = sendAnswer(message);
    if (sent != Io::kDone) {
        lost(sent);
    }
}

}  // namespace android::hardware::socket
