/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "Poller.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>

#include <log/log.h>

namespace android::hardware::socket {

namespace {

constexpr uint64_t kWakeUpToken = 0;

}  // namespace

bool PollItem::watch(int descriptor) {
    return Poller::instance().add(shared_from_this(), descriptor);
}

void PollItem::watchAgain() {
    Poller::instance().rearm(*this);
}

void PollItem::unwatch() {
    Poller::instance().remove(*this);
}

// Never destroyed: threads of the pool may outlive the program's static objects.
Poller& Poller::instance() {
    static Poller* const poller = new Poller;
    return *poller;
}

Poller::Poller()
        : mEpoll(epoll_create1(EPOLL_CLOEXEC)), mWakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    epoll_event event = {};
    event.events = EPOLLIN;  // Stays ready, so that it wakes every thread.
    event.data.u64 = kWakeUpToken;
    LOG_ALWAYS_FATAL_IF(
            mEpoll < 0 || mWakeUp < 0 || epoll_ctl(mEpoll, EPOLL_CTL_ADD, mWakeUp, &event) != 0,
            "no descriptors left to start the HIDL runtime with: %s", strerror(errno));
}

// Where there is but one thread, it need not be told who has what.
uint32_t Poller::events() const {
    return EPOLLIN | EPOLLRDHUP | (mOneThread ? 0u : uint32_t{EPOLLONESHOT});
}

bool Poller::add(const std::shared_ptr<PollItem>& item, int descriptor) {
    epoll_event event = {};
    event.events = events();
    {
        Mutex::Autolock lock(mLock);
        item->mDescriptor = descriptor;
        item->mToken = mNextToken;
        event.data.u64 = mNextToken;
        mItems.emplace(mNextToken++, item);
    }
    if (epoll_ctl(mEpoll, EPOLL_CTL_ADD, descriptor, &event) == 0) {
        return true;
    }
    ALOGE("cannot wait on a descriptor: %s", strerror(errno));
    remove(*item);
    return false;
}

void Poller::rearm(const PollItem& item) {
    if (mOneThread) {
        return;
    }
    epoll_event event = {};
    event.events = events();
    event.data.u64 = item.mToken;
    mHandOvers.fetch_add(1, std::memory_order_release);
    // Fails when the item was removed meanwhile, and then there is nothing to wait for.
    epoll_ctl(mEpoll, EPOLL_CTL_MOD, item.mDescriptor, &event);
}

void Poller::remove(const PollItem& item) {
    std::shared_ptr<PollItem> removed;  // Released after the lock.
    Mutex::Autolock lock(mLock);
    const auto it = mItems.find(item.mToken);
    if (it != mItems.end()) {
        epoll_ctl(mEpoll, EPOLL_CTL_DEL, item.mDescriptor, nullptr);
        removed = std::move(it->second);
        mItems.erase(it);
    }
}

std::shared_ptr<PollItem> Poller::wait(int timeout) {
    epoll_event event;
    const int ready = epoll_wait(mEpoll, &event, 1, timeout);
    if (ready <= 0 || event.data.u64 == kWakeUpToken) {
        LOG_ALWAYS_FATAL_IF(ready < 0 && errno != EINTR, "cannot wait: %s", strerror(errno));
        return nullptr;
    }
    mHandOvers.load(std::memory_order_acquire);
    Mutex::Autolock lock(mLock);
    const auto it = mItems.find(event.data.u64);
    return it == mItems.end() ? nullptr : it->second;
}

bool Poller::hasSome() const {
    pollfd entry = {mEpoll, POLLIN, 0};
    return poll(&entry, 1, 0) > 0;
}

void Poller::wakeAll() {
    eventfd_write(mWakeUp, 1);
}

void Poller::calmDown() {
    eventfd_t ignored;
    eventfd_read(mWakeUp, &ignored);
}

void Poller::waitForWake() const {
    pollfd entry = {mWakeUp, POLLIN, 0};
    while (poll(&entry, 1, -1) < 0 && errno == EINTR) {
    }
}

int Poller::serveOneThread() {
    Mutex::Autolock lock(mLock);
    if (!mItems.empty()) {
        return -1;
    }
    mOneThread = true;
    return mEpoll;
}

}  // namespace android::hardware::socket
