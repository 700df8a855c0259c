/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "support/services/Journal.h"

#include <orva/AIServiceBase.h>
#include <orva/AIServiceConnectManager.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iterator>
#include <mutex>
#include <utility>

namespace orva::hidl::test {

namespace {

// The mutexes that this thread holds, of all that objects of this program lock. Plain memory,
// because static objects still lock when a thread's own objects are gone.
struct HeldMutexes {
    const void* mutexes[16];
    size_t count;
};
thread_local HeldMutexes held;

// The first mutex that this thread locks in a range of memory.
struct Watch {
    const char* begin;
    const char* end;
    const void* first;
};
thread_local Watch watch;

std::atomic<Journal*> current{nullptr};
std::mutex entriesMutex;
std::vector<std::string> entries;
const void* sessionMutex = nullptr;
const void* listenerMutex = nullptr;

// The client's number in a service id.
std::string NumberIn(const std::string& id) {
    return id.substr(id.find(':') + 1);
}

bool Holds(const void* mutex) {
    return std::find(held.mutexes, held.mutexes + held.count, mutex) != held.mutexes + held.count;
}

}  // namespace

Admission admission;

const void* Journal::FirstLocked(const void* object, size_t size,
                                 const std::function<void()>& operation) {
    const auto* const begin = static_cast<const char*>(object);
    watch = {begin, begin + size, nullptr};
    operation();
    return std::exchange(watch, {}).first;
}

void Journal::Begin(const void* sessions, const void* listeners) {
    if (sessions == nullptr || listeners == nullptr || sessions == listeners) {
        abort();
    }
    sessionMutex = sessions;
    listenerMutex = listeners;
    Take();
    admission = Admission();
    current = this;
}

Journal::~Journal() {
    current = nullptr;
}

std::vector<std::string> Journal::Take() {
    std::lock_guard<std::mutex> lock(entriesMutex);
    return std::exchange(entries, {});
}

void Journal::Note(const std::string& what) {
    if (current == nullptr) {
        return;
    }
    std::string locks = Holds(sessionMutex) ? "S" : "";
    locks += Holds(listenerMutex) ? "L" : "";
    const std::string entry = (locks.empty() ? "-" : locks) + " " + what;
    std::lock_guard<std::mutex> lock(entriesMutex);
    entries.push_back(entry);
}

}  // namespace orva::hidl::test

// The linker sends each call of NAME to __wrap_NAME (see CMakeLists.txt); __real_NAME is the
// original.
#define STAND_IN(name) __asm__("__wrap_" name)
#define ORIGINAL(name) __asm__("__real_" name)
#define MANAGER "_ZN4orva23AIServiceConnectManager"
#define TEXT "NSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"

namespace orva::hidl::test {

int RealLock(pthread_mutex_t*) ORIGINAL("pthread_mutex_lock");
int Lock(pthread_mutex_t*) STAND_IN("pthread_mutex_lock");
int Lock(pthread_mutex_t* mutex) {
    const int status = RealLock(mutex);
    if (held.count == std::size(held.mutexes)) {
        abort();
    }
    held.mutexes[held.count++] = mutex;
    const auto* const address = reinterpret_cast<const char*>(mutex);
    if (watch.first == nullptr && address >= watch.begin && address < watch.end) {
        watch.first = mutex;
    }
    return status;
}

int RealUnlock(pthread_mutex_t*) ORIGINAL("pthread_mutex_unlock");
int Unlock(pthread_mutex_t*) STAND_IN("pthread_mutex_unlock");
int Unlock(pthread_mutex_t* mutex) {
    const void** const end = held.mutexes + held.count;
    const void** const found = std::find(held.mutexes, end, mutex);
    if (found != end) {
        std::copy(found + 1, end, found);
        --held.count;
    }
    return RealUnlock(mutex);
}

void RealCreateIdleTimer(AIServiceBase*) ORIGINAL("_ZN4orva13AIServiceBase15CreateIdleTimerEv");
void CreateIdleTimer(AIServiceBase*) STAND_IN("_ZN4orva13AIServiceBase15CreateIdleTimerEv");
void CreateIdleTimer(AIServiceBase* node) {
    Journal::Note("CreateIdleTimer");
    RealCreateIdleTimer(node);
}

bool RealCheck(AIServiceConnectManager*) ORIGINAL(MANAGER "15CheckServiceNumEv");
bool Check(AIServiceConnectManager*) STAND_IN(MANAGER "15CheckServiceNumEv");
bool Check(AIServiceConnectManager* manager) {
    Journal::Note("CheckServiceNum");
    return current != nullptr ? admission.room : RealCheck(manager);
}

std::string RealTimedOut(AIServiceConnectManager*)
        ORIGINAL(MANAGER "19GetTimeoutServiceIdB5cxx11Ev");
std::string TimedOut(AIServiceConnectManager*) STAND_IN(MANAGER "19GetTimeoutServiceIdB5cxx11Ev");
std::string TimedOut(AIServiceConnectManager* manager) {
    Journal::Note("GetTimeoutServiceId");
    return current != nullptr ? admission.timedOut : RealTimedOut(manager);
}

void RealUpdate(AIServiceConnectManager*, std::string)
        ORIGINAL(MANAGER "17UpdateServiceTimeE" TEXT);
void Update(AIServiceConnectManager*, std::string) STAND_IN(MANAGER "17UpdateServiceTimeE" TEXT);
void Update(AIServiceConnectManager* manager, std::string id) {
    if (const auto before = std::exchange(admission.beforeUpdate, nullptr)) {
        before();
    }
    Journal::Note("UpdateServiceTime " + NumberIn(id));
    RealUpdate(manager, std::move(id));
}

void RealRemove(AIServiceConnectManager*, std::string)
        ORIGINAL(MANAGER "17RemoveServiceTimeE" TEXT);
void Remove(AIServiceConnectManager*, std::string) STAND_IN(MANAGER "17RemoveServiceTimeE" TEXT);
void Remove(AIServiceConnectManager* manager, std::string id) {
    Journal::Note("RemoveServiceTime " + NumberIn(id));
    RealRemove(manager, std::move(id));
}

}  // namespace orva::hidl::test
