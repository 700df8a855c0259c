/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "Reactor.h"

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include <sys/eventfd.h>

#include <log/log.h>

namespace android {
namespace hardware {
namespace socket {

namespace {

constexpr uint64_t kWakeUpToken = 0;

constexpr uint32_t kEvents = EPOLLIN | EPOLLRDHUP;

// How many messages of one item's come before all others are looked at, and how many times nobody
// looks there first when a look was in vain.
constexpr int kMostInARow = 16;
constexpr int kPause = 16;

}  // namespace

// Never destroyed: threads of the pool may outlive the program's static objects.
Reactor& Reactor::instance() {
    static Reactor* const reactor = new Reactor;
    return *reactor;
}

Reactor::Reactor()
        : mEpoll(epoll_create1(EPOLL_CLOEXEC)), mWakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    epoll_event event = {};
    event.events = EPOLLIN;  // Stays ready, so that it wakes every thread.
    event.data.u64 = kWakeUpToken;
    LOG_ALWAYS_FATAL_IF(
            mEpoll < 0 || mWakeUp < 0 || epoll_ctl(mEpoll, EPOLL_CTL_ADD, mWakeUp, &event) != 0,
            "no descriptors left to start the HIDL runtime with: %s", strerror(errno));
}

uint64_t Reactor::add(std::shared_ptr<ReactorItem> item) {
    Mutex::Autolock lock(mItemsLock);
    mItems.emplace(mNextToken, std::move(item));
    return mNextToken++;
}

// Where there is but one thread, it need not be told who has what.
epoll_event Reactor::eventsOf(uint64_t token, Notice notice) const {
    epoll_event event = {};
    event.events = kEvents;
    if (!mPolled) {
        event.events |= notice == Notice::kOnce ? EPOLLONESHOT : EPOLLET;
    }
    event.data.u64 = token;
    return event;
}

bool Reactor::arm(uint64_t token, int socket, Notice notice) {
    epoll_event event = eventsOf(token, notice);
    if (epoll_ctl(mEpoll, EPOLL_CTL_ADD, socket, &event) != 0) {
        ALOGE("cannot wait on a socket: %s", strerror(errno));
        return false;
    }
    return true;
}

void Reactor::rearm(uint64_t token, int socket, Notice notice) {
    if (mPolled) {
        return;  // Still armed.
    }
    epoll_event event = eventsOf(token, notice);
    mHandOvers.fetch_add(1, std::memory_order_release);
    // Fails when the item was removed meanwhile, and then there is nothing to wait for.
    epoll_ctl(mEpoll, EPOLL_CTL_MOD, socket, &event);
}

void Reactor::disarm(uint64_t token, int socket) {
    if (mPolled) {
        return;  // Its one thread does not wait meanwhile.
    }
    epoll_event event = {};
    event.events = EPOLLET;
    event.data.u64 = token;
    epoll_ctl(mEpoll, EPOLL_CTL_MOD, socket, &event);
}

void Reactor::remove(uint64_t token, int socket) {
    epoll_ctl(mEpoll, EPOLL_CTL_DEL, socket, nullptr);
    std::shared_ptr<ReactorItem> item;  // Released after the lock.
    Mutex::Autolock lock(mItemsLock);
    const auto it = mItems.find(token);
    if (it != mItems.end()) {
        item = std::move(it->second);
        mItems.erase(it);
    }
}

std::shared_ptr<ReactorItem> Reactor::find(uint64_t token) {
    Mutex::Autolock lock(mItemsLock);
    const auto it = mItems.find(token);
    return it == mItems.end() ? nullptr : it->second;
}

// Who polls has been told that something is there, and mostly it is where the last message came
// from. Who comes early finds nothing there, and would ask the kernel once too often.
bool Reactor::serveLast() {
    if (mPause > 0) {
        --mPause;
        return false;
    }
    if (mServedInARow == kMostInARow) {
        mServedInARow = 0;
        return false;
    }
    const auto item = find(mLastServed);
    if (item != nullptr && item->ready()) {
        ++mServedInARow;
        return true;
    }
    mServedInARow = 0;
    mPause = kPause;
    return false;
}

bool Reactor::serveOne() {
    if (mPolled && serveLast()) {
        return !mStopping;
    }
    epoll_event event;
    ++mWaiting;
    const int ready = epoll_wait(mEpoll, &event, 1, -1);
    const bool lastToWait = --mWaiting == 0;
    if (ready < 0 && errno != EINTR) {
        ALOGE("cannot wait for calls: %s", strerror(errno));
        return false;
    }
    if (ready <= 0 || event.data.u64 == kWakeUpToken) {
        return !mStopping;
    }
    if (lastToWait && !mPolled) {
        growIfBusy();
    }
    mHandOvers.load(std::memory_order_acquire);
    if (const auto item = find(event.data.u64)) {
        item->ready();
    }
    if (mPolled) {
        mLastServed = event.data.u64;
    }
    return !mStopping;
}

void Reactor::loop() {
    while (!mStopping && serveOne()) {
    }
}

void Reactor::growIfBusy() {
    Mutex::Autolock lock(mPoolLock);
    const size_t own = mMaxThreads - (mCallerJoins ? 1 : 0);
    if (!mStarted || mStopping || mThreads.size() >= own) {
        return;
    }
    try {
        mThreads.emplace_back([this] { run(); });
        ++mRunning;
    } catch (const std::system_error& error) {
        ALOGE("the pool stays at %zu threads: %s", mThreads.size(), error.what());
    }
}

void Reactor::run() {
    loop();
    Mutex::Autolock lock(mPoolLock);
    --mRunning;
    mThreadLeft.broadcast();
}

void Reactor::configure(size_t maxThreads, bool callerJoins) {
    Mutex::Autolock lock(mPoolLock);
    mMaxThreads = maxThreads;
    mCallerJoins = callerJoins;
}

int Reactor::configurePolling() {
    {
        Mutex::Autolock lock(mItemsLock);
        if (!mItems.empty()) {
            return -1;
        }
    }
    Mutex::Autolock lock(mPoolLock);
    if (mRunning > 0) {
        return -1;
    }
    mMaxThreads = 1;
    mCallerJoins = true;
    mPolled = true;
    return mEpoll;
}

size_t Reactor::maxThreads() {
    Mutex::Autolock lock(mPoolLock);
    return mMaxThreads;
}

size_t Reactor::threadCount() {
    Mutex::Autolock lock(mPoolLock);
    return mRunning;
}

void Reactor::start() {
    {
        Mutex::Autolock lock(mPoolLock);
        if (mStarted) {
            return;
        }
        mStarted = true;
    }
    growIfBusy();
}

void Reactor::join() {
    {
        Mutex::Autolock lock(mPoolLock);
        ++mRunning;
        mStarted = true;
    }
    run();
}

void Reactor::requestStop() {
    mStopping = true;
    eventfd_write(mWakeUp, 1);
}

bool Reactor::quiesce(std::chrono::milliseconds patience) {
    requestStop();
    const auto deadline = std::chrono::steady_clock::now() + patience;
    Mutex::Autolock lock(mPoolLock);
    while (mRunning > 0) {
        const std::chrono::nanoseconds left = deadline - std::chrono::steady_clock::now();
        if (left.count() <= 0) {
            return false;
        }
        mThreadLeft.waitRelative(mPoolLock, left.count());
    }
    return true;
}

void Reactor::stop() {
    requestStop();
    std::vector<std::thread> threads;
    {
        Mutex::Autolock lock(mPoolLock);
        threads.swap(mThreads);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Mutex::Autolock lock(mPoolLock);
    while (mRunning > 0) {
        mThreadLeft.wait(mPoolLock);
    }
    mStarted = false;
    eventfd_t ignored;
    eventfd_read(mWakeUp, &ignored);
    mStopping = false;
}

}  // namespace socket
}  // namespace hardware
}  // namespace android
