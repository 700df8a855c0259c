/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Valid calls for the fuzzers to begin with.
#include <vendor/selkat/hardware/ai/2.0/BpHwAIServiceListener.h>
#include <vendor/selkat/hardware/ai/2.0/BpHwModelManagerListener.h>
#include <vendor/selkat/hardware/ai/2.1/BpHwAIService.h>
#include <vendor/selkat/hardware/ai/2.1/BpHwModelManagerService.h>

#include <cutils/ashmem.h>
#include <functional>

#include "MessageInput.h"

namespace orva_fuzz {

using android::sp;
using android::hardware::hidl_handle;
using android::hardware::hidl_memory;
using android::hardware::hidl_vec;
using android::hardware::IBinder;
namespace V2_0 = vendor::selkat::hardware::ai::V2_0;
namespace V2_1 = vendor::selkat::hardware::ai::V2_1;

namespace {

struct Listener : V2_0::IAIServiceListener {
    android::hardware::Return<void> OnProcessDone(int32_t, const android::hardware::hidl_string&,
                                                  const hidl_vec<V2_0::AITensorHandle>&) override {
        return android::hardware::Void();
    }
};

struct ManagerListener : V2_0::IModelManagerListener {
    android::hardware::Return<void> OnProcessDone(int32_t, const android::hardware::hidl_string&,
                                                  const hidl_vec<V2_0::AITensorHandle>&) override {
        return android::hardware::Void();
    }
};

hidl_handle handle(int words = 0) {
    native_handle_t* native = native_handle_create(1, words);
    native->data[0] = ashmem_create_region("seed", 4096);
    hidl_handle handle;
    handle.setTo(native, true);
    return handle;
}

V2_0::AITensorHandle tensor(const char* type) {
    V2_0::AITensorHandle tensor;
    tensor.attr = hidl_memory("ashmem", handle(), 20);
    // In a region of 4096 bytes an ION tensor has room for so many.
    tensor.data = hidl_memory("ashmem", handle(), 3840);
    tensor.type = type;
    return tensor;
}

V2_0::ModelBuffer model(const char* description, int words) {
    V2_0::ModelBuffer model;
    model.description = description;
    model.modelHandle = handle(words);
    model.size = 4096;
    model.extra = "extra";
    return model;
}

class Recordings {
public:
    template <typename Proxy, typename Call>
    void add(Object object, Call call) {
        const orva_test::WireMessage message = orva_test::record([&](const sp<IBinder>& binder) {
            const sp<Proxy> proxy = new Proxy(binder);
            call(*proxy);
        });
        MessageInput input;
        input.object = object;
        input.bytes = message.bytes;
        // A tensor's first descriptor is its attributes', the second its data's.
        for (size_t i = 0; i < message.descriptors.size(); ++i) {
            input.kinds.push_back(static_cast<uint8_t>(i % 2));
        }
        inputs.push_back(std::move(input));
    }

    std::vector<MessageInput> inputs;
};

// The calls of both services that are alike.
template <typename Proxy, typename AListener>
void addShared(Recordings* recordings, Object object, const std::vector<V2_0::ModelBuffer>& models,
               const std::vector<V2_0::AITensorHandle>& tensors, const char* type) {
    recordings->add<Proxy>(object, [](Proxy& proxy) { proxy.Init(1, "none", "", {}).isOk(); });
    recordings->add<Proxy>(object, [&](Proxy& proxy) { proxy.Init(1, type, "{}", models).isOk(); });
    recordings->add<Proxy>(object, [&](Proxy& proxy) {
        proxy.Process(1, "context", tensors, {tensors[0]}, 7).isOk();
    });
    recordings->add<Proxy>(object, [&](Proxy& proxy) {
        proxy.Process(1, "", {}, {tensors[1], tensors[0]}, 0).isOk();
    });
    recordings->add<Proxy>(object,
                           [](Proxy& proxy) { proxy.SetListener(-1, new AListener).isOk(); });
    recordings->add<Proxy>(object, [](Proxy& proxy) { proxy.SetListener(1, nullptr).isOk(); });
    recordings->add<Proxy>(object, [](Proxy& proxy) { proxy.UnInit(1).isOk(); });
    recordings->add<Proxy>(object, [](Proxy& proxy) { proxy.ping().isOk(); });
    recordings->add<Proxy>(object,
                           [](Proxy& proxy) { proxy.interfaceChain([](const auto&) {}).isOk(); });
    recordings->add<Proxy>(object, [](Proxy& proxy) {
        proxy.debug(handle(), {"--json", "more"}).isOk();
    });
    recordings->add<Proxy>(object,
                           [](Proxy& proxy) { proxy.getHashChain([](const auto&) {}).isOk(); });
    recordings->add<Proxy>(object,
                           [](Proxy& proxy) { proxy.getDebugInfo([](const auto&) {}).isOk(); });
    recordings->add<Proxy>(object, [](Proxy& proxy) { proxy.setHALInstrumentation().isOk(); });
    recordings->add<Proxy>(object, [](Proxy& proxy) { proxy.notifySyspropsChanged().isOk(); });
}

std::vector<MessageInput> makeSeeds() {
    const std::vector<V2_0::ModelBuffer> models = {model("first", 0), model("", 3), {}};
    const std::vector<V2_0::AITensorHandle> tensors = {tensor("AINeuralNetworkBuffer"),
                                                       tensor("AINeuralNetworkIonBuffer")};
    using Manager = V2_1::BpHwModelManagerService;
    Recordings recordings;
    addShared<V2_1::BpHwAIService, Listener>(&recordings, kAIService, models, tensors, "echo");
    addShared<Manager, ManagerListener>(&recordings, kModelManager, models, tensors, "onnx");
    const std::function<void(Manager&)> calls[] = {
            [](Manager& manager) { manager.GetMaxUsedMemory(1).isOk(); },
            [&](Manager& manager) {
                manager.SetInputsAndOutputs(1, "context", tensors, tensors).isOk();
            },
            [](Manager& manager) { manager.StartCompute(1, "context").isOk(); },
            [](Manager& manager) {
                manager.GetModelIOTensorDim(1, "first", [](const auto&, const auto&, int32_t) {})
                        .isOk();
            },
            [](Manager& manager) { manager.CheckModelValid(1).isOk(); },
            [&](Manager& manager) { manager.CheckModelCompatibility(1, models[0]).isOk(); },
            [&](Manager& manager) {
                manager.BuildModel(1, "context", 2, models, models[1], [](uint32_t, int32_t) {})
                        .isOk();
            },
    };
    for (const auto& call : calls) {
        recordings.add<Manager>(kModelManager, call);
    }
    recordings.add<V2_0::BpHwAIServiceListener>(kAIListener, [&](auto& listener) {
        listener.OnProcessDone(1, "context", tensors).isOk();
    });
    recordings.add<V2_0::BpHwModelManagerListener>(kModelManagerListener, [&](auto& listener) {
        listener.OnProcessDone(0, "", tensors).isOk();
    });
    return std::move(recordings.inputs);
}

}  // namespace

const std::vector<MessageInput>& seeds() {
    static const std::vector<MessageInput> seeds = makeSeeds();
    return seeds;
}

}  // namespace orva_fuzz
