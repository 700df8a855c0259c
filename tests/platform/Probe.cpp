/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "Probe.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <hwbinder/IPCThreadState.h>
#include <orva_platform/Runtime.h>

#include "support/Descriptors.h"
#include "support/Eventually.h"

namespace orva_test {

using android::hardware::hidl_death_recipient;
using android::hardware::IPCThreadState;
using android::hardware::Void;
using android::hidl::base::V1_0::IBase;

namespace {

struct State {
    std::mutex lock;
    std::atomic<bool> gateShut{true};
    int32_t staying = 0;
    int32_t mostStaying = 0;
    sp<IProbe> held;
    sp<hidl_death_recipient> watcher;
    std::vector<int32_t> notes;
    int32_t noteCaller = -1;
};

// Never destroyed, as a server's own state may not be.
State& state() {
    static State* const state = new State;
    return *state;
}

struct Watcher : hidl_death_recipient {
    void serviceDied(uint64_t cookie, const wp<IBase>&) override {
        std::lock_guard<std::mutex> guard(state().lock);
        state().notes.push_back(static_cast<int32_t>(cookie));
    }
};

sp<IProbe> heldObject() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().held;
}

// A proxy's Return that failed, as its status; 0 for one that did not.
template <typename T>
int32_t statusOf(const Return<T>& result) {
    if (result.isOk()) {
        return 0;
    }
    return result.isDeadObject() ? android::DEAD_OBJECT : android::FAILED_TRANSACTION;
}

}  // namespace

std::atomic<size_t> Probe::sAlive{0};

Probe::Probe() {
    state();
    ++sAlive;
}
Probe::~Probe() {
    --sAlive;
}

void Probe::reset() {
    sp<IProbe> held;
    std::lock_guard<std::mutex> guard(state().lock);
    held = std::move(state().held);
    state().watcher = nullptr;
    state().notes.clear();
    state().gateShut = true;
    state().mostStaying = 0;
}

Return<void> Probe::echo(const hidl_vec<Part>& parts, echo_cb answer) {
    answer(parts);
    return Void();
}

Return<void> Probe::caller(const sp<IProbe>& inner, caller_cb answer) {
    const IPCThreadState* thread = IPCThreadState::self();
    const pid_t before = thread->getCallingPid();
    if (inner != nullptr) {
        inner->caller(nullptr, [](int32_t, int32_t, uint32_t) {}).isOk();
    }
    answer(before, thread->getCallingPid(), thread->getCallingUid());
    return Void();
}

Return<void> Probe::nest(const sp<IProbe>& other, int32_t depth, nest_cb answer) {
    int32_t reached = 1;
    int32_t status = 0;
    if (depth > 1) {
        const auto take = [&](int32_t deeper, int32_t why) {
            reached += deeper;
            status = why;
        };
        status = statusOf(other->nest(this, depth - 1, take)) ?: status;
    }
    answer(reached, status);
    return Void();
}

Return<void> Probe::hold(const sp<IProbe>& object) {
    sp<IProbe> before = object;
    std::lock_guard<std::mutex> guard(state().lock);
    std::swap(before, state().held);
    return Void();
}

Return<sp<IProbe>> Probe::held() {
    return heldObject();
}

Return<sp<IProbe>> Probe::handBack() {
    std::lock_guard<std::mutex> guard(state().lock);
    return std::move(state().held);
}

Return<int32_t> Probe::callHeld() {
    int32_t status = android::NAME_NOT_FOUND;
    if (const sp<IProbe> object = heldObject()) {
        std::thread([&] { status = statusOf(object->ping()); }).join();
    }
    return status;
}

Return<sp<IProbe>> Probe::make() {
    return sp<IProbe>(new Probe);
}

Return<bool> Probe::watch(int32_t value) {
    const sp<IProbe> object = heldObject();
    std::lock_guard<std::mutex> guard(state().lock);
    state().watcher = new Watcher;
    return object != nullptr &&
           object->linkToDeath(state().watcher, static_cast<uint64_t>(value)).withDefault(false);
}

Return<void> Probe::note(int32_t value) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().notes.push_back(value);
    state().noteCaller = IPCThreadState::self()->getCallingPid();
    return Void();
}

Return<void> Probe::notes(notes_cb answer) {
    std::lock_guard<std::mutex> guard(state().lock);
    answer(state().notes, state().noteCaller);
    return Void();
}

Return<int32_t> Probe::stay() {
    {
        std::lock_guard<std::mutex> guard(state().lock);
        state().mostStaying = std::max(state().mostStaying, ++state().staying);
        puts("in");  // Whoever started the process can wait for it when no thread is left to ask.
        fflush(stdout);
    }
    orva::test::eventually([] { return !state().gateShut; });
    std::lock_guard<std::mutex> guard(state().lock);
    --state().staying;
    return state().mostStaying;
}

void Probe::openTheGate() {
    state().gateShut = false;
}

Return<void> Probe::receive(const Part& part, receive_cb answer) {
    int32_t count = 0;
    bool sound = true;
    for (const native_handle_t* handle :
         {part.descriptors.getNativeHandle(), part.region.handle()}) {
        for (int i = 0; handle != nullptr && i < handle->numFds; ++i) {
            ++count;
            sound = sound && isCloseOnExec(handle->data[i]);
        }
    }
    answer(count, sound);
    return Void();
}

Return<void> Probe::give(uint32_t descriptors, give_cb answer) {
    answer(nullDevices(static_cast<int>(descriptors)));
    return Void();
}

Return<void> Probe::resources(resources_cb answer) {
    answer(resourcesHere());
    return Void();
}

Held resourcesHere() {
    const orva_platform::Counts counts = orva_platform::counts();
    return {counts.links,   counts.channels,          counts.threads, counts.exports,
            counts.proxies, openDescriptors().size(), Probe::alive()};
}

Held resourcesOf(const sp<IProbe>& probe) {
    Held held = {};
    probe->resources([&](const Held& told) { held = told; }).isOk();
    return held;
}

hidl_handle nullDevices(int count) {
    native_handle_t* native = native_handle_create(count, 0);
    for (int i = 0; i < count; ++i) {
        native->data[i] = open("/dev/null", O_RDWR | O_CLOEXEC);
    }
    hidl_handle handle;
    handle.setTo(native, true);
    return handle;
}

Part partOf(int descriptors, int inRegion) {
    Part part;
    part.name = "some text";
    part.numbers = {1, 2, 3};
    part.descriptors = nullDevices(descriptors);
    part.region = hidl_memory("ashmem", nullDevices(inRegion), 4096);
    return part;
}

}  // namespace orva_test
