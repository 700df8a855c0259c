/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// A valid request, one named damage, and how the message then fares. More damages are the fuzzers'.
#include <cstring>

#include <gtest/gtest.h>
#include <linux/android/binder.h>
#include <orva/test/1.0/BnHwProbe.h>
#include <orva/test/1.0/BpHwProbe.h>
#include <orva_platform/Runtime.h>

#include "Probe.h"
#include "WireKit.h"
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
            [&](BpHwProbe& probe) { return probe.receive(part, [](int32_t, int32_t, bool) {}); });
}

binder_buffer_object& pointer(M m, size_t index) {
    return m.object<binder_buffer_object>(index);
}
binder_fd_array_object& fds(M m) {
    return m.object<binder_fd_array_object>(kHandleFds);
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

// The only argument, an object.
void dropArgument(M m) {
    unlist(m);
    m.header().dataSize -= sizeof(flat_binder_object);
    cut(m, sizeof(flat_binder_object));
}

struct Damage {
    const char* what;
    void (*apply)(M m);
};

class Messages : public orva::test::ResourceTest {
protected:
    void SetUp() override {
        orva_platform::stop();  // Brings up what the runtime keeps for good.
        ResourceTest::SetUp();
    }
    void TearDown() override {
        EXPECT_TRUE(sp<IProbe>(new Probe)->hold(nullptr).isOk());
        ResourceTest::TearDown();
    }

    std::string fateOf(const Damage& damage) const {
        WireMessage message = receiveCall(partOf(2, 1));
        damage.apply(message);
        return deliver(std::move(message), *mStub);
    }

    const sp<BHwBinder> mStub = new BnHwProbe(new Probe);
};

TEST_F(Messages, WithNullPartsHoldNullWhateverTheSenderLeftThere) {
    WireMessage message = receiveCall(Part());
    for (const size_t offset : {offsetof(Part, name), offsetof(Part, numbers),
                                offsetof(Part, descriptors), offsetof(Part, region)}) {
        field<uint64_t>(message, offset) = 0x4141414141414141;
    }
    EXPECT_EQ("answer 0 0 0 1", deliver(std::move(message), *mStub));
}

TEST_F(Messages, OfADamagedFormBreakTheConnection) {
    const Damage damages[] = {
            {"shorter than the header", [](M m) { m.bytes.resize(47); }},
            {"other magic", [](M m) { m.header().magic ^= 1; }},
            {"kind 5", [](M m) { m.header().kind = MessageKind{5}; }},
            {"channel with a parcel", [](M m) { m.header().kind = MessageKind::kOpenChannel; }},
            {"more descriptors announced", [](M m) { ++m.header().descriptors; }},
            {"2^32 - 4 bytes of data", [](M m) { m.header().dataSize = 0xfffffffc; }},
            {"2^32 - 1 objects", [](M m) { m.header().objectCount = UINT32_MAX; }},
            {"buffers of nearly 2^64 bytes", [](M m) { m.header().buffersSize = UINT64_MAX - 7; }},
            {"larger than the largest", [](M m) { m.header().buffersSize = 1040384; }},
            {"the last byte is missing", [](M m) { cut(m, 1); }},
            {"object half behind the data",
             [](M m) { m.offsets()[kRegionName] = m.header().dataSize - 16; }},
            {"object at nearly 2^64", [](M m) { m.offsets()[kRegionName] = UINT64_MAX - 3; }},
            {"objects that overlap", [](M m) { m.offsets()[kHandleFds] -= 4; }},
            {"the kernel's lone descriptor", [](M m) { fds(m).hdr.type = BINDER_TYPE_FD; }},
            {"descriptors in a later buffer", [](M m) { fds(m).parent = kRegion; }},
            {"descriptors half behind their parent", [](M m) { fds(m).parent_offset = 16; }},
            {"2^62 + 2 descriptors", [](M m) { fds(m).num_fds = (1ull << 62) + 2; }},
            {"buffer in itself", [](M m) { pointer(m, kRegion).parent = kRegion; }},
            {"buffer in none", [](M m) { pointer(m, kNumbers).parent = kObjects; }},
            {"pointer over one that stands",
             [](M m) { pointer(m, kRegionName).parent_offset = 4; }},
            {"pointer at nearly 2^64",
             [](M m) { pointer(m, kNumbers).parent_offset = UINT64_MAX - 3; }},
            {"buffer longer than came", [](M m) { pointer(m, kRegionName).length = 9; }},
    };
    for (const Damage& damage : damages) {
        EXPECT_EQ("broken", fateOf(damage)) << damage.what;
    }
}

TEST_F(Messages, OfADamagedMeaningAreRefused) {
    const Damage damages[] = {
            {"part of another length", [](M m) { --pointer(m, kPart).length; }},
            {"text longer than its buffer", [](M m) { ++field(m, kSizeOfName); }},
            {"text of 2^32 - 1 bytes", [](M m) { field(m, kSizeOfName) = UINT32_MAX; }},
            {"text without its end", [](M m) { m.buffer(kName)[9] = '!'; }},
            {"text for another field", [](M m) { pointer(m, kName).parent_offset = 8; }},
            {"array longer than its buffer", [](M m) { ++field(m, kSizeOfNumbers); }},
            {"array whose bytes wrap", [](M m) { field(m, kSizeOfNumbers) += 1 << 30; }},
            {"handle of version 0", [](M m) { handle(m).version = 0; }},
            {"handle of less than no descriptors",
             [](M m) {
                 handle(m).numFds = -1;
                 handle(m).numInts = 3;
             }},
            {"handle with too many descriptors", [](M m) { handle(m).numFds = 1025; }},
            {"handle whose counts wrap", [](M m) { handle(m).numInts = 1 << 30; }},
            {"descriptors over a handle's counts", [](M m) { fds(m).parent_offset = 8; }},
            {"memory's name too long", [](M m) { field(m, kSizeOfRegionName) = 4096; }},
    };
    for (const Damage& damage : damages) {
        EXPECT_EQ("status -22", fateOf(damage)) << damage.what;
    }
    EXPECT_EQ("answer 0 12 3 1", fateOf({"none", [](M) {}}));
}

TEST_F(Messages, WithoutATextAreAnsweredByAnException) {
    const auto dropRegionName = [](M m) {
        // Its place in the list, and its bytes, which are the last: eight of both.
        const auto place = m.bytes.begin() +
                           (reinterpret_cast<uint8_t*>(m.offsets() + kRegionName) - m.bytes.data());
        m.bytes.erase(place, place + 8);
        cut(m, 8);
        --m.header().objectCount;
        m.header().buffersSize -= 8;
    };
    // The null pointer's, with a text of no letters.
    EXPECT_EQ("answer -4 0 0", fateOf({"", dropRegionName}));
}

TEST_F(Messages, NameAMethodThatThereIsAndAllItsArguments) {
    const struct {
        const char* fate;
        Damage damage;
    } cases[] = {
            {"status -74", {"unknown code", [](M m) { m.header().code = 1000; }}},
            {"status -2147483647", {"another interface", [](M m) { m.data()[0] ^= 1; }}},
            {"status -2147483647", {"endless name", [](M m) { memset(m.data(), 'A', 24); }}},
            {"status -2147483647", {"an object that is not listed", unlist}},
            {"status -61", {"no argument", dropArgument}},
            {"status -2147483648",
             {"oneway where an answer is due",
              [](M m) { m.header().flags = IBinder::FLAG_ONEWAY; }}},
            {"answer 0", {"none", [](M) {}}},
    };
    for (const auto& [fate, damage] : cases) {
        WireMessage message =
                recordOf<BpHwProbe>([](BpHwProbe& probe) { return probe.hold(new Probe); });
        damage.apply(message);
        EXPECT_EQ(fate, deliver(std::move(message), *mStub)) << damage.what;
    }
}

}  // namespace
