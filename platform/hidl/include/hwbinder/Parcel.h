/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <memory_resource>
#include <vector>

#include <cutils/native_handle.h>
#include <hwbinder/Binder.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>

struct binder_buffer_object;

namespace android::hardware {

struct IncomingData;

// The arguments or results of one call, in the kernel binder's object format
// (<linux/android/binder.h>): plain values, with buffer objects, descriptor arrays and binder
// objects between them, and a list of where those objects stand.
//
// A parcel is either written, and then holds pointers to the writer's buffers, which must outlive
// it; or it stands on received data, which a transport has checked and owns the descriptors of.
// Not to be shared between threads.
class Parcel {
public:
    Parcel();
    ~Parcel();
    Parcel(const Parcel&) = delete;
    Parcel& operator=(const Parcel&) = delete;

    const uint8_t* data() const;
    size_t dataSize() const;
    size_t dataAvail() const { return dataSize() - mPosition; }
    void setDataPosition(size_t position) const;
    const uint64_t* objects() const;
    size_t objectsCount() const;
    // What the buffers written so far take together, each padded to 8 bytes.
    uint64_t buffersSize() const { return mBuffersSize; }

    // NO_ERROR, or why what was written so far cannot be sent.
    status_t errorCheck() const { return mError; }

    // The name of the interface that declares the method, as 8-bit text.
    status_t writeInterfaceToken(const char* interface);
    bool enforceInterface(const char* interface) const;

    // Values of less than 32 bits take 32; every value is aligned to 4 bytes.
    status_t writeBool(bool value) { return writeScalar<int32_t>(value); }
    status_t writeUint8(uint8_t value) { return writeScalar<uint32_t>(value); }
    status_t writeInt32(int32_t value) { return writeScalar<int32_t>(value); }
    status_t writeUint32(uint32_t value) { return writeScalar<uint32_t>(value); }
    status_t writeUint64(uint64_t value) { return writeScalar<uint64_t>(value); }

    // NO_ERROR, or NOT_ENOUGH_DATA.
    status_t readBool(bool* value) const { return readScalar<int32_t>(value); }
    status_t readUint8(uint8_t* value) const { return readScalar<uint32_t>(value); }
    status_t readInt32(int32_t* value) const { return readScalar<int32_t>(value); }
    status_t readUint32(uint32_t* value) const { return readScalar<uint32_t>(value); }
    status_t readUint64(uint64_t* value) const { return readScalar<uint64_t>(value); }

    // A buffer of the writer's, by address; `handle` becomes its number, by which buffers embedded
    // in it name it. A null buffer is told apart from one of no bytes.
    status_t writeBuffer(const void* buffer, size_t length, size_t* handle);
    status_t writeEmbeddedBuffer(const void* buffer, size_t length, size_t* handle,
                                 size_t parentHandle, size_t parentOffset);

    // The next buffer, if it is of exactly `length` bytes and, for an embedded one, stands where it
    // is expected. NO_ERROR; BAD_VALUE when there is another or none; UNEXPECTED_NULL when there is
    // a null buffer, which only the nullable read takes.
    status_t readBuffer(size_t length, size_t* handle, const void** buffer) const {
        return readBufferObject(length, handle, {}, false, buffer);
    }
    status_t readNullableEmbeddedBuffer(size_t length, size_t* handle, size_t parentHandle,
                                        size_t parentOffset, const void** buffer) const {
        return readBufferObject(length, handle, {true, parentHandle, parentOffset}, true, buffer);
    }

    // A native handle, possibly null. The descriptors are lent for the time of the call, on both
    // sides: the reader's are closed with the received data.
    status_t writeNativeHandleNoDup(const native_handle_t* handle) {
        return writeHandle(handle, {});
    }
    status_t writeEmbeddedNativeHandle(const native_handle_t* handle, size_t parentHandle,
                                       size_t parentOffset) {
        return writeHandle(handle, {true, parentHandle, parentOffset});
    }
    status_t readNullableNativeHandleNoDup(const native_handle_t** handle) const {
        return readHandle({}, handle);
    }
    status_t readNullableEmbeddedNativeHandle(size_t parentHandle, size_t parentOffset,
                                              const native_handle_t** handle) const {
        return readHandle({true, parentHandle, parentOffset}, handle);
    }

    // An object, possibly null.
    status_t writeStrongBinder(const sp<IBinder>& binder);
    status_t readNullableStrongBinder(sp<IBinder>* binder) const;

    // For transports: stands the parcel on received data, in place of what it held.
    void setIncoming(std::unique_ptr<IncomingData> incoming);

private:
    static constexpr size_t kInlineData = 1024;
    static constexpr size_t kInlineObjects = 32;

    // Where an object is embedded, if it is.
    struct Parent {
        bool exists = false;
        size_t handle = 0;
        size_t offset = 0;
    };

    template <typename Sent>
    status_t writeScalar(Sent value) {
        std::memcpy(append(sizeof value), &value, sizeof value);
        return NO_ERROR;
    }
    template <typename Sent, typename T>
    status_t readScalar(T* value) const {
        const uint8_t* at = consume(sizeof(Sent));
        if (at == nullptr) {
            return NOT_ENOUGH_DATA;
        }
        Sent sent;
        std::memcpy(&sent, at, sizeof sent);
        *value = static_cast<T>(sent);
        return NO_ERROR;
    }
    uint8_t* append(size_t length);
    const uint8_t* consume(size_t length) const;
    template <typename T>
    status_t writeObject(const T& object, bool listed);
    status_t writeBufferObject(const binder_buffer_object& object);
    template <typename T>
    status_t readObject(T* object, bool* listed, size_t* index) const;
    status_t readBufferObject(size_t length, size_t* handle, Parent parent, bool nullable,
                              const void** buffer) const;
    status_t writeHandle(const native_handle_t* handle, Parent parent);
    status_t readHandle(Parent parent, const native_handle_t** handle) const;

    // What is written needs no heap while it is small, as it nearly always is.
    alignas(uint64_t) std::byte mInline[kInlineData + kInlineObjects * sizeof(uint64_t)];
    std::pmr::monotonic_buffer_resource mMemory{mInline, sizeof mInline};
    std::pmr::vector<uint8_t> mData{&mMemory};
    std::pmr::vector<uint64_t> mObjects{&mMemory};
    uint64_t mBuffersSize = 0;
    std::vector<sp<IBinder>> mBinders;  // Keeps written objects alive.
    status_t mError = NO_ERROR;
    mutable size_t mPosition = 0;
    mutable size_t mNextObject = 0;
    std::unique_ptr<IncomingData> mIncoming;
};

}  // namespace android::hardware
