/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// A valid request, one named damage, and how the message then fares. More damages are the fuzzers'.
#include <cstring>

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
constexpr size_t kSizeOfRegionName = offsetof(Part, region) + hidl_memory::kOffsetOfName + 8;

WireMessage receiveCall(const Part& part) {
    return recordOf<BpHwProbe>(
            [&](BpHwProbe& probe) { return probe.receive(part, [](int32_t, bool) {}); });
}

binder_buffer_object& pointer(M m, size_t index) {
    return m.object<binder_buffer_object>(index);
}
binder_fd_array_object& fds(M m) {
    return m.object<binder_fd_array_object>(kHandleFds);
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
    const char* fate;
};

constexpr char kBroken[] = "broken";
constexpr char kBadValue[] = "status -22";
constexpr char kServed[] = "answer 0";

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
    EXPECT_EQ("answer 0 0 1", deliver(std::move(message), *mStub)) << "nothing is left in it";
    // A copy outlives the message.
    EXPECT_EQ("some text", copy.name);
    EXPECT_EQ((hidl_vec<uint32_t>{1, 2, 3}), copy.numbers);
    EXPECT_TRUE(isOpen(copy.descriptors->data[1]));
    EXPECT_TRUE(isOpen(copy.region.handle()->data[0]));
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
    EXPECT_EQ("answer 0 0 1", deliver(std::move(message), *mStub));
}

TEST_F(Messages, ThatAreDamagedBreakTheConnectionOrAreRefused) {
    const Damage damages[] = {
            {"none", [](M) {}, "answer 0 3 1"},
            // Of their form.
            {"shorter than the header", [](M m) { m.bytes.resize(47); }, kBroken},
            {"other magic", [](M m) { m.header().magic ^= 1; }, kBroken},
            {"kind 5", [](M m) { m.header().kind = MessageKind{5}; }, kBroken},
            {"channel with a parcel", [](M m) { m.header().kind = MessageKind::kOpenChannel; },
             kBroken},
            {"more descriptors announced", [](M m) { ++m.header().descriptors; }, kBroken},
            {"2^32 - 4 bytes of data", [](M m) { m.header().dataSize = 0xfffffffc; }, kBroken},
            {"2^32 - 1 objects", [](M m) { m.header().objectCount = UINT32_MAX; }, kBroken},
            {"buffers of nearly 2^64 bytes", [](M m) { m.header().buffersSize = UINT64_MAX - 7; },
             kBroken},
            {"larger than the largest", [](M m) { m.header().buffersSize = 1040384; }, kBroken},
            {"the last byte is missing", [](M m) { cut(m, 1); }, kBroken},
            {"object half behind the data",
             [](M m) { m.offsets()[kRegionName] = m.header().dataSize - 16; }, kBroken},
            {"object at nearly 2^64", [](M m) { m.offsets()[kRegionName] = UINT64_MAX - 3; },
             kBroken},
            {"objects that overlap", [](M m) { m.offsets()[kHandleFds] -= 4; }, kBroken},
            {"the kernel's lone descriptor", [](M m) { type(m, kHandleFds) = BINDER_TYPE_FD; },
             kBroken},
            {"descriptors in a later buffer", [](M m) { fds(m).parent = kRegion; }, kBroken},
            {"descriptors half behind their parent", [](M m) { fds(m).parent_offset = 16; },
             kBroken},
            {"2^62 + 2 descriptors", [](M m) { fds(m).num_fds = (1ull << 62) + 2; }, kBroken},
            {"buffer in itself", [](M m) { pointer(m, kRegion).parent = kRegion; }, kBroken},
            {"buffer in none", [](M m) { pointer(m, kNumbers).parent = kObjects; }, kBroken},
            {"pointer over one that stands", [](M m) { pointer(m, kRegionName).parent_offset = 4; },
             kBroken},
            {"pointer at nearly 2^64",
             [](M m) { pointer(m, kNumbers).parent_offset = UINT64_MAX - 3; }, kBroken},
            {"buffer longer than came", [](M m) { pointer(m, kRegionName).length = 9; }, kBroken},
            // Of their meaning.
            {"part of another length", [](M m) { --pointer(m, kPart).length; }, kBadValue},
            {"text longer than its buffer", [](M m) { ++field(m, kSizeOfName); }, kBadValue},
            {"text of 2^32 - 1 bytes", [](M m) { field(m, kSizeOfName) = UINT32_MAX; }, kBadValue},
            {"text without its end", [](M m) { m.buffer(kName)[9] = '!'; }, kBadValue},
            {"text for another field", [](M m) { pointer(m, kName).parent_offset = 8; }, kBadValue},
            {"array longer than its buffer", [](M m) { ++field(m, kSizeOfNumbers); }, kBadValue},
            {"array whose bytes wrap", [](M m) { field(m, kSizeOfNumbers) += 1 << 30; }, kBadValue},
            {"handle of version 0", [](M m) { handle(m).version = 0; }, kBadValue},
            {"handle of less than no descriptors",
             [](M m) {
                 handle(m).numFds = -1;
                 handle(m).numInts = 3;
             },
             kBadValue},
            {"handle with too many descriptors", [](M m) { handle(m).numFds = 1025; }, kBadValue},
            {"handle whose counts wrap", [](M m) { handle(m).numInts = 1 << 30; }, kBadValue},
            {"descriptors over a handle's counts", [](M m) { fds(m).parent_offset = 8; },
             kBadValue},
            {"memory's name too long", [](M m) { field(m, kSizeOfRegionName) = 4096; }, kBadValue},
    };
    for (const Damage& damage : damages) {
        WireMessage message = receiveCall(partOf(2, 1));
        damage.apply(message);
        EXPECT_EQ(damage.fate, deliver(std::move(message), *mStub)) << damage.what;
    }
}

// One object in the data: a binder.
TEST_F(Messages, NameAnObjectAndAMethodThatThereAre) {
    static constexpr uint32_t kPing = 0x0f504e47;  // "PNG"
    const Damage damages[] = {
            {"none", [](M) {}, kServed},
            {"null",
             [](M m) {
                 m.object<flat_binder_object>(0).binder = 0;
                 unlist(m);
             },
             kServed},
            {"an object that is not listed", unlist, "status -2147483647"},
            {"unknown code", [](M m) { m.header().code = 1000; }, "status -74"},
            {"another interface's method", [](M m) { m.header().code = kPing; },
             "status -2147483647"},
            {"another interface's name", [](M m) { m.data()[0] ^= 1; }, "status -2147483647"},
            {"name without its end", [](M m) { memset(m.data(), 'A', 24); }, "status -2147483647"},
            {"arguments cut short",
             [](M m) {
                 unlist(m);
                 m.header().dataSize -= sizeof(flat_binder_object);
                 cut(m, sizeof(flat_binder_object));
             },
             "status -61"},
            {"oneway where an answer is due", [](M m) { m.header().flags = IBinder::FLAG_ONEWAY; },
             "status -2147483648"},
    };
    for (const Damage& damage : damages) {
        WireMessage message =
                recordOf<BpHwProbe>([](BpHwProbe& probe) { return probe.hold(new Probe); });
        damage.apply(message);
        EXPECT_EQ(damage.fate, deliver(std::move(message), *mStub)) << damage.what;
    }
}

}  // namespace
