/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Any bytes and descriptors, received as a message and served by the services themselves, on the
// reference framework. A session is open, so that requests get beyond the look for one.
#include <orva/reference/Settings.h>
#include <vendor/selkat/hardware/ai/2.1/BnHwAIService.h>
#include <vendor/selkat/hardware/ai/2.1/BnHwModelManagerService.h>

#include "MessageInput.h"

using vendor::selkat::hardware::ai::V2_1::BnHwAIService;
using vendor::selkat::hardware::ai::V2_1::BnHwModelManagerService;
using vendor::selkat::hardware::ai::V2_1::IAIService;
using vendor::selkat::hardware::ai::V2_1::IModelManagerService;

extern "C" IAIService* HIDL_FETCH_IAIService(const char* instance);
extern "C" IModelManagerService* HIDL_FETCH_IModelManagerService(const char* instance);

namespace {

using android::sp;

// The number that the seeds' session has.
constexpr int32_t kSession = 1;

struct Services {
    const sp<IAIService> aiService = HIDL_FETCH_IAIService("default");
    const sp<IModelManagerService> modelManager = HIDL_FETCH_IModelManagerService("default");
    const sp<BnHwAIService> aiStub = new BnHwAIService(aiService);
    const sp<BnHwModelManagerService> modelStub = new BnHwModelManagerService(modelManager);

    static Services& instance() {
        static Services* const services = [] {
            // Messages open sessions of any number, which nobody closes.
            orva::reference::SetClientLimit(16);
            return new Services;
        }();
        return *services;
    }
};

template <typename Service>
void serve(const sp<Service>& service, const char* type,
           const sp<android::hardware::BHwBinder>& stub, orva_test::WireMessage message) {
    service->Init(kSession, type, "", {}).isOk();
    orva_test::deliver(std::move(message), *stub);
    service->UnInit(kSession).isOk();
}

}  // namespace

// A refusal is logged with its reason, which nobody reads here.
extern "C" int __android_log_print(int, const char*, const char*, ...) {
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t capacity,
                                          unsigned seed) {
    return orva_fuzz::mutate(data, size, capacity, seed);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto input = orva_fuzz::MessageInput::decode(data, size);
    Services& services = Services::instance();
    if (input.object % 2 == orva_fuzz::kAIService) {
        serve(services.aiService, "echo", services.aiStub, input.message());
    } else {
        serve(services.modelManager, "echo", services.modelStub, input.message());
    }
    return 0;
}
