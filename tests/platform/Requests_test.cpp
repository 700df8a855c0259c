/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The bytes of requests and replies: what a client or a server on a device would read and write.
#include <algorithm>

#include <gtest/gtest.h>
#include <linux/android/binder.h>
#include <orva/test/1.0/BnHwProbe.h>
#include <orva/test/1.0/BpHwProbe.h>

#include "Probe.h"
#include "WireKit.h"

namespace {

using namespace orva_test;
using namespace android::hardware;
using namespace android::hardware::socket;
using android::status_t;
using orva::test::V1_0::BnHwProbe;
using orva::test::V1_0::BpHwProbe;

constexpr char kBase[] = "android.hidl.base@1.0::IBase";
constexpr char kProbe[] = "orva.test@1.0::IProbe";

enum Code : uint32_t { kScalars = 1, kText = 3, kHold = 7, kLetGo = 10, kReceive = 20 };
constexpr uint32_t kPing = 0x0f504e47;                // "PNG"
constexpr uint32_t kSetInstrumentation = 0x0f494e54;  // "INT", oneway

// A message's data and object offsets, written down by hand.
class Layout {
public:
    Layout() = default;
    explicit Layout(const char* name) { append(name, strlen(name) + 1); }
    template <typename T>
    Layout& value(T value) {
        static_assert(sizeof(T) == 4 || sizeof(T) == 8);
        return append(&value, sizeof value);
    }
    Layout& buffer(uint64_t length) { return list().pointer(length, 0); }
    Layout& child(uint64_t length, uint64_t parent, uint64_t offset) {
        return list().pointer(length, BINDER_BUFFER_FLAG_HAS_PARENT, parent, offset);
    }
    // Stands in the data alone.
    Layout& nullChild(uint64_t parent, uint64_t offset) {
        return pointer(0, BINDER_BUFFER_FLAG_HAS_PARENT, parent, offset);
    }
    Layout& descriptors(uint64_t count, uint64_t parent) {
        binder_fd_array_object object = {};
        object.hdr.type = BINDER_TYPE_FDA;
        object.num_fds = count;
        object.parent = parent;
        object.parent_offset = sizeof(native_handle_t);
        return list().append(&object, sizeof object);
    }
    Layout& binder(uint64_t number) { return list().object(number); }
    Layout& nullBinder() { return object(0); }

    std::vector<uint8_t> data;
    std::vector<uint64_t> offsets;

private:
    Layout& pointer(uint64_t length, uint32_t flags, uint64_t parent = 0, uint64_t offset = 0) {
        binder_buffer_object object = {};
        object.hdr.type = BINDER_TYPE_PTR;
        object.flags = flags;
        object.length = length;
        object.parent = parent;
        object.parent_offset = offset;
        return append(&object, sizeof object);
    }
    Layout& object(uint64_t number) {
        flat_binder_object object = {};
        object.hdr.type = BINDER_TYPE_BINDER;
        object.binder = number;
        return append(&object, sizeof object);
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
};

void expectRequest(uint32_t code, const Layout& expected, WireMessage& message) {
    ASSERT_LE(sizeof(MessageHeader), message.bytes.size());
    EXPECT_EQ(code, message.header().code);
    EXPECT_EQ(expected.data,
              std::vector<uint8_t>(message.data(), message.data() + message.header().dataSize));
    EXPECT_EQ(expected.offsets,
              std::vector<uint64_t>(message.offsets(),
                                    message.offsets() + message.header().objectCount));
}

TEST(Requests, NarrowValuesTakeFourBytesAndWideOnesAreAlignedToFour) {
    WireMessage message = recordOf<BpHwProbe>([](BpHwProbe& probe) {
        return probe.scalars(true, -2, 65535, -4, INT64_MIN, 1.5f, -2.5,
                             [](bool, int8_t, uint16_t, int32_t, int64_t, float, double) {});
    });
    // The name takes 24 bytes, so that the 64-bit values stand at odd multiples of four.
    Layout expected(kProbe);
    expected.value(1).value(-2).value(65535).value(-4).value(INT64_MIN).value(1.5f).value(-2.5);
    expectRequest(kScalars, expected, message);
}

TEST(Requests, AStringIsItsStructThenItsTextWithTheEnd) {
    for (const std::string text : {"", "a", "eight ch"}) {
        WireMessage message = recordOf<BpHwProbe>(
                [&](BpHwProbe& probe) { return probe.text(text, [](const hidl_string&) {}); });
        expectRequest(kText, Layout(kProbe).buffer(16).child(text.size() + 1, 0, 0), message);
        EXPECT_EQ(text, reinterpret_cast<const char*>(message.buffer(1)));
        // Each buffer counts rounded up to 8.
        EXPECT_EQ(16 + (text.size() + 8) / 8 * 8, message.header().buffersSize);
        EXPECT_EQ(0u, *reinterpret_cast<uint64_t*>(message.buffer(0))) << "the sender's address";
    }
}

TEST(Requests, AStructComesFirstThenWhatItsFieldsReferTo) {
    const auto receive = [](const Part& part) {
        return recordOf<BpHwProbe>(
                [&](BpHwProbe& probe) { return probe.receive(part, [](int32_t, bool) {}); });
    };
    WireMessage message = receive(partOf(2, 1));
    Layout full(kProbe);
    full.buffer(sizeof(Part)).child(10, 0, 0).child(3 * sizeof(uint32_t), 0, 16);
    full.value(uint64_t{12 + 2 * 4}).child(12 + 2 * 4, 0, 32).descriptors(2, 3);
    full.value(uint64_t{12 + 4}).child(12 + 4, 0, 48).descriptors(1, 5).child(7, 0, 48 + 24);
    expectRequest(kReceive, full, message);
    EXPECT_EQ(3u, message.descriptors.size());
    EXPECT_EQ(0, reinterpret_cast<native_handle_t*>(message.buffer(3))->data[0])
            << "a number of the sender's";

    // An empty vec has no array, a null handle no descriptors; an empty text is a text.
    message = receive(Part());
    Layout empty(kProbe);
    empty.buffer(sizeof(Part)).child(1, 0, 0).nullChild(0, 16);
    empty.value(uint64_t{0}).value(uint64_t{0}).child(1, 0, 48 + 24);
    expectRequest(kReceive, empty, message);
}

TEST(Requests, ANullInterfaceTakesNoNumber) {
    const sp<Probe> probe = new Probe;
    WireMessage message = recordOf<BpHwProbe>([&](BpHwProbe& proxy) { return proxy.hold(probe); });
    expectRequest(kHold, Layout(kProbe).binder(1), message);
    message = recordOf<BpHwProbe>([](BpHwProbe& proxy) { return proxy.letGo(); });
    expectRequest(kLetGo, Layout(kProbe), message);
    message = recordOf<BpHwProbe>([](BpHwProbe& proxy) { return proxy.hold(nullptr); });
    expectRequest(kHold, Layout(kProbe).nullBinder(), message);
}

// --- How a stub answers -----------------------------------------------------------------------

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

TEST(Replies, AreTheStatusFirstOrATransportErrorAlone) {
    constexpr status_t kUnknownCode = -74;
    constexpr status_t kOtherName = -2147483647;
    constexpr status_t kTooShort = -61;
    const sp<BnHwProbe> stub = new BnHwProbe(new Probe);
    const struct {
        const char* what;
        WireMessage request;
        status_t status;
        std::vector<uint8_t> reply;
    } cases[] = {
            {"a void method", request(kLetGo, Layout(kProbe)), 0, {0, 0, 0, 0}},
            {"IBase's", request(kPing, Layout(kBase)), 0, {0, 0, 0, 0}},
            {"no object", request(kHold, Layout(kProbe).nullBinder()), 0, {0, 0, 0, 0}},
            {"unknown code", request(1000, Layout(kProbe)), kUnknownCode, {}},
            {"code 0", request(0, Layout(kProbe)), kUnknownCode, {}},
            {"IBase's name on another's method", request(kLetGo, Layout(kBase)), kOtherName, {}},
            {"another's name on IBase's method", request(kPing, Layout(kProbe)), kOtherName, {}},
            {"no name", request(kLetGo, Layout()), kOtherName, {}},
            {"name without its end", request(kLetGo, Layout().value(0x41414141)), kOtherName, {}},
            {"half an argument list",
             request(kScalars, Layout(kProbe).value(1).value(2)),
             kTooShort,
             {}},
            {"a 64-bit value cut short",
             request(kScalars, Layout(kProbe).value(1).value(2).value(3).value(4).value(5)),
             kTooShort,
             {}},
            {"an object cut short", request(kHold, Layout(kProbe).value(1)), kTooShort, {}},
            {"oneway where an answer is due",
             request(kLetGo, Layout(kProbe), IBinder::FLAG_ONEWAY),
             android::UNKNOWN_ERROR,
             {}},
            {"an answer where none is due",
             request(kSetInstrumentation, Layout(kBase)),
             android::UNKNOWN_ERROR,
             {}},
    };
    for (const auto& each : cases) {
        EXPECT_EQ((Fate{Io::kDone, each.status, each.reply}), deliver(each.request, *stub))
                << each.what;
    }
}

}  // namespace
