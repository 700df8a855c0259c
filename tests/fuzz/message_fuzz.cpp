/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Any bytes and descriptors, received as a message and handed to generated stubs, whose objects
// read all that they are given.
#include <sys/socket.h>
#include <sys/stat.h>

#include <vendor/selkat/hardware/ai/2.0/BnHwAIServiceListener.h>
#include <vendor/selkat/hardware/ai/2.0/BnHwModelManagerListener.h>
#include <vendor/selkat/hardware/ai/2.0/BpHwAIServiceListener.h>
#include <vendor/selkat/hardware/ai/2.1/BnHwAIService.h>
#include <vendor/selkat/hardware/ai/2.1/BnHwModelManagerService.h>

#include "MessageInput.h"

namespace {

using namespace android::hardware;
using android::sp;
namespace V2_0 = vendor::selkat::hardware::ai::V2_0;
namespace V2_1 = vendor::selkat::hardware::ai::V2_1;

// Whatever is read goes in here, so that no reading is left out.
volatile uint64_t sink;

void read(const void* bytes, size_t size) {
    uint64_t sum = 0;
    for (size_t i = 0; i < size; ++i) {
        sum += static_cast<const uint8_t*>(bytes)[i];
    }
    sink = sink + sum;
}

void read(const hidl_string& text) {
    read(text.c_str(), text.size() + 1);
}

void read(const native_handle_t* handle) {
    if (handle == nullptr) {
        return;
    }
    read(handle,
         sizeof *handle + sizeof(int) * static_cast<size_t>(handle->numFds + handle->numInts));
    for (int i = 0; i < handle->numFds; ++i) {
        struct stat info;
        if (fstat(handle->data[i], &info) != 0) {
            abort();  // Every descriptor that arrives is open.
        }
    }
}

void read(const hidl_memory& memory) {
    read(memory.name());
    read(memory.handle());
    sink = sink + memory.size();
}

void read(const V2_0::ModelBuffer& model) {
    read(model.description);
    read(model.modelHandle.getNativeHandle());
    read(model.extra);
}

void read(const V2_0::AITensorHandle& tensor) {
    read(tensor.attr);
    read(tensor.data);
    read(tensor.type);
}

template <typename T>
void read(const hidl_vec<T>& values) {
    for (const T& value : values) {
        read(value);
    }
    const hidl_vec<T> copy = values;  // Duplicates what descriptors there are.
    sink = sink + copy.size();
}

template <typename Interface, typename Listener>
struct Reader : Interface {
    Return<int32_t> Init(int32_t, const hidl_string& type, const hidl_string& config,
                         const hidl_vec<V2_0::ModelBuffer>& models) override {
        read(type);
        read(config);
        read(models);
        return 0;
    }
    Return<int32_t> Process(int32_t, const hidl_string& context,
                            const hidl_vec<V2_0::AITensorHandle>& inputs,
                            const hidl_vec<V2_0::AITensorHandle>& outputs, int32_t) override {
        read(context);
        read(inputs);
        read(outputs);
        return 0;
    }
    Return<int32_t> SetListener(int32_t, const sp<Listener>& listener) override {
        if (listener != nullptr) {
            listener->OnProcessDone(0, "", {}).isOk();
        }
        return 0;
    }
    Return<void> UnInit(int32_t) override { return Void(); }
    Return<void> debug(const hidl_handle& file, const hidl_vec<hidl_string>& options) override {
        read(file.getNativeHandle());
        read(options);
        return Void();
    }
};

using AIService = Reader<V2_1::IAIService, V2_0::IAIServiceListener>;

struct ModelManager : Reader<V2_1::IModelManagerService, V2_0::IModelManagerListener> {
    Return<int32_t> GetMaxUsedMemory(int32_t) override { return 0; }
    Return<int32_t> SetInputsAndOutputs(int32_t clientId, const hidl_string& context,
                                        const hidl_vec<V2_0::AITensorHandle>& inputs,
                                        const hidl_vec<V2_0::AITensorHandle>& outputs) override {
        return Process(clientId, context, inputs, outputs, 0);
    }
    Return<int32_t> StartCompute(int32_t, const hidl_string& context) override {
        read(context);
        return 0;
    }
    Return<void> GetModelIOTensorDim(int32_t, const hidl_string& name,
                                     GetModelIOTensorDim_cb answer) override {
        read(name);
        answer({{1, 2, 3, 4}}, {}, 0);
        return Void();
    }
    Return<int32_t> CheckModelValid(int32_t) override { return 0; }
    Return<int32_t> CheckModelCompatibility(int32_t, const V2_0::ModelBuffer& model) override {
        read(model);
        return 0;
    }
    Return<void> BuildModel(int32_t, const hidl_string& context, uint32_t,
                            const hidl_vec<V2_0::ModelBuffer>& inputs,
                            const V2_0::ModelBuffer& output, BuildModel_cb answer) override {
        read(context);
        read(inputs);
        read(output);
        answer(1, 0);
        return Void();
    }
};

template <typename Interface>
struct ListenerReader : Interface {
    Return<void> OnProcessDone(int32_t, const hidl_string& context,
                               const hidl_vec<V2_0::AITensorHandle>& outputs) override {
        read(context);
        read(outputs);
        return Void();
    }
};

sp<BHwBinder> stubOf(uint8_t object) {
    static const sp<BHwBinder> stubs[] = {
            new V2_1::BnHwAIService(new AIService),
            new V2_1::BnHwModelManagerService(new ModelManager),
            new V2_0::BnHwAIServiceListener(new ListenerReader<V2_0::IAIServiceListener>),
            new V2_0::BnHwModelManagerListener(new ListenerReader<V2_0::IModelManagerListener>),
    };
    return stubs[object];
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
    const int before = dup(0);  // The lowest free number: the same afterwards, or something leaks.
    close(before);
    orva_test::deliver(input.message(), *stubOf(input.object));
    const int after = dup(0);
    close(after);
    if (after != before) {
        abort();
    }
    return 0;
}
