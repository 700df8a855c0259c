/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Any bytes and descriptors, received as a message and served by the services themselves, on the
// reference framework. A session with a listener is open, the model manager's with a model to which
// tensors are bound, so that requests get to their results; and they run within the call, so that
// it can be seen what a message leaves behind. An input is
//
//   service | how many descriptors a packet carries | their number, two bytes | a kind for each |
//   the message's bytes, sent in as many packets as they take
#include <cutils/ashmem.h>
#include <fcntl.h>
#include <orva/reference/Executor.h>
#include <orva/reference/Settings.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vendor/selkat/hardware/ai/2.0/BnHwAIServiceListener.h>
#include <vendor/selkat/hardware/ai/2.0/BnHwModelManagerListener.h>
#include <vendor/selkat/hardware/ai/2.1/BnHwAIService.h>
#include <vendor/selkat/hardware/ai/2.1/BnHwModelManagerService.h>
#include <vendor/selkat/hardware/ai/2.1/BpHwAIService.h>
#include <vendor/selkat/hardware/ai/2.1/BpHwModelManagerService.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "framework/CaseModel.h"
#include "platform/WireKit.h"

using namespace vendor::selkat::hardware::ai::V2_0;
using namespace android::hardware;
using android::sp;
using android::base::unique_fd;
using android::hardware::socket::kPacketSize;
using orva_test::WireMessage;
namespace V2_1 = vendor::selkat::hardware::ai::V2_1;

extern "C" V2_1::IAIService* HIDL_FETCH_IAIService(const char* instance);
extern "C" V2_1::IModelManagerService* HIDL_FETCH_IModelManagerService(const char* instance);

namespace {

using Input = std::vector<uint8_t>;

// Bytes before the descriptors' kinds.
constexpr size_t kPrefix = 4;

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
hidl_vec<ModelBuffer> models() {
    return {{"first", region(), 4096, "extra"}, {"", region(3), 4096, ""}};
}
// In a region of 4096 bytes an ION tensor has room for 3840.
hidl_vec<AITensorHandle> tensors(size_t count = 2, uint64_t size = 3840) {
    hidl_vec<AITensorHandle> tensors;
    tensors.resize(count);
    for (size_t i = 0; i < count; ++i) {
        tensors[i].attr = hidl_memory("ashmem", region(), 20);
        tensors[i].data = hidl_memory("ashmem", region(), size);
        tensors[i].type = i == 1 ? "AINeuralNetworkIonBuffer" : "AINeuralNetworkBuffer";
    }
    return tensors;
}

// The model of the model manager's session, which subtracts its second input from its first.
constexpr uint64_t kModelTensor = 3 * 4 * 5;
hidl_vec<ModelBuffer> subtraction() {
    const std::vector<uint8_t> bytes = orva::test::CaseModel("test_sub_uint8");
    hidl_vec<ModelBuffer> models = {{"", region(), static_cast<uint32_t>(bytes.size()), ""}};
    if (pwrite(models[0].modelHandle->data[0], bytes.data(), bytes.size(), 0) !=
        static_cast<ssize_t>(bytes.size())) {
        abort();
    }
    return models;
}

// Valid calls for the fuzzer to begin with: what they put on the wire.
struct Seeds {
    Seeds() {
        addShared<V2_1::BpHwAIService, IAIServiceListener>(0, "echo");
        addShared<V2_1::BpHwModelManagerService, IModelManagerListener>(1, "onnx");
        const auto addMore = [&](auto call) { add<V2_1::BpHwModelManagerService>(1, call); };
        addMore([](auto& proxy) {
            return proxy.SetInputsAndOutputs(kSession, "context", tensors(2, kModelTensor),
                                             tensors(1, kModelTensor));
        });
        addMore([](auto& proxy) {
            return proxy.Process(kSession, "context", tensors(2, kModelTensor),
                                 tensors(1, kModelTensor), 7);
        });
        addMore([](auto& proxy) { return proxy.StartCompute(kSession, "context"); });
        addMore([](auto& proxy) {
            return proxy.GetModelIOTensorDim(kSession, "first", [](auto&&...) {});
        });
        addMore([](auto& proxy) { return proxy.CheckModelCompatibility(kSession, models()[0]); });
        addMore([](auto& proxy) {
            return proxy.BuildModel(kSession, "", 2, models(), models()[1], [](auto&&...) {});
        });
    }

    // The calls of both services that are alike.
    template <typename Proxy, typename AListener>
    void addShared(uint8_t service, const char* type) {
        add<Proxy>(service, [&](Proxy& proxy) { return proxy.Init(2, type, "{}", models()); });
        add<Proxy>(service, [](Proxy& proxy) {
            return proxy.Process(kSession, "context", tensors(), tensors(), 7);
        });
        // In several packets, of bytes and of descriptors.
        add<Proxy>(service, [](Proxy& proxy) {
            return proxy.Process(kSession, std::string(2 * kPacketSize, 'c'), tensors(50),
                                 tensors(100), 7);
        });
        add<Proxy>(service, [](Proxy& proxy) {
            return proxy.SetListener(kSession, new Listener<AListener>);
        });
        add<Proxy>(service, [](Proxy& proxy) { return proxy.UnInit(kSession); });
        add<Proxy>(service, [](Proxy& proxy) { return proxy.debug(region(), {"--json", "more"}); });
    }

    template <typename Proxy, typename Call>
    void add(uint8_t service, Call call) {
        const WireMessage message = orva_test::recordOf<Proxy>(call);
        const size_t count = message.descriptors.size();
        Input input = {service, static_cast<uint8_t>(message.each), static_cast<uint8_t>(count),
                       static_cast<uint8_t>(count >> 8)};
        // A tensor's first descriptor is its attributes', the second its data's.
        for (size_t i = 0; i < message.descriptors.size(); ++i) {
            input.push_back(static_cast<uint8_t>(i % 2));
        }
        input.insert(input.end(), message.bytes.begin(), message.bytes.end());
        inputs.push_back(input);
    }

    std::vector<Input> inputs;
};
const std::vector<Input>& seeds() {
    static const Seeds seeds;
    return seeds.inputs;
}

// A descriptor such as a peer might send: an attribute record, a tensor's data, or neither.
unique_fd describe(uint8_t kind) {
    constexpr off_t kSizes[] = {20, 4096, 0, 4, 1 << 20};
    switch (kind % 8) {
    case 5:
        return unique_fd(open("/proc/self", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    case 6:
        return unique_fd(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    case 7:
        return unique_fd(open("/dev/zero", O_RDWR | O_CLOEXEC));
    default:
        unique_fd file(memfd_create("fuzz", MFD_CLOEXEC));
        (void)!ftruncate(file.get(), kSizes[kind % 8]);
        return file;
    }
}

// Inputs change without regard to the header, so that it is made to agree with the rest of the
// message, unless the service's highest bit is set: damage to the header counts, too.
WireMessage messageOf(const uint8_t* data, size_t size) {
    using namespace android::hardware::socket;
    WireMessage message;
    const uint8_t* const kinds = data + kPrefix;
    const size_t count = std::min(
            {size_t{data[2]} | size_t{data[3]} << 8, size - kPrefix, size_t{kMaxDescriptors}});
    std::transform(kinds, kinds + count, std::back_inserter(message.descriptors), describe);
    message.each = std::clamp<size_t>(data[1], 1, kPacketDescriptors);
    message.bytes.assign(kinds + count, data + size);
    if (data[0] < 128 && message.bytes.size() >= sizeof(MessageHeader)) {
        message.bytes.resize(pad8(message.bytes.size()));
        MessageHeader& header = message.header();
        const uint64_t room = message.bytes.size() - sizeof header;
        header.magic = kMagic;
        header.kind = MessageKind::kCall;
        header.descriptors = static_cast<uint32_t>(count);
        header.dataSize = static_cast<uint32_t>(std::min<uint64_t>(header.dataSize & ~3U, room));
        const uint64_t rest = room - pad8(header.dataSize);
        header.objectCount =
                static_cast<uint32_t>(std::min<uint64_t>(header.objectCount, rest / 8));
        header.buffersSize = rest - uint64_t{header.objectCount} * 8;
    }
    return message;
}

// Where it is open already, nothing but what is bound changes.
void openSession(V2_1::IAIService& service) {
    service.Init(kSession, "echo", "", {}).isOk();
}
void openSession(V2_1::IModelManagerService& service) {
    static const hidl_vec<ModelBuffer> models = subtraction();
    static const hidl_vec<AITensorHandle> inputs = tensors(2, kModelTensor);
    static const hidl_vec<AITensorHandle> outputs = tensors(1, kModelTensor);
    service.Init(kSession, "onnx", "", models).isOk();
    service.SetInputsAndOutputs(kSession, "", inputs, outputs).isOk();
}

template <typename Stub, typename AListener, typename Service>
void serve(Service* (*fetch)(const char*), WireMessage message) {
    static const sp<Service> service = fetch("default");
    static const sp<Stub> stub = new Stub(service);
    service->SetListener(-kSession, new Listener<AListener>).isOk();
    service->SetListener(kSession, nullptr).isOk();
    orva_test::deliver(std::move(message), *stub);
    openSession(*service);
}

void serve(const uint8_t* data, size_t size) {
    if (size < kPrefix) {
        return;
    }
    if (data[0] % 2 == 0) {
        serve<V2_1::BnHwAIService, IAIServiceListener>(HIDL_FETCH_IAIService,
                                                       messageOf(data, size));
    } else {
        serve<V2_1::BnHwModelManagerService, IModelManagerListener>(HIDL_FETCH_IModelManagerService,
                                                                    messageOf(data, size));
    }
}

ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

}  // namespace

// A refusal is logged with its reason, which nobody reads here.
extern "C" int __android_log_print(int, const char*, const char*, ...) {
    return 0;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Messages open sessions of any number, which nobody closes. The services' own limits leave
    // room to open ours again; the framework's would not.
    orva::reference::SetClientLimit(1000);
    orva::reference::UseExecutor(std::make_shared<orva::reference::InlineExecutor>());
    // What the process opens for good, it opens now.
    for (const Input& seed : seeds()) {
        serve(seed.data(), seed.size());
    }
    return 0;
}

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t capacity);

// The fuzzer's own mutations, but now and then of a valid call.
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t capacity,
                                          unsigned number) {
    if (size <= kPrefix || number % 8 == 0) {
        const Input& seed = seeds()[number / 8 % seeds().size()];
        size = std::min(seed.size(), capacity);
        std::copy_n(seed.begin(), size, data);
    }
    return LLVMFuzzerMutate(data, size, capacity);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const ptrdiff_t before = openDescriptors();
    serve(data, size);
    if (openDescriptors() != before) {
        abort();
    }
    return 0;
}
