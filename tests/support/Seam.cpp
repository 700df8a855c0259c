/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "support/Seam.h"

#include <cutils/native_handle.h>
#include <sys/mman.h>
#include <sys/types.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>

namespace orva::test {

namespace {

struct State {
    std::atomic<size_t> calls{0};
    std::atomic<size_t> failAt{0};  // 0: never
    std::atomic<bool> happened{false};
};

State& StateOf(Call call) {
    static std::array<State, static_cast<size_t>(Call::Count_)> states;
    return states[static_cast<size_t>(call)];
}

// Not noted by default, and then without a lock: the mappings of many threads pass here.
std::atomic<bool> tracing{false};
std::mutex traceMutex;
std::vector<std::string> trace;

}  // namespace

bool Fails(Call call) {
    State& state = StateOf(call);
    if (++state.calls != state.failAt) {
        return false;
    }
    state.happened = true;
    return true;
}

void Note(const std::string& call) {
    if (tracing) {
        std::lock_guard<std::mutex> lock(traceMutex);
        trace.push_back(call);
    }
}

CallTrace::CallTrace() {
    Take();
    tracing = true;
}

CallTrace::~CallTrace() {
    tracing = false;
}

std::vector<std::string> CallTrace::Take() {
    std::lock_guard<std::mutex> lock(traceMutex);
    return std::exchange(trace, {});
}

size_t CallCount(Call call) {
    return StateOf(call).calls;
}

Fault::Fault(Call call, size_t nth) : call_(call) {
    State& state = StateOf(call);
    if (state.failAt != 0) {
        abort();
    }
    state.happened = false;
    state.failAt = state.calls + nth;
}

Fault::~Fault() {
    StateOf(call_).failAt = 0;
}

bool Fault::Happened() const {
    return StateOf(call_).happened;
}

}  // namespace orva::test

using orva::test::Call;
using orva::test::Fails;
using orva::test::Note;

// The linker sends each call of NAME to __wrap_NAME (see CMakeLists.txt); __real_NAME is the
// platform's own.
extern "C" {

void* __real_mmap(void* address, size_t length, int protection, int flags, int fd, off_t offset);
int __real_munmap(void* address, size_t length);
int __real_ashmem_create_region(const char* name, size_t size);
native_handle_t* __real_native_handle_create(int numFds, int numInts);
void* __real__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t& tag);
int __real__memcpy_s_chk(void* dest, size_t destMax, const void* src, size_t count,
                         size_t destObject, size_t srcObject);

void* __wrap_mmap(void* address, size_t length, int protection, int flags, int fd, off_t offset) {
    Note("mmap " + std::to_string(length));
    return Fails(Call::Mmap) ? MAP_FAILED
                             : __real_mmap(address, length, protection, flags, fd, offset);
}

int __wrap_munmap(void* address, size_t length) {
    Note("munmap " + std::to_string(length));
    Fails(Call::Munmap);
    return __real_munmap(address, length);
}

int __wrap_ashmem_create_region(const char* name, size_t size) {
    return Fails(Call::CreateRegion) ? -1 : __real_ashmem_create_region(name, size);
}

native_handle_t* __wrap_native_handle_create(int numFds, int numInts) {
    if (Fails(Call::CreateHandle)) {
        return nullptr;
    }
    return Fails(Call::EmptyHandle) ? __real_native_handle_create(0, numInts)
                                    : __real_native_handle_create(numFds, numInts);
}

void* __wrap__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t& tag) {
    return Fails(Call::NothrowNew) ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}

int __wrap__memcpy_s_chk(void* dest, size_t destMax, const void* src, size_t count,
                         size_t destObject, size_t srcObject) {
    return Fails(Call::CopyMemory)
                   ? EINVAL
                   : __real__memcpy_s_chk(dest, destMax, src, count, destObject, srcObject);
}

}  // extern "C"
