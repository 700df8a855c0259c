/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The bytes of requests and replies: what a client or a server on a device would read and write.
#include <algorithm>

#include <android/hidl/base/1.0/BpHwBase.h>
#include <gtest/gtest.h>
#include <hwbinder/Parcel.h>
#include <linux/android/binder.h>
#include <orva/test/1.0/BnHwProbe.h>
#include <orva/test/1.0/BpHwProbe.h>
#include <vendor/selkat/hardware/ai/2.1/BnHwAIService.h>
#include <vendor/selkat/hardware/ai/2.1/BpHwAIService.h>
#include <vendor/selkat/hardware/ai/2.1/BpHwModelManagerService.h>

#include "Probe.h"
#include "WireKit.h"

namespace {

using namespace orva_test;
using namespace android::hardware;
using namespace android::hardware::socket;
using android::sp;
using android::status_t;
using android::hidl::base::V1_0::BpHwBase;
using orva::test::V1_0::BnHwProbe;
using orva::test::V1_0::BpHwProbe;
namespace V2_0 = vendor::selkat::hardware::ai::V2_0;
namespace V2_1 = vendor::selkat::hardware::ai::V2_1;

constexpr char kBase[] = "android.hidl.base@1.0::IBase";
constexpr char kService[] = "vendor.selkat.hardware.ai@2.0::IAIService";
constexpr char kManager20[] = "vendor.selkat.hardware.ai@2.0::IModelManagerService";
constexpr char kManager21[] = "vendor.selkat.hardware.ai@2.1::IModelManagerService";
constexpr char kProbe[] = "orva.test@1.0::IProbe";

// A message's data and object offsets, written down by hand.
class Layout {
public:
    Layout& token(const char* name) { return append(name, strlen(name) + 1); }
    template <typename T>
    Layout& value(T value) {
        static_assert(sizeof(T) == 4 || sizeof(T) == 8);
        return append(&value, sizeof value);
    }
    Layout& buffer(uint64_t length) { return list().append(bufferObject(length, 0)); }
    Layout& child(uint64_t length, uint64_t parent, uint64_t offset) {
        return list().append(bufferObject(length, BINDER_BUFFER_FLAG_HAS_PARENT, parent, offset));
    }
    // Stands in the data alone.
    Layout& nullChild(uint64_t parent, uint64_t offset) {
        return append(bufferObject(0, BINDER_BUFFER_FLAG_HAS_PARENT, parent, offset));
    }
    Layout& descriptors(uint64_t count, uint64_t parent) {
        binder_fd_array_object object = {};
        object.hdr.type = BINDER_TYPE_FDA;
        object.num_fds = count;
        object.parent = parent;
        object.parent_offset = 12;
        return list().append(object);
    }
    Layout& binder(uint64_t number) { return list().append(binderObject(number)); }
    Layout& nullBinder() { return append(binderObject(0)); }

    std::vector<uint8_t> data;
    std::vector<uint64_t> offsets;

private:
    static binder_buffer_object bufferObject(uint64_t length, uint32_t flags, uint64_t parent = 0,
                                             uint64_t offset = 0) {
        binder_buffer_object object = {};
        object.hdr.type = BINDER_TYPE_PTR;
        object.flags = flags;
        object.length = length;
        object.parent = parent;
        object.parent_offset = offset;
        return object;
    }
    static flat_binder_object binderObject(uint64_t number) {
        flat_binder_object object = {};
        object.hdr.type = BINDER_TYPE_BINDER;
        object.binder = number;
        return object;
    }
    Layout& list() {
        offsets.push_back(data.size());
        return *this;
    }
    Layout& append(const void* bytes, size_t size) {
        const auto* from = static_cast<const uint8_t*>(bytes);
        data.insert(data.end(), from, from + size);
        data.resize((data.size() + 3) / 4 * 4);
        return *this;
    }
    template <typename T>
    Layout& append(const T& object) {
        return append(&object, sizeof object);
    }
};

// A call that the recording proxy always fails.
template <typename Result>
void expectFailed(const Return<Result>& result) {
    EXPECT_TRUE(result.isDeadObject());
}

template <typename Proxy, typename Call>
WireMessage recordOf(Call call) {
    return record([&](const sp<IBinder>& binder) {
        const sp<Proxy> proxy = new Proxy(binder);
        expectFailed(call(*proxy));
    });
}

void expectLayout(const Layout& expected, WireMessage& message) {
    ASSERT_LE(sizeof(MessageHeader), message.bytes.size());
    EXPECT_EQ(expected.data,
              std::vector<uint8_t>(message.data(), message.data() + message.header().dataSize));
    EXPECT_EQ(expected.offsets,
              std::vector<uint64_t>(message.offsets(),
                                    message.offsets() + message.header().objectCount));
}

template <typename Record>
const Record& recordIn(WireMessage& message, size_t index) {
    return *reinterpret_cast<const Record*>(message.buffer(index));
}

TEST(Requests, NarrowValuesTakeFourBytesAndWideOnesAreAlignedToFour) {
    WireMessage message = recordOf<BpHwProbe>([](BpHwProbe& probe) {
        return probe.scalars(true, -2, 65535, -4, INT64_MIN, 1.5f, -2.5,
                             [](bool, int8_t, uint16_t, int32_t, int64_t, float, double) {});
    });
    EXPECT_EQ(1u, message.header().code);
    // The name takes 24 bytes, so that the 64-bit values stand at odd multiples of four.
    expectLayout(Layout().token(kProbe)
                         .value(1)
                         .value(-2)
                         .value(65535)
                         .value(-4)
                         .value(INT64_MIN)
                         .value(1.5f)
                         .value(-2.5),
                 message);
}

TEST(Requests, AStringIsItsStructThenItsTextWithTheEnd) {
    for (const std::string text : {"", "a", "eight ch"}) {
        WireMessage message = recordOf<BpHwProbe>(
                [&](BpHwProbe& probe) { return probe.text(text, [](const hidl_string&) {}); });
        EXPECT_EQ(3u, message.header().code);
        expectLayout(Layout().token(kProbe).buffer(16).child(text.size() + 1, 0, 0), message);
        EXPECT_EQ(text, reinterpret_cast<const char*>(message.buffer(1)));
        // Each buffer counts rounded up to 8.
        EXPECT_EQ(16 + (text.size() + 8) / 8 * 8, message.header().buffersSize);
        EXPECT_EQ(0u, recordIn<uint64_t>(message, 0)) << "an address of the sender's";
    }
}

TEST(Requests, AVecsArrayComesFirstThenEachElementsFields) {
    V2_0::ModelBuffer models[2];
    models[0].description = "m";
    models[0].modelHandle = nullDevices(2);
    models[1].extra = "more";
    WireMessage message = recordOf<V2_1::BpHwAIService>([&](V2_1::BpHwAIService& service) {
        hidl_vec<V2_0::ModelBuffer> vec;
        vec.setToExternal(models, 2);
        return service.Init(7, "echo", "{}", vec);
    });
    EXPECT_EQ(1u, message.header().code);
    EXPECT_EQ(0u, message.header().flags);
    expectLayout(Layout().token(kService)  // Who declares the method, not whose object it is.
                         .value(7)
                         .buffer(16)
                         .child(5, 0, 0)
                         .buffer(16)
                         .child(3, 2, 0)
                         .buffer(16)
                         .child(2 * sizeof(V2_0::ModelBuffer), 4, 0)
                         .child(2, 5, 0)
                         .value(uint64_t{12 + 2 * 4})
                         .child(12 + 2 * 4, 5, 16)
                         .descriptors(2, 7)
                         .child(1, 5, 40)
                         .child(1, 5, 56)
                         .value(uint64_t{0})
                         .child(5, 5, 56 + 40),
                 message);
    EXPECT_EQ(2u, message.descriptors.size());
    EXPECT_EQ(0, recordIn<native_handle_t>(message, 7).data[0]) << "a number of the sender's";
}

TEST(Requests, AMemoryIsItsHandleThenItsName) {
    V2_0::AITensorHandle tensor;
    tensor.attr = hidl_memory("ashmem", nullDevices(1), 20);
    tensor.type = "T";
    WireMessage message = recordOf<V2_1::BpHwAIService>([&](V2_1::BpHwAIService& service) {
        hidl_vec<V2_0::AITensorHandle> inputs;
        inputs.setToExternal(&tensor, 1);
        return service.Process(-1, "", inputs, {}, 9);
    });
    EXPECT_EQ(2u, message.header().code);
    const size_t size = sizeof(V2_0::AITensorHandle);
    expectLayout(Layout().token(kService)
                         .value(-1)
                         .buffer(16)
                         .child(1, 0, 0)
                         .buffer(16)
                         .child(size, 2, 0)
                         .value(uint64_t{16})
                         .child(16, 3, 0)
                         .descriptors(1, 4)
                         .child(7, 3, 24)
                         .value(uint64_t{0})  // No data: no handle, but a name.
                         .child(1, 3, 40 + 24)
                         .child(2, 3, 80)
                         .buffer(16)
                         .nullChild(9, 0)  // An empty vec has no array.
                         .value(9),
                 message);
    EXPECT_EQ(20u, recordIn<hidl_memory>(message, 3).size());
}

TEST(Requests, ANullInterfaceTakesNoNumber) {
    WireMessage message = recordOf<V2_1::BpHwAIService>(
            [](V2_1::BpHwAIService& service) { return service.SetListener(5, nullptr); });
    EXPECT_EQ(3u, message.header().code);
    expectLayout(Layout().token(kService).value(5).nullBinder(), message);

    const sp<Probe> probe = new Probe;
    message = recordOf<BpHwProbe>([&](BpHwProbe& proxy) { return proxy.hold(probe); });
    expectLayout(Layout().token(kProbe).binder(1), message);
}

TEST(Requests, CodesGoOnThroughTheChildVersion) {
    struct {
        uint32_t code;
        const char* declaredBy;
        WireMessage message;
    } cases[] = {
            {1, kManager20, recordOf<V2_1::BpHwModelManagerService>([](auto& manager) {
                 return manager.Init(0, "", "", {});
             })},
            {10, kManager20, recordOf<V2_1::BpHwModelManagerService>([](auto& manager) {
                 return manager.CheckModelCompatibility(0, {});
             })},
            {11, kManager21, recordOf<V2_1::BpHwModelManagerService>([](auto& manager) {
                 return manager.BuildModel(0, "", 0, {}, {}, [](uint32_t, int32_t) {});
             })},
    };
    for (auto& each : cases) {
        EXPECT_EQ(each.code, each.message.header().code) << each.declaredBy;
        EXPECT_STREQ(each.declaredBy, reinterpret_cast<const char*>(each.message.data()));
    }
}

constexpr uint32_t baseCode(const char (&letters)[4]) {
    return 0x0f000000u | static_cast<uint32_t>(letters[0]) << 16 |
           static_cast<uint32_t>(letters[1]) << 8 | static_cast<uint32_t>(letters[2]);
}

TEST(Requests, EveryObjectsOwnMethodsAreTheBasesWithLettersForCodes) {
    struct {
        const char (&letters)[4];
        bool oneway;
        Return<void> (*call)(BpHwBase& base);
    } const cases[] = {
            {"CHN", false, [](BpHwBase& base) { return base.interfaceChain([](const auto&) {}); }},
            {"DBG", false, [](BpHwBase& base) { return base.debug({}, {}); }},
            {"DSC", false,
             [](BpHwBase& base) { return base.interfaceDescriptor([](const auto&) {}); }},
            {"HSH", false, [](BpHwBase& base) { return base.getHashChain([](const auto&) {}); }},
            {"INT", true, [](BpHwBase& base) { return base.setHALInstrumentation(); }},
            {"PNG", false, [](BpHwBase& base) { return base.ping(); }},
            {"REF", false, [](BpHwBase& base) { return base.getDebugInfo([](const auto&) {}); }},
            {"SYS", true, [](BpHwBase& base) { return base.notifySyspropsChanged(); }},
    };
    for (const auto& each : cases) {
        WireMessage message = recordOf<BpHwBase>(each.call);
        EXPECT_EQ(baseCode(each.letters), message.header().code) << each.letters;
        EXPECT_EQ(each.oneway, message.header().flags == IBinder::FLAG_ONEWAY) << each.letters;
        EXPECT_STREQ(kBase, reinterpret_cast<const char*>(message.data()));
        EXPECT_EQ(0u, message.header().dataSize % 4);
    }
}

// --- How a stub answers -----------------------------------------------------------------------

struct Service : V2_1::IAIService {
    Return<int32_t> Init(int32_t clientId, const hidl_string&, const hidl_string&,
                         const hidl_vec<V2_0::ModelBuffer>&) override {
        return clientId;
    }
    Return<int32_t> Process(int32_t, const hidl_string&, const hidl_vec<V2_0::AITensorHandle>&,
                            const hidl_vec<V2_0::AITensorHandle>&, int32_t) override {
        return 0;
    }
    Return<int32_t> SetListener(int32_t, const sp<V2_0::IAIServiceListener>&) override { return 0; }
    Return<void> UnInit(int32_t) override { return Void(); }
};

// A call written by hand.
WireMessage request(uint32_t code, const Layout& layout, uint32_t flags = 0) {
    WireMessage message;
    MessageHeader header = {};
    header.magic = kMagic;
    header.kind = MessageKind::kCall;
    header.target = 1;
    header.code = code;
    header.flags = flags;
    header.dataSize = static_cast<uint32_t>(layout.data.size());
    message.bytes.resize(sizeof header + pad8(header.dataSize));
    memcpy(message.bytes.data(), &header, sizeof header);
    std::copy(layout.data.begin(), layout.data.end(), message.data());
    return message;
}

TEST(Replies, SaySoFirstWhenTheCallSucceeded) {
    const sp<V2_1::BnHwAIService> stub = new V2_1::BnHwAIService(new Service);
    struct {
        const char* what;
        uint32_t code;
        Layout request;
        std::vector<int32_t> reply;
    } const cases[] = {
            {"a void method", 4, Layout().token(kService).value(1), {0}},
            {"a value", 3, Layout().token(kService).value(1).nullBinder(), {0, 0}},
            {"IBase's", baseCode("PNG"), Layout().token(kBase), {0}},
    };
    for (const auto& each : cases) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(each.reply.data());
        const std::vector<uint8_t> reply(bytes, bytes + each.reply.size() * sizeof(int32_t));
        EXPECT_EQ((Fate{Io::kDone, 0, reply}), deliver(request(each.code, each.request), *stub))
                << each.what;
    }
}

TEST(Replies, AreATransportErrorAloneWhenItDidNot) {
    const sp<V2_1::BnHwAIService> stub = new V2_1::BnHwAIService(new Service);
    const sp<BnHwProbe> probe = new BnHwProbe(new Probe);
    const Layout unInit = Layout().token(kService).value(1);
    struct {
        const char* what;
        sp<BHwBinder> stub;
        WireMessage request;
        status_t status;
    } const cases[] = {
            {"unknown code", stub, request(5, unInit), -74},
            {"code 0", stub, request(0, unInit), -74},
            {"unknown code of IBase's", stub, request(baseCode("XYZ"), Layout().token(kBase)), -74},
            {"the child's name on the parent's method", stub,
             request(4, Layout().token("vendor.selkat.hardware.ai@2.1::IAIService").value(1)),
             -2147483647},
            {"IBase's name on another's method", stub, request(4, Layout().token(kBase).value(1)),
             -2147483647},
            {"another's name on IBase's method", stub,
             request(baseCode("PNG"), Layout().token(kService)), -2147483647},
            {"no name", stub, request(4, Layout()), -2147483647},
            {"name without its end", stub, request(4, Layout().value(0x41414141)), -2147483647},
            {"no argument", stub, request(4, Layout().token(kService)), -61},
            {"half an argument list", probe, request(1, Layout().token(kProbe).value(1).value(2)),
             -61},
            {"a 64-bit value cut short", probe,
             request(1, Layout().token(kProbe).value(1).value(2).value(3).value(4).value(5)), -61},
            {"no object", stub, request(3, Layout().token(kService).value(1)), -61},
            {"oneway where an answer is due", stub, request(4, unInit, IBinder::FLAG_ONEWAY),
             android::UNKNOWN_ERROR},
            {"an answer where none is due", stub, request(baseCode("INT"), Layout().token(kBase)),
             android::UNKNOWN_ERROR},
    };
    for (const auto& each : cases) {
        EXPECT_EQ((Fate{Io::kDone, each.status, {}}), deliver(each.request, *each.stub))
                << each.what;
    }
}

}  // namespace
