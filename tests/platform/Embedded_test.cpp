/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Strings, vecs, handles and memories as they come out of a parcel: one valid message, then the
// same with one thing wrong at a time.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

#include <android-base/unique_fd.h>
#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>
#include <linux/android/binder.h>

#include "socket/OutgoingMessage.h"
#include "socket/ReceivedMessage.h"
#include "support/Descriptors.h"

namespace {

using android::BAD_VALUE;
using android::OK;
using android::sp;
using android::status_t;
using android::base::unique_fd;
using android::hardware::hidl_handle;
using android::hardware::hidl_memory;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::IBinder;
using android::hardware::Parcel;
using android::hardware::readEmbeddedFromParcel;
using android::hardware::writeEmbeddedToParcel;
using namespace android::hardware::socket;

struct Record {
    hidl_string text;
    hidl_vec<uint32_t> numbers;
    hidl_handle handle;
    hidl_memory memory;
};

// The buffers of a full record's message, in their order.
enum BufferIndex { kRecord, kText, kNumbers, kHandle, kMemoryHandle, kMemoryName };

// Nothing that these messages name is a binder.
struct NoObjects : ObjectNumbers {
    uint64_t numberOfLocal(const sp<IBinder>&) override { return 0; }
    void takeBack(uint64_t) override {}
    bool numberOfRemote(const sp<IBinder>&, uint64_t*) override { return false; }
    void takeBackMention(const sp<IBinder>&) override {}
};

native_handle_t* makeHandle(int descriptors) {
    native_handle_t* handle = native_handle_create(descriptors, 1);
    for (int i = 0; i < descriptors; ++i) {
        handle->data[i] = open("/dev/null", O_RDWR);
    }
    handle->data[descriptors] = 42;
    return handle;
}

// A message as it arrived, before anything in it has been looked at.
class RawMessage {
public:
    explicit RawMessage(const Record& record) {
        Parcel parcel;
        size_t parent;
        size_t child;
        EXPECT_EQ(OK, parcel.writeBuffer(&record, sizeof record, &parent));
        EXPECT_EQ(OK, writeEmbeddedToParcel(record.text, &parcel, parent, offsetof(Record, text)));
        EXPECT_EQ(OK, writeEmbeddedToParcel(record.numbers, &parcel, parent,
                                            offsetof(Record, numbers), &child));
        EXPECT_EQ(OK,
                  writeEmbeddedToParcel(record.handle, &parcel, parent, offsetof(Record, handle)));
        EXPECT_EQ(OK,
                  writeEmbeddedToParcel(record.memory, &parcel, parent, offsetof(Record, memory)));

        NoObjects none;
        OutgoingMessage message(MessageKind::kCall, none);
        EXPECT_EQ(OK, message.pack(parcel));
        int ends[2];
        EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends));
        const unique_fd sender(ends[0]);
        const unique_fd receiver(ends[1]);
        EXPECT_EQ(Io::kDone, message.send(sender.get(), TimeLimit(1000)));
        mBytes.resize(kPacketSize);
        size_t size = 0;
        EXPECT_EQ(Io::kDone, receivePacket(receiver.get(), mBytes.data(), mBytes.size(), &size,
                                           &mDescriptors, Wait::kNo));
        mBytes.resize(size);
    }

    uint64_t dataSize() const { return at<const MessageHeader>(0).dataSize; }

    template <typename T>
    T& at(size_t offset) {
        return *reinterpret_cast<T*>(mBytes.data() + offset);
    }
    template <typename T>
    const T& at(size_t offset) const {
        return *reinterpret_cast<const T*>(mBytes.data() + offset);
    }

    // The n-th object of a type in the data.
    template <typename T>
    T& object(uint32_t type, size_t n) {
        const size_t offsets = sizeof(MessageHeader) + pad8(dataSize());
        for (size_t i = 0;; ++i) {
            T& found = at<T>(sizeof(MessageHeader) + at<uint64_t>(offsets + i * sizeof(uint64_t)));
            if (found.hdr.type == type && n-- == 0) {
                return found;
            }
        }
    }
    binder_buffer_object& bufferObject(size_t n) {
        return object<binder_buffer_object>(BINDER_TYPE_PTR, n);
    }
    binder_fd_array_object& descriptorArray(size_t n) {
        return object<binder_fd_array_object>(BINDER_TYPE_FDA, n);
    }

    // The bytes of the n-th buffer.
    template <typename T = uint8_t>
    T* buffer(size_t n) {
        size_t offset = sizeof(MessageHeader) + pad8(dataSize()) +
                        at<MessageHeader>(0).objectCount * sizeof(uint64_t);
        for (size_t i = 0; i < n; ++i) {
            offset += pad8(bufferObject(i).length);
        }
        return &at<T>(offset);
    }
    // A 32- or 64-bit field of the record.
    template <typename T>
    T& field(size_t offset) {
        return *reinterpret_cast<T*>(buffer(kRecord) + offset);
    }

    std::unique_ptr<ReceivedMessage> check() {
        std::unique_ptr<ReceivedMessage> received;
        ReceivedMessage::check(mBytes.data(), mBytes.size(), std::move(mDescriptors), &received);
        return received;
    }

private:
    alignas(8) std::vector<uint8_t> mBytes;
    std::vector<unique_fd> mDescriptors;
};

// Which step of taking a message apart is the one that fails.
enum class Fails { kNothing, kMessage, kText, kNumbers, kHandle, kMemory };

struct Outcome {
    Fails fails;
    status_t status;
    const Record* record = nullptr;

    bool operator==(const Outcome& other) const {
        return fails == other.fails && status == other.status;
    }
};
std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    return out << "step " << static_cast<int>(outcome.fails) << ", status " << outcome.status;
}

// Reads as generated code does; the record lives as long as the parcel.
Outcome take(RawMessage& message, Parcel* parcel) {
    auto received = message.check();
    if (received == nullptr) {
        return {Fails::kMessage, BAD_VALUE};
    }
    parcel->setIncoming(std::move(received));
    size_t parent;
    size_t child;
    const Record* record = nullptr;
    status_t status =
            parcel->readBuffer(sizeof *record, &parent, reinterpret_cast<const void**>(&record));
    if (status != OK) {
        return {Fails::kMessage, status};
    }
    status = readEmbeddedFromParcel(record->text, *parcel, parent, offsetof(Record, text));
    if (status != OK) {
        return {Fails::kText, status};
    }
    status = readEmbeddedFromParcel(record->numbers, *parcel, parent, offsetof(Record, numbers),
                                    &child);
    if (status != OK) {
        return {Fails::kNumbers, status};
    }
    status = readEmbeddedFromParcel(record->handle, *parcel, parent, offsetof(Record, handle));
    if (status != OK) {
        return {Fails::kHandle, status};
    }
    status = readEmbeddedFromParcel(record->memory, *parcel, parent, offsetof(Record, memory));
    return {status == OK ? Fails::kNothing : Fails::kMemory, status, record};
}

class Embedded : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(mOpenBefore, orva_test::openDescriptors()); }

    static Record fullRecord() {
        Record record;
        record.text = "some text";
        record.numbers = {1, 2, 3};
        record.handle.setTo(makeHandle(2), true);
        hidl_handle region;
        region.setTo(makeHandle(1), true);
        record.memory = hidl_memory("ashmem", std::move(region), 4096);
        return record;
    }

    const std::set<int> mOpenBefore = orva_test::openDescriptors();
};

constexpr size_t kSizeOfVec = offsetof(Record, numbers) + 8;
constexpr size_t kSizeOfText = offsetof(Record, text) + 8;
constexpr size_t kSizeOfName = offsetof(Record, memory) + hidl_memory::kOffsetOfName + 8;

TEST_F(Embedded, AValidRecordArrivesWhole) {
    const Record sent = fullRecord();
    RawMessage message(sent);
    Parcel parcel;
    const Outcome outcome = take(message, &parcel);
    ASSERT_EQ((Outcome{Fails::kNothing, OK}), outcome);
    const Record& record = *outcome.record;
    EXPECT_EQ(sent.text, record.text);
    EXPECT_EQ(sent.numbers, record.numbers);
    EXPECT_EQ("ashmem", record.memory.name());
    EXPECT_EQ(4096u, record.memory.size());
    ASSERT_NE(nullptr, record.handle.getNativeHandle());
    EXPECT_EQ(42, record.handle->data[2]);
    for (const int descriptor :
         {record.handle->data[0], record.handle->data[1], record.memory.handle()->data[0]}) {
        EXPECT_TRUE(orva_test::isCloseOnExec(descriptor));
        EXPECT_EQ(0u, mOpenBefore.count(descriptor));
    }
}

TEST_F(Embedded, NothingReceivedIsOwned) {
    // The sender's flags say that it owned everything; acting on that would free the message.
    const Record sent = fullRecord();
    RawMessage message(sent);
    ASSERT_EQ(1, message.field<uint8_t>(offsetof(Record, text) + 12));
    ASSERT_EQ(1, message.field<uint8_t>(offsetof(Record, numbers) + 12));
    ASSERT_EQ(1, message.field<uint8_t>(offsetof(Record, handle) + 8));
    Parcel parcel;
    const Outcome outcome = take(message, &parcel);
    ASSERT_EQ((Outcome{Fails::kNothing, OK}), outcome);
    auto& record = const_cast<Record&>(*outcome.record);
    const int descriptor = record.handle->data[0];
    {
        const Record moved = std::move(record);
        EXPECT_EQ("some text", moved.text);
    }
    EXPECT_TRUE(orva_test::isOpen(descriptor));
}

TEST_F(Embedded, ACopyOutlivesTheMessage) {
    Record copy;
    {
        const Record sent = fullRecord();
        RawMessage message(sent);
        Parcel parcel;
        const Outcome outcome = take(message, &parcel);
        ASSERT_EQ((Outcome{Fails::kNothing, OK}), outcome);
        copy = *outcome.record;
    }
    EXPECT_EQ("some text", copy.text);
    EXPECT_EQ(3u, copy.numbers.size());
    EXPECT_TRUE(orva_test::isOpen(copy.handle->data[1]));
    EXPECT_TRUE(orva_test::isOpen(copy.memory.handle()->data[0]));
    EXPECT_EQ(mOpenBefore.size() + 3, orva_test::openDescriptors().size());
    copy = Record();
}

TEST_F(Embedded, NullAndEmptyPartsAreNullWhateverTheSenderLeftThere) {
    const Record sent;
    RawMessage message(sent);
    for (const size_t pointer : {offsetof(Record, text), offsetof(Record, numbers),
                                 offsetof(Record, handle), offsetof(Record, memory)}) {
        message.field<uint64_t>(pointer) = 0x4141414141414141;
    }
    Parcel parcel;
    const Outcome outcome = take(message, &parcel);
    ASSERT_EQ((Outcome{Fails::kNothing, OK}), outcome);
    EXPECT_EQ("", outcome.record->text);
    EXPECT_EQ(nullptr, outcome.record->numbers.data());
    EXPECT_EQ(nullptr, outcome.record->handle.getNativeHandle());
    EXPECT_EQ(nullptr, outcome.record->memory.handle());
    EXPECT_EQ("", outcome.record->memory.name());
}

TEST_F(Embedded, AnAbsentArrayWithASizeIsRefused) {
    const Record sent;
    RawMessage message(sent);
    message.field<uint32_t>(kSizeOfVec) = 5;
    Parcel parcel;
    EXPECT_EQ((Outcome{Fails::kNumbers, BAD_VALUE}), take(message, &parcel));
}

TEST_F(Embedded, OneDamageIsFoundWhereItIs) {
    struct {
        const char* what;
        void (*damage)(RawMessage& message);
        Fails fails;
    } const cases[] = {
            {"text one byte longer than its buffer",
             [](RawMessage& m) { ++m.field<uint32_t>(kSizeOfText); }, Fails::kText},
            {"text one byte shorter", [](RawMessage& m) { --m.field<uint32_t>(kSizeOfText); },
             Fails::kText},
            {"text of 2^32 - 1 bytes",
             [](RawMessage& m) { m.field<uint32_t>(kSizeOfText) = UINT32_MAX; }, Fails::kText},
            {"text without its end", [](RawMessage& m) { m.buffer(kText)[9] = '!'; }, Fails::kText},
            {"text for another field",
             [](RawMessage& m) { m.bufferObject(kText).parent_offset = 8; }, Fails::kText},
            {"text in no struct", [](RawMessage& m) { m.bufferObject(kText).flags = 0; },
             Fails::kText},
            {"array one element longer than its buffer",
             [](RawMessage& m) { ++m.field<uint32_t>(kSizeOfVec); }, Fails::kNumbers},
            {"array whose size in bytes wraps to the buffer's",
             [](RawMessage& m) { m.field<uint32_t>(kSizeOfVec) += 0x40000000; }, Fails::kNumbers},
            {"array said to be empty", [](RawMessage& m) { m.field<uint32_t>(kSizeOfVec) = 0; },
             Fails::kNumbers},
            {"array in a buffer that is no parent",
             [](RawMessage& m) { m.bufferObject(kNumbers).parent = 7; }, Fails::kMessage},
            {"array in a later buffer",
             [](RawMessage& m) { m.bufferObject(kNumbers).parent = kMemoryName; }, Fails::kMessage},
            {"array beyond its parent's end",
             [](RawMessage& m) { m.bufferObject(kNumbers).parent_offset = sizeof(Record) - 7; },
             Fails::kMessage},
            {"array at an offset near 2^64",
             [](RawMessage& m) { m.bufferObject(kNumbers).parent_offset = UINT64_MAX - 3; },
             Fails::kMessage},
            {"buffer longer than the message",
             [](RawMessage& m) { m.bufferObject(kMemoryName).length = 1 << 19; }, Fails::kMessage},
            {"buffer of nearly 2^64 bytes",
             [](RawMessage& m) { m.bufferObject(kMemoryName).length = UINT64_MAX - 6; },
             Fails::kMessage},
            {"handle of another version",
             [](RawMessage& m) { m.buffer<native_handle_t>(kHandle)->version = 16; },
             Fails::kHandle},
            {"handle of one descriptor more",
             [](RawMessage& m) { ++m.buffer<native_handle_t>(kHandle)->numFds; }, Fails::kHandle},
            {"handle of a descriptor more and an integer less",
             [](RawMessage& m) {
                 ++m.buffer<native_handle_t>(kHandle)->numFds;
                 --m.buffer<native_handle_t>(kHandle)->numInts;
             },
             Fails::kHandle},
            {"handle of less than no descriptors",
             [](RawMessage& m) {
                 m.buffer<native_handle_t>(kHandle)->numFds = -1;
                 m.buffer<native_handle_t>(kHandle)->numInts = 4;
             },
             Fails::kHandle},
            {"handle whose counts wrap",
             [](RawMessage& m) { m.buffer<native_handle_t>(kHandle)->numInts = 0x40000001; },
             Fails::kHandle},
            {"handle buffer for another field",
             [](RawMessage& m) {
                 m.bufferObject(kHandle).parent_offset = offsetof(Record, handle) + 8;
             },
             Fails::kHandle},
            {"more descriptors in the array than came",
             [](RawMessage& m) { m.descriptorArray(1).num_fds = 2; }, Fails::kMessage},
            {"2^62 descriptors", [](RawMessage& m) { m.descriptorArray(1).num_fds = 1ull << 62; },
             Fails::kMessage},
            {"fewer descriptors in the array than came",
             [](RawMessage& m) { m.descriptorArray(1).num_fds = 0; }, Fails::kMessage},
            {"descriptors over the handle's counts",
             [](RawMessage& m) { m.descriptorArray(0).parent_offset = 8; }, Fails::kHandle},
            {"descriptors of another handle",
             [](RawMessage& m) {
                 std::swap(m.descriptorArray(0).parent, m.descriptorArray(1).parent);
             },
             Fails::kMessage},
            {"memory whose handle is short of an integer",
             [](RawMessage& m) { --m.buffer<native_handle_t>(kMemoryHandle)->numInts; },
             Fails::kMemory},
            {"memory's name longer than its buffer",
             [](RawMessage& m) { m.field<uint32_t>(kSizeOfName) = 4096; }, Fails::kMemory},
            {"memory's name without its end", [](RawMessage& m) { m.buffer(kMemoryName)[6] = '!'; },
             Fails::kMemory},
    };
    const Record sent = fullRecord();
    for (const auto& each : cases) {
        RawMessage message(sent);
        each.damage(message);
        Parcel parcel;
        EXPECT_EQ((Outcome{each.fails, BAD_VALUE}), take(message, &parcel)) << each.what;
    }
}

}  // namespace
