/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hwbinder/Parcel.h>

#include <algorithm>
#include <cstring>

#include "IncomingData.h"

namespace android::hardware {

namespace {

constexpr size_t pad4(size_t length) {
    return (length + 3) & ~size_t{3};
}

}  // namespace

Parcel::Parcel() = default;
Parcel::~Parcel() = default;

const uint8_t* Parcel::data() const {
    return mIncoming ? mIncoming->data : mData.data();
}
size_t Parcel::dataSize() const {
    return mIncoming ? mIncoming->dataSize : mData.size();
}
const uint64_t* Parcel::objects() const {
    return mIncoming ? mIncoming->objects : mObjects.data();
}
size_t Parcel::objectsCount() const {
    return mIncoming ? mIncoming->objectsCount : mObjects.size();
}

void Parcel::setDataPosition(size_t position) const {
    mPosition = std::min(position, dataSize());
    mNextObject = static_cast<size_t>(
            std::lower_bound(objects(), objects() + objectsCount(), mPosition) - objects());
}

void Parcel::setIncoming(std::unique_ptr<IncomingData> incoming) {
    mData.clear();
    mObjects.clear();
    mBuffersSize = 0;
    mBinders.clear();
    mError = NO_ERROR;
    mPosition = 0;
    mNextObject = 0;
    mIncoming = std::move(incoming);
}

uint8_t* Parcel::append(size_t length) {
    const size_t padded = pad4(length);
    uint8_t* at = mData.grow(padded);
    if (padded != length) {
        std::memset(at + length, 0, padded - length);
    }
    mPosition = mData.size();
    return at;
}

const uint8_t* Parcel::consume(size_t length) const {
    if (length > dataAvail() || pad4(length) > dataAvail()) {
        return nullptr;
    }
    const uint8_t* at = data() + mPosition;
    mPosition += pad4(length);
    return at;
}

status_t Parcel::writeCString(const char* text) {
    const size_t length = std::strlen(text) + 1;
    std::memcpy(append(length), text, length);
    return NO_ERROR;
}

const char* Parcel::readCString() const {
    const uint8_t* start = data() + mPosition;
    const void* end = dataAvail() == 0 ? nullptr : std::memchr(start, 0, dataAvail());
    if (end == nullptr) {
        return nullptr;
    }
    const size_t length = static_cast<size_t>(static_cast<const uint8_t*>(end) - start) + 1;
    return reinterpret_cast<const char*>(consume(length));
}

status_t Parcel::writeString16(const String16& text) {
    const size_t bytes = (text.size() + 1) * sizeof(char16_t);
    writeInt32(static_cast<int32_t>(text.size()));
    std::memcpy(append(bytes), text.string(), bytes);
    return NO_ERROR;
}

status_t Parcel::readString16(String16* text) const {
    int32_t length;
    const status_t status = readInt32(&length);
    if (status != NO_ERROR) {
        return status;
    }
    // Checked against what is there before the length is multiplied by anything.
    if (length < 0 || static_cast<size_t>(length) >= dataAvail() / sizeof(char16_t)) {
        return BAD_VALUE;
    }
    const uint8_t* at = consume((static_cast<size_t>(length) + 1) * sizeof(char16_t));
    if (at == nullptr) {
        return NOT_ENOUGH_DATA;
    }
    *text = String16(reinterpret_cast<const char16_t*>(at), static_cast<size_t>(length));
    return NO_ERROR;
}

status_t Parcel::writeInterfaceToken(const char* interface) {
    return writeCString(interface);
}

bool Parcel::enforceInterface(const char* interface) const {
    const char* token = readCString();
    return token != nullptr && std::strcmp(token, interface) == 0;
}

}  // namespace android::hardware
