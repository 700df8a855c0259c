/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Tensors of both types over any memory, received as the services receive them: taken exactly when
// the memory is as long as its type asks, and then safe to touch to the end.
#include <fcntl.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <orva/AINeuralNetworkBuffer.h>
#include <orva/AITensorFactory.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

#include "support/Region.h"
#include "transport/AITensorSerializerRegistry.h"

namespace {

using orva::hidl::AITensorHandle;
using orva::hidl::UniqueFd;

constexpr uint64_t kPage = 4096;
constexpr uint64_t kLargestRegion = 64 * kPage;

// A memory as a client might send it, and what there is to know of it.
struct Memory {
    explicit Memory(FuzzedDataProvider& data)
            : region(data.ConsumeBool() ? data.ConsumeIntegralInRange<uint64_t>(0, kLargestRegion)
                                        : data.PickValueInArray<uint64_t>(
                                                  {0, 19, 20, kPage - 1, kPage, 2 * kPage})),
              kind(data.ConsumeIntegralInRange<int>(0, 7)),
              handle(open()) {
        switch (data.ConsumeIntegralInRange(0, 2)) {
        case 0:
            size = data.ConsumeIntegral<uint64_t>();
            break;
        case 1:
            size = region + data.ConsumeIntegralInRange<uint64_t>(0, 8) - 4;  // may wrap
            break;
        default:
            size = region - 256 + data.ConsumeIntegralInRange<uint64_t>(0, 8) - 4;
        }
        handle.Get()->numFds = kind == 1 ? 0 : 1;
    }

    UniqueFd open() const {
        switch (kind) {
        case 2:
            return UniqueFd(::open("/proc/self", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        case 3:
            return UniqueFd(::open("/dev/zero", O_RDWR | O_CLOEXEC));
        case 4:
            return UniqueFd(::open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
        default:
            UniqueFd file(memfd_create("fuzz", MFD_CLOEXEC));
            (void)!ftruncate(file.Get(), static_cast<off_t>(region));
            return file;
        }
    }

    android::hardware::hidl_memory Sent() {
        return kind == 0 ? android::hardware::hidl_memory() : handle.Memory(size);
    }
    bool IsMemory() const { return kind > 4; }

    const uint64_t region;
    const int kind;
    orva::test::Handle handle;
    uint64_t size;
};

// What a tensor's mapping must hold, in arithmetic that cannot wrap.
unsigned __int128 LengthAsked(uint64_t size, bool ion) {
    using Wide = unsigned __int128;
    return ion ? (Wide{size} + 256 + kPage - 1) / kPage * kPage : Wide{size};
}

void Check(bool holds) {
    if (!holds) {
        abort();
    }
}

void Receive(FuzzedDataProvider& data) {
    const bool ion = data.ConsumeBool();
    const char* const type = ion ? "AINeuralNetworkIonBuffer" : "AINeuralNetworkBuffer";
    Memory attributes(data);
    Memory bytes(data);
    AITensorHandle in{};
    in.attr = attributes.Sent();
    in.data = bytes.Sent();
    in.type = type;

    std::shared_ptr<orva::IAITensor> tensor =
            orva::AITensorFactory::GetInstance()->CreateTensor(type);
    auto& registry = *orva::hidl::AITensorSerializerRegistry::GetInstance();
    const bool taken = registry.DeserializeFrom(tensor, in) == 0;
    const unsigned __int128 length = LengthAsked(bytes.size, ion);
    if (bytes.kind == 0) {
        return;  // Without memory the tensor makes its own, where the kernel lets it.
    }
    Check(taken == (bytes.IsMemory() && length > 0 && length <= bytes.region));
    if (!taken) {
        return;
    }
    auto& buffer = static_cast<orva::AINeuralNetworkBuffer&>(*tensor);
    auto* const mapped = static_cast<volatile uint8_t*>(buffer.GetBuffer());
    for (uint64_t i = 0; i < length; i += kPage) {
        mapped[i] = 1;
    }
    mapped[static_cast<uint64_t>(length) - 1] = 1;
    AITensorHandle out{};
    Check(registry.SerializeTo(out, tensor) == 0);
    Check(out.data.size() == bytes.size && out.attr.size() == 20);
}

}  // namespace

// A refusal is logged with its reason, which nobody reads here.
extern "C" int __android_log_print(int, const char*, const char*, ...) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* input, size_t size) {
    const int before = dup(0);  // The lowest free number: the same afterwards, or something leaks.
    close(before);
    FuzzedDataProvider data(input, size);
    Receive(data);
    const int after = dup(0);
    close(after);
    Check(after == before);
    return 0;
}
