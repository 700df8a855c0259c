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
using android::hidl::base::V1_0::IBase;
using orva::test::V1_0::IProbe;
using Part = IProbe::Part;

// The object under test at either end.
class Probe : public IProbe {
public:
    Probe() { ++sAlive; }
    ~Probe() override { --sAlive; }

    Return<void> echo(const hidl_vec<Part>& parts, echo_cb answer) override;
    Return<void> receive(const Part& part, receive_cb answer) override;
    Return<void> caller(const sp<IProbe>& inner, caller_cb answer) override;
    Return<void> hold(const sp<IProbe>& object) override;
    Return<sp<IProbe>> take() override;
    Return<sp<IProbe>> make() override { return sp<IProbe>(new Probe); }
    Return<void> note(int32_t value) override;
    Return<void> notes(notes_cb answer) override;
    Return<void> callHeld() override;
    Return<void> haveHeldWork() override;
    Return<void> work(uint32_t milliseconds) override;
    Return<void> resources(resources_cb answer) override;

    static inline std::atomic<size_t> sAlive{0};
};

// What this process's runtime holds, the threads of its pool apart, which come as they are needed.
std::string resourcesHere();

// A part with so many descriptors of /dev/null in its handle and in its memory; owned by it.
Part partOf(int descriptors, int inRegion);

}  // namespace orva_test
