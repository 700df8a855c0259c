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

constexpr android::status_t kBadValue = android::BAD_VALUE;

// receive(handle of 2 descriptors, memory): its objects in their order.
enum { kHandle, kHandleFds, kMemory, kMemoryHandle, kMemoryFds, kMemoryName, kObjects };

class Messages : public orva::test::ResourceTest {
protected:
    void SetUp() override {
        mStub = new BnHwProbe(new Probe);
        mReceive = record([](const sp<IBinder>& binder) {
            const sp<BpHwProbe> proxy = new BpHwProbe(binder);
            EXPECT_FALSE(proxy->receive(nullDevices(2), hidl_memory("ashmem", nullDevices(1), 4096),
                                        [](int32_t, bool) {})
                                 .isOk());
        });
        mHold = record([](const sp<IBinder>& binder) {
            const sp<BpHwProbe> proxy = new BpHwProbe(binder);
            EXPECT_FALSE(proxy->hold(new Probe).isOk());
        });
        mReceive.descriptors.clear();  // Counted from here on; each case makes its own.
        mHold.descriptors.clear();
        ResourceTest::SetUp();
    }

    static WireMessage fresh(const WireMessage& message, size_t descriptors) {
        WireMessage copy = message.copy();
        for (size_t i = 0; i < descriptors; ++i) {
            copy.descriptors.emplace_back(dup(STDOUT_FILENO));
        }
        return copy;
    }
    WireMessage receiveCall() const { return fresh(mReceive, 3); }
    WireMessage holdCall() const { return fresh(mHold, 0); }

    sp<BHwBinder> mStub;
    WireMessage mReceive;
    WireMessage mHold;
};

native_handle_t& handleIn(WireMessage& m, size_t index) {
    return *reinterpret_cast<native_handle_t*>(m.buffer(index));
}

// Takes bytes off the end of the data or of the buffers.
void shorten(WireMessage& m, size_t bytes) {
    m.bytes.resize(m.bytes.size() - bytes);
}

TEST_F(Messages, AsTheyAreSentAreServed) {
    const std::vector<uint8_t> threeSound = {0, 0, 0, 0, 3, 0, 0, 0, 1, 0, 0, 0};
    EXPECT_EQ((Fate{Io::kDone, 0, threeSound}), deliver(receiveCall(), *mStub));
    EXPECT_EQ((Fate{Io::kDone, 0, {0, 0, 0, 0}}), deliver(holdCall(), *mStub));
    Probe::reset();
}

struct Damage {
    const char* what;
    void (*apply)(WireMessage& m);
};

TEST_F(Messages, WithADamageOfTheirFormBreakTheConnection) {
    const Damage cases[] = {
            {"empty", [](WireMessage& m) { m.bytes.resize(1); }},
            {"shorter than the header", [](WireMessage& m) { m.bytes.resize(47); }},
            {"other magic", [](WireMessage& m) { m.header().magic ^= 1; }},
            {"kind 0", [](WireMessage& m) { m.header().kind = MessageKind{0}; }},
            {"kind 5", [](WireMessage& m) { m.header().kind = MessageKind{5}; }},
            {"a new channel with a parcel",
             [](WireMessage& m) { m.header().kind = MessageKind::kOpenChannel; }},
            {"a release with a parcel",
             [](WireMessage& m) { m.header().kind = MessageKind::kRelease; }},
            {"more descriptors announced", [](WireMessage& m) { ++m.header().descriptors; }},
            {"fewer descriptors announced", [](WireMessage& m) { --m.header().descriptors; }},
            {"2^32 - 1 descriptors announced",
             [](WireMessage& m) { m.header().descriptors = UINT32_MAX; }},
            {"a descriptor too many",
             [](WireMessage& m) {
                 m.descriptors.emplace_back(dup(STDOUT_FILENO));
                 ++m.header().descriptors;
             }},
            {"a descriptor too few",
             [](WireMessage& m) {
                 m.descriptors.pop_back();
                 --m.header().descriptors;
             }},
            {"data of no multiple of 4", [](WireMessage& m) { m.header().dataSize -= 2; }},
            {"less data than there is", [](WireMessage& m) { m.header().dataSize -= 8; }},
            {"2^32 - 4 bytes of data", [](WireMessage& m) { m.header().dataSize = 0xfffffffc; }},
            {"more objects than there are", [](WireMessage& m) { ++m.header().objectCount; }},
            {"fewer objects than there are", [](WireMessage& m) { --m.header().objectCount; }},
            {"2^32 - 1 objects", [](WireMessage& m) { m.header().objectCount = UINT32_MAX; }},
            {"buffers of no multiple of 8", [](WireMessage& m) { m.header().buffersSize -= 4; }},
            {"buffers of nearly 2^64 bytes",
             [](WireMessage& m) { m.header().buffersSize = UINT64_MAX - 7; }},
            {"buffers of 8 bytes more", [](WireMessage& m) { m.header().buffersSize += 8; }},
            {"buffers of 8 bytes less", [](WireMessage& m) { m.header().buffersSize -= 8; }},
            {"larger than the largest", [](WireMessage& m) { m.header().buffersSize = 1040384; }},
            {"the last byte is missing", [](WireMessage& m) { shorten(m, 1); }},
            {"8 bytes too many, announced",
             [](WireMessage& m) {
                 m.bytes.resize(m.bytes.size() + 8);
                 m.header().buffersSize += 8;
             }},
            {"object at no multiple of 4", [](WireMessage& m) { m.offsets()[kHandle] += 2; }},
            {"object behind the data",
             [](WireMessage& m) { m.offsets()[kMemoryName] = m.header().dataSize; }},
            {"object half behind the data",
             [](WireMessage& m) { m.offsets()[kMemoryName] = m.header().dataSize - 16; }},
            {"object at nearly 2^64",
             [](WireMessage& m) { m.offsets()[kMemoryName] = UINT64_MAX - 3; }},
            {"objects out of order",
             [](WireMessage& m) { std::swap(m.offsets()[kHandle], m.offsets()[kMemory]); }},
            {"one object listed twice",
             [](WireMessage& m) { m.offsets()[kMemory] = m.offsets()[kHandleFds]; }},
            {"objects that overlap",
             [](WireMessage& m) { m.offsets()[kHandleFds] = m.offsets()[kHandle] + 24; }},
            {"object of type 0",
             [](WireMessage& m) { m.object<binder_object_header>(kHandle).type = 0; }},
            {"a lone descriptor of the kernel's",
             [](WireMessage& m) {
                 m.object<binder_object_header>(kHandleFds).type = BINDER_TYPE_FD;
             }},
            {"a weak object",
             [](WireMessage& m) {
                 m.object<binder_object_header>(kHandle).type = BINDER_TYPE_WEAK_BINDER;
             }},
            {"a buffer where descriptors should be",
             [](WireMessage& m) {
                 m.object<binder_object_header>(kHandleFds).type = BINDER_TYPE_PTR;
             }},
            {"descriptors that lie in themselves",
             [](WireMessage& m) { m.object<binder_fd_array_object>(kHandleFds).parent = 1; }},
            {"descriptors in what is no buffer",
             [](WireMessage& m) {
                 m.object<binder_fd_array_object>(kMemoryFds).parent = kHandleFds;
             }},
            {"descriptors in a later buffer",
             [](WireMessage& m) {
                 m.object<binder_fd_array_object>(kHandleFds).parent = kMemoryHandle;
             }},
            {"descriptors half behind their parent",
             [](WireMessage& m) {
                 m.object<binder_fd_array_object>(kHandleFds).parent_offset = 16;
             }},
            {"descriptors at nearly 2^64",
             [](WireMessage& m) {
                 m.object<binder_fd_array_object>(kHandleFds).parent_offset = UINT64_MAX - 7;
             }},
            {"2^62 + 2 descriptors",
             [](WireMessage& m) {
                 m.object<binder_fd_array_object>(kHandleFds).num_fds = (1ull << 62) + 2;
             }},
            {"buffer in itself",
             [](WireMessage& m) { m.object<binder_buffer_object>(kMemoryHandle).parent = 3; }},
            {"pointer over one that stands",
             [](WireMessage& m) { m.object<binder_buffer_object>(kMemoryName).parent_offset = 4; }},
            {"pointer half behind its parent",
             [](WireMessage& m) {
                 m.object<binder_buffer_object>(kMemoryName).parent_offset = 40 - 4;
             }},
            {"buffer of one byte more than came",
             [](WireMessage& m) { m.object<binder_buffer_object>(kMemoryName).length = 9; }},
            {"buffer of 2^64 - 1 bytes",
             [](WireMessage& m) { m.object<binder_buffer_object>(kHandle).length = UINT64_MAX; }},
    };
    ASSERT_EQ(size_t{kObjects}, mReceive.header().objectCount);
    for (const Damage& damage : cases) {
        WireMessage message = receiveCall();
        damage.apply(message);
        EXPECT_EQ((Fate{Io::kBroken, 0, {}}), deliver(message, *mStub)) << damage.what;
    }
}

TEST_F(Messages, WithADamageOfTheirMeaningAreRefusedByTheStub) {
    const Damage cases[] = {
            {"a handle of a struct in no struct",
             [](WireMessage& m) { m.object<binder_buffer_object>(kMemoryHandle).flags = 0; }},
            {"handle longer than it says", [](WireMessage& m) { handleIn(m, kHandle).numFds = 1; }},
            {"handle shorter than it says",
             [](WireMessage& m) { handleIn(m, kHandle).numInts = 1; }},
            {"handle with more descriptors than may be",
             [](WireMessage& m) { handleIn(m, kHandle).numFds = 1025; }},
            {"handle with -1 integers", [](WireMessage& m) { handleIn(m, kHandle).numInts = -1; }},
            {"handle of version 0", [](WireMessage& m) { handleIn(m, kHandle).version = 0; }},
            {"handle of another size than announced",
             [](WireMessage& m) {
                 *reinterpret_cast<uint64_t*>(m.data() + m.offsets()[kHandle] - 8) = 24;
             }},
            {"handle of 2^63 bytes",
             [](WireMessage& m) {
                 *reinterpret_cast<uint64_t*>(m.data() + m.offsets()[kHandle] - 8) = 1ull << 63;
             }},
            {"memory of another length",
             [](WireMessage& m) { m.object<binder_buffer_object>(kMemory).length = 39; }},
            {"memory's handle where its name should be",
             [](WireMessage& m) {
                 m.object<binder_buffer_object>(kMemoryHandle).parent_offset = 8;
             }},
            {"memory's name where its size should be",
             [](WireMessage& m) {
                 m.object<binder_buffer_object>(kMemoryName).parent_offset = 16;
             }},
    };
    for (const Damage& damage : cases) {
        WireMessage message = receiveCall();
        damage.apply(message);
        EXPECT_EQ((Fate{Io::kDone, kBadValue, {}}), deliver(message, *mStub)) << damage.what;
    }
}

TEST_F(Messages, NameOnlyObjectsThatThereAre) {
    const struct {
        Damage damage;
        Fate fate;
    } cases[] = {
            {{"an object of ours that the peer does not hold",
              [](WireMessage& m) {
                  m.object<flat_binder_object>(0).hdr.type = BINDER_TYPE_HANDLE;
                  m.object<flat_binder_object>(0).binder = 2;
              }},
             {Io::kBroken, 0, {}}},
            {{"an object of ours that it holds",
              [](WireMessage& m) {
                  m.object<flat_binder_object>(0).hdr.type = BINDER_TYPE_HANDLE;
              }},
             {Io::kDone, 0, {0, 0, 0, 0}}},
            {{"an object that is not listed",
              [](WireMessage& m) {
                  // The offset becomes the end of the data's padding and the message 8 bytes less.
                  m.header().objectCount = 0;
                  shorten(m, 8);
              }},
             {Io::kDone, android::BAD_TYPE, {}}},
            {{"an object not listed, but with an address",
              [](WireMessage& m) {
                  m.object<flat_binder_object>(0).cookie = 0x41414141;
                  m.header().objectCount = 0;
                  shorten(m, 8);
              }},
             {Io::kDone, android::BAD_TYPE, {}}},
            {{"null",
              [](WireMessage& m) {
                  m.object<flat_binder_object>(0).binder = 0;
                  m.header().objectCount = 0;
                  shorten(m, 8);
              }},
             {Io::kDone, 0, {0, 0, 0, 0}}},
            {{"a buffer",
              [](WireMessage& m) {
                  m.object<binder_object_header>(0).type = BINDER_TYPE_FDA;
                  m.header().objectCount = 0;
                  shorten(m, 8);
              }},
             {Io::kDone, android::BAD_TYPE, {}}},
    };
    for (const auto& each : cases) {
        WireMessage message = holdCall();
        each.damage.apply(message);
        EXPECT_EQ(each.fate, deliver(message, *mStub)) << each.damage.what;
        Probe::reset();
    }
}

// --- Messages of several packets --------------------------------------------------------------

TEST_F(Messages, OfSeveralPacketsArriveWhole) {
    const std::string text(100'000, 't');
    const WireMessage message = record([&](const sp<IBinder>& binder) {
        const sp<BpHwProbe> proxy = new BpHwProbe(binder);
        EXPECT_FALSE(proxy->text(text, [](const hidl_string&) {}).isOk());
    });
    ASSERT_LT(6 * kPacketSize, message.bytes.size());
    EXPECT_EQ(Io::kDone, deliver(message, *mStub).io);
    EXPECT_EQ(0, deliver(message, *mStub).status);

    SocketPair sockets;
    std::unique_ptr<ReceivedMessage> received;
    const int stray = STDOUT_FILENO;
    sendPacket(sockets.ours.get(), message.bytes.data(), kPacketSize, nullptr, 0, TimeLimit(1));
    sendPacket(sockets.ours.get(), message.bytes.data() + kPacketSize, kPacketSize, &stray, 1,
               TimeLimit(1));
    EXPECT_EQ(Io::kBroken, ReceivedMessage::receive(sockets.theirs.get(), Wait::kNo, &received))
            << "a descriptor behind the first packet";
}

TEST_F(Messages, WhoseRestDoesNotFollowAreGivenUp) {
    const std::string text(100'000, 't');
    const WireMessage message = record([&](const sp<IBinder>& binder) {
        const sp<BpHwProbe> proxy = new BpHwProbe(binder);
        EXPECT_FALSE(proxy->text(text, [](const hidl_string&) {}).isOk());
    });
    for (const bool closed : {true, false}) {
        SocketPair sockets;
        std::unique_ptr<ReceivedMessage> received;
        sendPacket(sockets.ours.get(), message.bytes.data(), kPacketSize, nullptr, 0, TimeLimit(1));
        if (closed) {
            sockets.ours.reset();
        }
        EXPECT_EQ(closed ? Io::kClosed : Io::kTimeout,
                  ReceivedMessage::receive(sockets.theirs.get(), Wait::kNo, &received));
    }
}

TEST_F(Messages, TooLargeForATransactionAreNotSent) {
    const hidl_string large(std::string(2 << 20, 'x'));
    const WireMessage message = record([&](const sp<IBinder>& binder) {
        const sp<BpHwProbe> proxy = new BpHwProbe(binder);
        EXPECT_FALSE(proxy->text(large, [](const hidl_string&) {}).isOk());
    });
    EXPECT_TRUE(message.bytes.empty());
}

}  // namespace
