/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "Probe.h"

#include <fcntl.h>

#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include <hwbinder/IPCThreadState.h>
#include <orva_platform/Runtime.h>

#include "support/Descriptors.h"

namespace orva_test {

using android::hardware::IPCThreadState;
using android::hardware::Void;

namespace {

struct State {
    std::mutex lock;
    sp<IProbe> held;
    std::vector<int32_t> notes;

    sp<IProbe> getHeld() {
        std::lock_guard<std::mutex> guard(lock);
        return held;
    }
    void note(int32_t value) {
        std::lock_guard<std::mutex> guard(lock);
        notes.push_back(value);
    }
};

// Never destroyed, as a server's own state may not be.
State& state() {
    static State* const state = new State;
    return *state;
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

}  // namespace

Return<void> Probe::echo(const hidl_vec<Part>& parts, echo_cb answer) {
    answer(parts);
    return Void();
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
    answer(static_cast<int32_t>(strlen(part.name.c_str()) + part.numbers.size()), count, sound);
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

Return<void> Probe::hold(const sp<IProbe>& object) {
    sp<IProbe> before = object;
    std::lock_guard<std::mutex> guard(state().lock);
    std::swap(before, state().held);
    return Void();
}

Return<sp<IProbe>> Probe::take() {
    std::lock_guard<std::mutex> guard(state().lock);
    return std::move(state().held);
}

Return<void> Probe::note(int32_t value) {
    state().note(IPCThreadState::self()->getCallingPid() == 0 ? value : -1);
    return Void();
}

Return<void> Probe::notes(notes_cb answer) {
    std::lock_guard<std::mutex> guard(state().lock);
    answer(state().notes);
    return Void();
}

Return<void> Probe::callHeld() {
    if (const sp<IProbe> held = state().getHeld()) {
        held->caller(nullptr, [](int32_t, int32_t, uint32_t) {}).isOk();
    }
    return Void();
}

Return<void> Probe::haveHeldWork() {
    const sp<IProbe> held = state().getHeld();
    orva_platform::deferAnswer();
    state().note(held->work(0).isOk() ? 1 : -1);
    orva_platform::awaitAnswer();
    state().note(2);
    return Void();
}

Return<void> Probe::work(uint32_t milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    return Void();
}

Return<void> Probe::resources(resources_cb answer) {
    answer(resourcesHere() + ", " + std::to_string(openDescriptors().size()) + " descriptors");
    return Void();
}

std::string resourcesHere() {
    const orva_platform::Counts held = orva_platform::counts();
    std::string text = std::to_string(held.peers) + " peers, ";
    text += std::to_string(held.channels) + " channels, ";
    text += std::to_string(held.exports) + " objects of its own held by others, ";
    text += std::to_string(held.proxies) + " of others, ";
    return text + std::to_string(Probe::sAlive) + " probes";
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
