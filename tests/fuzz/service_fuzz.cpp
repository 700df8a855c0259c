/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Any bytes and descriptors, received as a message and served by the services themselves, on the
// reference framework. A session is open, so that requests get beyond the look for one.
#include <cutils/ashmem.h>
#include <orva/reference/Settings.h>
#include <vendor/selkat/hardware/ai/2.0/BnHwAIServiceListener.h>
#include <vendor/selkat/hardware/ai/2.0/BnHwModelManagerListener.h>
#include <vendor/selkat/hardware/ai/2.1/BnHwAIService.h>
#include <vendor/selkat/hardware/ai/2.1/BnHwModelManagerService.h>
#include <vendor/selkat/hardware/ai/2.1/BpHwAIService.h>
#include <vendor/selkat/hardware/ai/2.1/BpHwModelManagerService.h>

#include "MessageInput.h"

using namespace vendor::selkat::hardware::ai::V2_0;
using namespace android::hardware;
using android::sp;
namespace V2_1 = vendor::selkat::hardware::ai::V2_1;

extern "C" V2_1::IAIService* HIDL_FETCH_IAIService(const char* instance);
extern "C" V2_1::IModelManagerService* HIDL_FETCH_IModelManagerService(const char* instance);

namespace {

// The number that the seeds' session has.
constexpr int32_t kSession = 1;

template <typename Interface>
struct Listener : Interface {
    Return<void> OnProcessDone(int32_t, const hidl_string&,
                               const hidl_vec<AITensorHandle>&) override {
        return Void();
    }
};

hidl_handle region(int words = 0) {
    native_handle_t* native = native_handle_create(1, words);
    native->data[0] = ashmem_create_region("seed", 4096);
    hidl_handle handle;
    handle.setTo(native, true);
    return handle;
}

AITensorHandle tensor(const char* type) {
    AITensorHandle tensor;
    tensor.attr = hidl_memory("ashmem", region(), 20);
    // In a region of 4096 bytes an ION tensor has room for so many.
    tensor.data = hidl_memory("ashmem", region(), 3840);
    tensor.type = type;
    return tensor;
}

const hidl_vec<ModelBuffer>& models() {
    static const hidl_vec<ModelBuffer> models = {{"first", region(), 4096, "extra"},
                                                 {"", region(3), 4096, ""}};
    return models;
}
const hidl_vec<AITensorHandle>& tensors() {
    static const hidl_vec<AITensorHandle> tensors = {tensor("AINeuralNetworkBuffer"),
                                                     tensor("AINeuralNetworkIonBuffer")};
    return tensors;
}

// The calls of both services that are alike.
template <typename Proxy, typename AListener>
void addShared(std::vector<orva_fuzz::MessageInput>* seeds, uint8_t object, const char* type) {
    const auto add = [&](auto call) { seeds->push_back(orva_fuzz::seed<Proxy>(object, call)); };
    add([&](Proxy& proxy) { return proxy.Init(2, type, "{}", models()); });
    add([](Proxy& proxy) { return proxy.Process(kSession, "context", tensors(), tensors(), 7); });
    add([](Proxy& proxy) { return proxy.SetListener(kSession, new Listener<AListener>); });
    add([](Proxy& proxy) { return proxy.UnInit(kSession); });
    add([](Proxy& proxy) { return proxy.debug(region(), {"--json", "more"}); });
}

template <typename Service, typename Stub>
void serve(Service* (*fetch)(const char*), orva_test::WireMessage message) {
    static const sp<Service> service = fetch("default");
    static const sp<Stub> stub = new Stub(service);
    service->Init(kSession, "echo", "", {}).isOk();
    orva_test::deliver(std::move(message), *stub);
    service->UnInit(kSession).isOk();
}

}  // namespace

std::vector<orva_fuzz::MessageInput> orva_fuzz::makeSeeds() {
    std::vector<MessageInput> seeds;
    addShared<V2_1::BpHwAIService, IAIServiceListener>(&seeds, 0, "echo");
    addShared<V2_1::BpHwModelManagerService, IModelManagerListener>(&seeds, 1, "onnx");
    const auto add = [&](auto call) {
        seeds.push_back(seed<V2_1::BpHwModelManagerService>(1, call));
    };
    add([](auto& proxy) {
        return proxy.SetInputsAndOutputs(kSession, "context", tensors(), tensors());
    });
    add([](auto& proxy) { return proxy.StartCompute(kSession, "context"); });
    add([](auto& proxy) { return proxy.GetModelIOTensorDim(kSession, "first", [](auto&&...) {}); });
    add([](auto& proxy) { return proxy.CheckModelCompatibility(kSession, models()[0]); });
    add([](auto& proxy) {
        return proxy.BuildModel(kSession, "context", 2, models(), models()[1], [](auto&&...) {});
    });
    return seeds;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Messages open sessions of any number, which nobody closes.
    static const bool limited = (orva::reference::SetClientLimit(16), true);
    (void)limited;
    const auto input = orva_fuzz::MessageInput::decode(data, size);
    if (input.object % 2 == 0) {
        serve<V2_1::IAIService, V2_1::BnHwAIService>(HIDL_FETCH_IAIService, input.message());
    } else {
        serve<V2_1::IModelManagerService, V2_1::BnHwModelManagerService>(
                HIDL_FETCH_IModelManagerService, input.message());
    }
    return 0;
}
