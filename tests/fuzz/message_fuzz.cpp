/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Any bytes and descriptors, received as a message and served by a probe that reads every byte and
// every descriptor that it is given.
#include <orva/test/1.0/BnHwProbe.h>
#include <orva/test/1.0/BpHwProbe.h>
#include <unistd.h>

#include <cstdlib>

#include "MessageInput.h"
#include "platform/Probe.h"

namespace {

using namespace orva_test;
using android::hardware::Void;
using orva::test::V1_0::BnHwProbe;
using orva::test::V1_0::BpHwProbe;

struct Reader : Probe {
    Return<void> echo(const hidl_vec<Part>& parts, echo_cb answer) override {
        const hidl_vec<Part> copy = parts;
        for (const Part& part : copy) {
            const native_handle_t* handle = part.descriptors.getNativeHandle();
            for (int i = 0; handle != nullptr && i < handle->numFds; ++i) {
                if (handle->data[i] < 0) {
                    abort();  // Every descriptor that arrives is open.
                }
            }
        }
        answer(copy);
        return Void();
    }
    // Those that would wait, or do as much as they are told.
    Return<void> nest(const sp<IProbe>&, int32_t, nest_cb answer) override {
        answer(0, 0);
        return Void();
    }
    Return<int32_t> callHeld() override { return 0; }
    Return<int32_t> stay() override { return 0; }
    Return<void> give(uint32_t, give_cb answer) override {
        answer(nullptr);
        return Void();
    }
};

}  // namespace

std::vector<orva_fuzz::MessageInput> orva_fuzz::makeSeeds() {
    Part part = partOf(2, 1);
    part.texts = {"one", ""};
    return {
            seed<BpHwProbe>(0,
                            [&](auto& p) {
                                return p.echo({part, Part()}, [](const auto&) {});
                            }),
            seed<BpHwProbe>(0, [&](auto& p) { return p.receive(part, [](int32_t, bool) {}); }),
            seed<BpHwProbe>(0, [](auto& p) { return p.hold(new Probe); }),
            seed<BpHwProbe>(0, [](auto& p) { return p.note(1); }),
            seed<BpHwProbe>(0,
                            [](auto& p) {
                                return p.debug(nullDevices(1), {"--json", "x"});
                            }),
            seed<BpHwProbe>(0, [](auto& p) { return p.interfaceChain([](const auto&) {}); }),
    };
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const sp<BnHwProbe> stub = new BnHwProbe(new Reader);
    const int before = dup(0);  // The lowest free number: the same afterwards, or something leaks.
    close(before);
    deliver(orva_fuzz::MessageInput::decode(data, size).message(), *stub);
    Probe::reset();
    const int after = dup(0);
    close(after);
    if (after != before) {
        abort();
    }
    return 0;
}
