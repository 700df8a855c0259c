/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>

#include <orva/test/1.0/IProbe.h>

namespace orva_test {

using android::sp;
using android::wp;
using android::hardware::hidl_handle;
using android::hardware::hidl_memory;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using orva::test::V1_0::Held;
using orva::test::V1_0::IProbe;
using orva::test::V1_0::Part;

// The object under test at either end; what it holds and notes is the process's, shared by all.
class Probe : public IProbe {
public:
    Probe();
    ~Probe() override;

    Return<void> echo(const hidl_vec<Part>& parts, echo_cb answer) override;
    Return<void> caller(const sp<IProbe>& inner, caller_cb answer) override;
    Return<void> nest(const sp<IProbe>& other, int32_t depth, nest_cb answer) override;
    Return<void> hold(const sp<IProbe>& object) override;
    Return<sp<IProbe>> held() override;
    Return<sp<IProbe>> handBack() override;
    Return<int32_t> callHeld() override;
    Return<sp<IProbe>> make() override;
    Return<bool> watch(int32_t value) override;
    Return<void> note(int32_t value) override;
    Return<void> notes(notes_cb answer) override;
    Return<int32_t> stay() override;
    Return<void> receive(const Part& part, receive_cb answer) override;
    Return<void> give(uint32_t descriptors, give_cb answer) override;
    Return<void> resources(resources_cb answer) override;

    static size_t alive() { return sAlive; }
    // Safe in a signal handler, once a probe has been made.
    static void openTheGate();
    // Forgets what this process's probes hold and noted.
    static void reset();

private:
    static std::atomic<size_t> sAlive;
};

// What this process's runtime holds, and another's.
Held resourcesHere();
Held resourcesOf(const sp<IProbe>& probe);

// The descriptors of /dev/null that a handle has; owned by it.
hidl_handle nullDevices(int count);
// A part with so many in its handle and in its memory.
Part partOf(int descriptors, int inRegion);

}  // namespace orva_test
