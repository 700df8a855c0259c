/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hwbinder/Parcel.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include <linux/android/binder.h>

#include "Transport.h"

namespace android::hardware {

namespace {

constexpr size_t kHandleDataOffset = offsetof(native_handle_t, data);

binder_buffer_object bufferObject(const void* buffer, size_t length) {
    binder_buffer_object object = {};
    object.hdr.type = BINDER_TYPE_PTR;
    object.buffer = reinterpret_cast<binder_uintptr_t>(buffer);
    object.length = length;
    return object;
}

// Bytes of a native handle with these counts; 0 for counts that no handle has. Both are far from
// where the sum could wrap.
size_t handleSize(const native_handle_t& handle) {
    if (handle.version != static_cast<int>(sizeof(native_handle_t)) || handle.numFds < 0 ||
        handle.numFds > NATIVE_HANDLE_MAX_FDS || handle.numInts < 0 ||
        handle.numInts > NATIVE_HANDLE_MAX_INTS) {
        return 0;
    }
    return sizeof(native_handle_t) +
           (static_cast<size_t>(handle.numFds) + static_cast<size_t>(handle.numInts)) * sizeof(int);
}

}  // namespace

// A null object stands in the data but not in the list, and takes no number.
template <typename T>
status_t Parcel::writeObject(const T& object, bool listed) {
    const uint64_t position = mData.size();
    std::memcpy(append(sizeof object), &object, sizeof object);
    if (listed) {
        mObjects.push_back(position);
    }
    return NO_ERROR;
}

template <typename T>
status_t Parcel::readObject(T* object, bool* listed, size_t* index) const {
    const size_t position = mPosition;
    const uint8_t* at = consume(sizeof *object);
    if (at == nullptr) {
        return NOT_ENOUGH_DATA;
    }
    std::memcpy(object, at, sizeof *object);
    while (mNextObject < objectsCount() && objects()[mNextObject] < position) {
        ++mNextObject;
    }
    *listed = mNextObject < objectsCount() && objects()[mNextObject] == position;
    *index = mNextObject;
    if (*listed) {
        ++mNextObject;
    }
    return NO_ERROR;
}

status_t Parcel::writeBufferObject(const binder_buffer_object& object) {
    if (object.buffer == 0) {
        return writeObject(object, false);
    }
    // As the kernel counts them. Capped, or lengths that no buffer has could make the sum wrap.
    mBuffersSize += (std::min<uint64_t>(object.length, uint64_t{1} << 48) + 7) & ~uint64_t{7};
    return writeObject(object, true);
}

status_t Parcel::writeBuffer(const void* buffer, size_t length, size_t* handle) {
    *handle = mObjects.size();
    return writeBufferObject(bufferObject(buffer, length));
}

status_t Parcel::writeEmbeddedBuffer(const void* buffer, size_t length, size_t* handle,
                                     size_t parentHandle, size_t parentOffset) {
    binder_buffer_object object = bufferObject(buffer, length);
    object.flags = BINDER_BUFFER_FLAG_HAS_PARENT;
    object.parent = parentHandle;
    object.parent_offset = parentOffset;
    *handle = mObjects.size();
    return writeBufferObject(object);
}

status_t Parcel::readBufferObject(size_t length, size_t* handle, Parent parent, bool nullable,
                                  const void** buffer) const {
    binder_buffer_object object;
    bool listed;
    const status_t status = readObject(&object, &listed, handle);
    if (status != NO_ERROR) {
        return status;
    }
    if (object.hdr.type != BINDER_TYPE_PTR) {
        return BAD_VALUE;
    }
    if (!listed) {
        if (object.buffer != 0) {
            return BAD_VALUE;
        }
        *buffer = nullptr;
        return nullable ? static_cast<status_t>(NO_ERROR) : UNEXPECTED_NULL;
    }
    const bool hasParent = (object.flags & BINDER_BUFFER_FLAG_HAS_PARENT) != 0;
    if (object.length != length || hasParent != parent.exists) {
        return BAD_VALUE;
    }
    if (hasParent && (object.parent != parent.handle || object.parent_offset != parent.offset)) {
        return BAD_VALUE;
    }
    *buffer = reinterpret_cast<const void*>(object.buffer);
    return NO_ERROR;
}

status_t Parcel::writeHandle(const native_handle_t* handle, Parent parent) {
    if (handle == nullptr) {
        return writeUint64(0);
    }
    const size_t size = handleSize(*handle);
    if (size == 0) {
        return mError = BAD_VALUE;
    }
    writeUint64(size);
    size_t number;
    if (parent.exists) {
        writeEmbeddedBuffer(handle, size, &number, parent.handle, parent.offset);
    } else {
        writeBuffer(handle, size, &number);
    }
    binder_fd_array_object descriptors = {};
    descriptors.hdr.type = BINDER_TYPE_FDA;
    descriptors.num_fds = static_cast<binder_size_t>(handle->numFds);
    descriptors.parent = number;
    descriptors.parent_offset = kHandleDataOffset;
    return writeObject(descriptors, true);
}

status_t Parcel::readHandle(Parent parent, const native_handle_t** handle) const {
    *handle = nullptr;
    uint64_t size;
    status_t status = readUint64(&size);
    if (status != NO_ERROR) {
        return status;
    }
    if (size == 0) {
        return NO_ERROR;
    }
    size_t number;
    const void* buffer = nullptr;
    status = readBufferObject(size, &number, parent, false, &buffer);
    if (status != NO_ERROR) {
        return status;
    }
    binder_fd_array_object descriptors;
    bool listed;
    size_t ignored;
    status = readObject(&descriptors, &listed, &ignored);
    if (status != NO_ERROR) {
        return status;
    }
    if (!listed || descriptors.hdr.type != BINDER_TYPE_FDA || descriptors.parent != number ||
        descriptors.parent_offset != kHandleDataOffset) {
        return BAD_VALUE;
    }
    const auto* received = static_cast<const native_handle_t*>(buffer);
    if (size < sizeof *received || handleSize(*received) != size ||
        static_cast<binder_size_t>(received->numFds) != descriptors.num_fds) {
        return BAD_VALUE;
    }
    *handle = received;
    return NO_ERROR;
}

status_t Parcel::writeStrongBinder(const sp<IBinder>& binder) {
    flat_binder_object object = {};
    const bool remote = binder != nullptr && binder->remoteBinder() != nullptr;
    object.hdr.type = remote ? BINDER_TYPE_HANDLE : BINDER_TYPE_BINDER;
    object.cookie = reinterpret_cast<binder_uintptr_t>(binder.get());
    if (binder != nullptr) {
        mBinders.push_back(binder);
    }
    return writeObject(object, binder != nullptr);
}

status_t Parcel::readNullableStrongBinder(sp<IBinder>* binder) const {
    flat_binder_object object;
    bool listed;
    size_t index;
    const status_t status = readObject(&object, &listed, &index);
    if (status != NO_ERROR) {
        return status;
    }
    if (object.hdr.type != BINDER_TYPE_BINDER && object.hdr.type != BINDER_TYPE_HANDLE) {
        return BAD_TYPE;
    }
    if (!listed) {
        *binder = nullptr;
        return object.binder == 0 && object.cookie == 0 ? NO_ERROR : BAD_TYPE;
    }
    *binder = mIncoming ? mIncoming->binder(index) : reinterpret_cast<IBinder*>(object.cookie);
    return *binder != nullptr ? NO_ERROR : BAD_TYPE;
}

}  // namespace android::hardware
