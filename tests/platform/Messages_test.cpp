/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// A valid request, one named damage, and how the message then fares.
#include <cutils/native_handle.h>
#include <gtest/gtest.h>
#include <linux/android/binder.h>
#include <orva/test/1.0/BnHwProbe.h>
#include <orva/test/1.0/BpHwProbe.h>
#include <orva_platform/Runtime.h>

#include "Probe.h"
#include "WireKit.h"
#include "support/Descriptors.h"
#include "support/ResourceTest.h"

namespace {

using namespace orva_test;
using namespace android::hardware;
using namespace android::hardware::socket;
using android::sp;
using orva::test::V1_0::BnHwProbe;
using orva::test::V1_0::BpHwProbe;

using M = WireMessage&;

// The objects of receive(part), in their order.
enum { kPart, kName, kNumbers, kHandle, kHandleFds, kRegion, kRegionFds, kRegionName, kObjects };

constexpr size_t kSizeOfName = offsetof(Part, name) + 8;
constexpr size_t kSizeOfNumbers = offsetof(Part, numbers) + 8;
constexpr size_t kNameInRegion = offsetof(Part, region) + hidl_memory::kOffsetOfName;

WireMessage receiveCall(const Part& part) {
    return recordOf<BpHwProbe>(
            [&](BpHwProbe& probe) { return probe.receive(part, [](int32_t, bool) {}); });
}
WireMessage holdCall() {
    return recordOf<BpHwProbe>([](BpHwProbe& probe) { return probe.hold(new Probe); });
}

binder_buffer_object& pointer(M m, size_t index) {
    return m.object<binder_buffer_object>(index);
}
binder_fd_array_object& descriptors(M m, size_t index) {
    return m.object<binder_fd_array_object>(index);
}
uint32_t& type(M m, size_t index) {
    return m.object<binder_object_header>(index).type;
}
// A field of the part.
template <typename T = uint32_t>
T& field(M m, size_t offset) {
    return *reinterpret_cast<T*>(m.buffer(kPart) + offset);
}
native_handle_t& handle(M m) {
    return *reinterpret_cast<native_handle_t*>(m.buffer(kHandle));
}
// A handle's size stands before its buffer.
uint64_t& sizeOfHandle(M m) {
    return *reinterpret_cast<uint64_t*>(m.data() + m.offsets()[kHandle] - 8);
}
void cut(M m, size_t bytes) {
    m.bytes.resize(m.bytes.size() - bytes);
}
// Leaves an object in the data that the message does not list.
void unlist(M m) {
    m.header().objectCount = 0;
    cut(m, sizeof(uint64_t));
}

struct Damage {
    const char* what;
    void (*apply)(M m);
};

class Messages : public orva::test::ResourceTest {
protected:
    // A probe of which each test says how it looks at what it receives.
    struct Reader : Probe {
        Return<void> receive(const Part& part, receive_cb answer) override {
            read(part);
            return Probe::receive(part, answer);
        }
        std::function<void(const Part&)> read = [](const Part&) {};
    };

    void SetUp() override {
        orva_platform::stop();  // Brings up what the runtime keeps for good.
        ResourceTest::SetUp();
    }
    void TearDown() override {
        Probe::reset();
        ResourceTest::TearDown();
    }

    template <size_t kCount>
    void expectFate(const Fate& fate, const Damage (&damages)[kCount]) {
        for (const Damage& damage : damages) {
            WireMessage message = receiveCall(partOf(2, 1));
            damage.apply(message);
            EXPECT_EQ(fate, deliver(message, *mStub)) << damage.what;
        }
    }

    // What receive() answers: success, the descriptors, and that all were sound.
    static Fate received(uint8_t count) {
        return {Io::kDone, 0, {0, 0, 0, 0, count, 0, 0, 0, 1, 0, 0, 0}};
    }

    const sp<Reader> mReader = new Reader;
    const sp<BHwBinder> mStub = new BnHwProbe(mReader);
};

TEST_F(Messages, AsTheyAreSentAreServed) {
    WireMessage message = receiveCall(partOf(2, 1));
    ASSERT_EQ(size_t{kObjects}, message.header().objectCount);
    // The sender's flags say that it owned everything; acting on that would free the message.
    ASSERT_EQ(1, field<uint8_t>(message, offsetof(Part, name) + 12));
    ASSERT_EQ(1, field<uint8_t>(message, offsetof(Part, descriptors) + 8));
    Part copy;
    mReader->read = [&](const Part& part) {
        copy = part;
        const int descriptor = part.descriptors->data[0];
        { const Part moved = std::move(const_cast<Part&>(part)); }
        EXPECT_TRUE(isOpen(descriptor));
    };
    EXPECT_EQ(Io::kDone, deliver(message, *mStub).io);
    // A copy outlives the message.
    EXPECT_EQ("some text", copy.name);
    EXPECT_EQ((hidl_vec<uint32_t>{1, 2, 3}), copy.numbers);
    EXPECT_TRUE(isOpen(copy.descriptors->data[1]));
    EXPECT_TRUE(isOpen(copy.region.handle()->data[0]));

    mReader->read = [](const Part&) {};
    EXPECT_EQ(received(3), deliver(receiveCall(partOf(2, 1)), *mStub));
    EXPECT_EQ((Fate{Io::kDone, 0, {0, 0, 0, 0}}), deliver(holdCall(), *mStub));
}

TEST_F(Messages, WithNullPartsHoldNullWhateverTheSenderLeftThere) {
    WireMessage message = receiveCall(Part());
    for (const size_t offset : {offsetof(Part, name), offsetof(Part, numbers),
                                offsetof(Part, descriptors), offsetof(Part, region)}) {
        field<uint64_t>(message, offset) = 0x4141414141414141;
    }
    mReader->read = [](const Part& part) {
        EXPECT_EQ("", part.name);
        EXPECT_EQ(nullptr, part.numbers.data());
    };
    EXPECT_EQ(received(0), deliver(message, *mStub));
    field(message, kSizeOfNumbers) = 5;
    EXPECT_EQ((Fate{Io::kDone, android::BAD_VALUE, {}}), deliver(message, *mStub));
}

TEST_F(Messages, WithADamageOfTheirFormBreakTheConnection) {
    const Damage damages[] = {
            {"empty", [](M m) { m.bytes.resize(1); }},
            {"shorter than the header", [](M m) { m.bytes.resize(47); }},
            {"other magic", [](M m) { m.header().magic ^= 1; }},
            {"kind 0", [](M m) { m.header().kind = MessageKind{0}; }},
            {"kind 5", [](M m) { m.header().kind = MessageKind{5}; }},
            {"channel with a parcel", [](M m) { m.header().kind = MessageKind::kOpenChannel; }},
            {"release with a parcel", [](M m) { m.header().kind = MessageKind::kRelease; }},
            {"more descriptors announced", [](M m) { ++m.header().descriptors; }},
            {"fewer descriptors announced", [](M m) { --m.header().descriptors; }},
            {"2^32 - 1 descriptors", [](M m) { m.header().descriptors = UINT32_MAX; }},
            {"a descriptor too many",
             [](M m) {
                 m.descriptors.emplace_back(dup(STDOUT_FILENO));
                 ++m.header().descriptors;
             }},
            {"a descriptor too few",
             [](M m) {
                 m.descriptors.pop_back();
                 --m.header().descriptors;
             }},
            {"data of no multiple of 4", [](M m) { m.header().dataSize -= 2; }},
            {"less data than there is", [](M m) { m.header().dataSize -= 8; }},
            {"2^32 - 4 bytes of data", [](M m) { m.header().dataSize = 0xfffffffc; }},
            {"more objects than there are", [](M m) { ++m.header().objectCount; }},
            {"fewer objects than there are", [](M m) { --m.header().objectCount; }},
            {"2^32 - 1 objects", [](M m) { m.header().objectCount = UINT32_MAX; }},
            {"buffers of no multiple of 8", [](M m) { m.header().buffersSize -= 4; }},
            {"buffers of nearly 2^64 bytes", [](M m) { m.header().buffersSize = UINT64_MAX - 7; }},
            {"buffers of 8 bytes more", [](M m) { m.header().buffersSize += 8; }},
            {"buffers of 8 bytes less", [](M m) { m.header().buffersSize -= 8; }},
            {"larger than the largest", [](M m) { m.header().buffersSize = 1040384; }},
            {"the last byte is missing", [](M m) { cut(m, 1); }},
            {"8 bytes too many, announced",
             [](M m) {
                 m.bytes.resize(m.bytes.size() + 8);
                 m.header().buffersSize += 8;
             }},
            {"object at no multiple of 4", [](M m) { m.offsets()[kPart] += 2; }},
            {"object behind the data", [](M m) { m.offsets()[kRegionName] = m.header().dataSize; }},
            {"object half behind the data",
             [](M m) { m.offsets()[kRegionName] = m.header().dataSize - 16; }},
            {"object at nearly 2^64", [](M m) { m.offsets()[kRegionName] = UINT64_MAX - 3; }},
            {"objects out of order",
             [](M m) { std::swap(m.offsets()[kPart], m.offsets()[kNumbers]); }},
            {"one object listed twice",
             [](M m) { m.offsets()[kRegion] = m.offsets()[kHandleFds]; }},
            {"objects that overlap",
             [](M m) { m.offsets()[kHandleFds] = m.offsets()[kHandle] + 24; }},
            {"object of type 0", [](M m) { type(m, kPart) = 0; }},
            {"the kernel's lone descriptor", [](M m) { type(m, kHandleFds) = BINDER_TYPE_FD; }},
            {"a weak object", [](M m) { type(m, kPart) = BINDER_TYPE_WEAK_BINDER; }},
            {"a buffer for descriptors", [](M m) { type(m, kHandleFds) = BINDER_TYPE_PTR; }},
            {"descriptors in themselves",
             [](M m) { descriptors(m, kHandleFds).parent = kHandleFds; }},
            {"descriptors in what is no buffer",
             [](M m) { descriptors(m, kRegionFds).parent = kHandleFds; }},
            {"descriptors in a later buffer",
             [](M m) { descriptors(m, kHandleFds).parent = kRegion; }},
            {"descriptors half behind their parent",
             [](M m) { descriptors(m, kHandleFds).parent_offset = 16; }},
            {"descriptors at nearly 2^64",
             [](M m) { descriptors(m, kHandleFds).parent_offset = UINT64_MAX - 7; }},
            {"2^62 + 2 descriptors",
             [](M m) { descriptors(m, kHandleFds).num_fds = (1ull << 62) + 2; }},
            {"buffer in itself", [](M m) { pointer(m, kRegion).parent = kRegion; }},
            {"buffer in a later one", [](M m) { pointer(m, kNumbers).parent = kRegionName; }},
            {"buffer in none", [](M m) { pointer(m, kNumbers).parent = kObjects; }},
            {"pointer over one that stands",
             [](M m) { pointer(m, kRegionName).parent_offset = 4; }},
            {"pointer half behind its parent",
             [](M m) { pointer(m, kRegionName).parent_offset = sizeof(Part) - 4; }},
            {"pointer at nearly 2^64",
             [](M m) { pointer(m, kNumbers).parent_offset = UINT64_MAX - 3; }},
            {"buffer of one byte more than came", [](M m) { pointer(m, kRegionName).length = 9; }},
            {"buffer of 2^64 - 1 bytes", [](M m) { pointer(m, kPart).length = UINT64_MAX; }},
    };
    expectFate({Io::kBroken, 0, {}}, damages);
}

TEST_F(Messages, WithADamageOfTheirMeaningAreRefusedByTheStub) {
    const Damage damages[] = {
            {"part of another length", [](M m) { pointer(m, kPart).length = sizeof(Part) - 1; }},
            {"text longer than its buffer", [](M m) { ++field(m, kSizeOfName); }},
            {"text shorter", [](M m) { --field(m, kSizeOfName); }},
            {"text of 2^32 - 1 bytes", [](M m) { field(m, kSizeOfName) = UINT32_MAX; }},
            {"text without its end", [](M m) { m.buffer(kName)[9] = '!'; }},
            {"text for another field", [](M m) { pointer(m, kName).parent_offset = 8; }},
            {"text in no struct", [](M m) { pointer(m, kName).flags = 0; }},
            {"array longer than its buffer", [](M m) { ++field(m, kSizeOfNumbers); }},
            {"array whose bytes wrap to its own",
             [](M m) { field(m, kSizeOfNumbers) += 0x40000000; }},
            {"array said to be empty", [](M m) { field(m, kSizeOfNumbers) = 0; }},
            {"handle of version 0", [](M m) { handle(m).version = 0; }},
            {"handle longer than it says", [](M m) { handle(m).numFds = 1; }},
            {"handle shorter than it says", [](M m) { handle(m).numInts = 1; }},
            {"handle with a descriptor for an integer",
             [](M m) {
                 --handle(m).numFds;
                 ++handle(m).numInts;
             }},
            {"handle of less than no descriptors",
             [](M m) {
                 handle(m).numFds = -1;
                 handle(m).numInts = 3;
             }},
            {"handle with more descriptors than may be", [](M m) { handle(m).numFds = 1025; }},
            {"handle whose counts wrap", [](M m) { handle(m).numInts = 0x40000000; }},
            {"handle of another size than announced", [](M m) { sizeOfHandle(m) = 24; }},
            {"handle of 2^63 bytes", [](M m) { sizeOfHandle(m) = 1ull << 63; }},
            {"handle for another field",
             [](M m) { pointer(m, kHandle).parent_offset = offsetof(Part, descriptors) + 8; }},
            {"descriptors over a handle's counts",
             [](M m) { descriptors(m, kHandleFds).parent_offset = 8; }},
            {"memory's handle in no struct", [](M m) { pointer(m, kRegion).flags = 0; }},
            {"memory's name longer than its buffer",
             [](M m) { field(m, kNameInRegion + 8) = 4096; }},
            {"memory's name where its size should be",
             [](M m) { pointer(m, kRegionName).parent_offset = kNameInRegion - 8; }},
    };
    expectFate({Io::kDone, android::BAD_VALUE, {}}, damages);
}

// One object in the data: a binder.
TEST_F(Messages, NameOnlyObjectsThatThereAre) {
    const struct {
        const char* what;
        void (*apply)(M m);
        Fate fate;
    } cases[] = {
            {"one of ours that the peer holds",
             [](M m) { m.object<flat_binder_object>(0).hdr.type = BINDER_TYPE_HANDLE; },
             {Io::kDone, 0, {0, 0, 0, 0}}},
            {"not listed", [](M m) { unlist(m); }, {Io::kDone, android::BAD_TYPE, {}}},
            {"not listed, but with an address",
             [](M m) {
                 m.object<flat_binder_object>(0).cookie = 0x41414141;
                 unlist(m);
             },
             {Io::kDone, android::BAD_TYPE, {}}},
            {"null",
             [](M m) {
                 m.object<flat_binder_object>(0).binder = 0;
                 unlist(m);
             },
             {Io::kDone, 0, {0, 0, 0, 0}}},
            {"of another type",
             [](M m) {
                 type(m, 0) = BINDER_TYPE_FDA;
                 unlist(m);
             },
             {Io::kDone, android::BAD_TYPE, {}}},
    };
    for (const auto& each : cases) {
        WireMessage message = holdCall();
        each.apply(message);
        EXPECT_EQ(each.fate, deliver(message, *mStub)) << each.what;
    }
}

}  // namespace
