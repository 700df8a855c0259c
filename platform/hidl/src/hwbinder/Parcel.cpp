/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hwbinder/Parcel.h>

#include <algorithm>
#include <cstring>

#include "Transport.h"

namespace android::hardware {

namespace {

constexpr size_t pad4(size_t length) {
    return (length + 3) & ~size_t{3};
}

}  // namespace

Parcel::Parcel() {
    mData.reserve(kInlineData);
    mObjects.reserve(kInlineObjects);
}

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
    const size_t at = mData.size();
    mData.resize(at + pad4(length));
    mPosition = mData.size();
    return mData.data() + at;
}

const uint8_t* Parcel::consume(size_t length) const {
    if (length > dataAvail() || pad4(length) > dataAvail()) {
        return nullptr;
    }
    const uint8_t* at = data() + mPosition;
    mPosition += pad4(length);
    return at;
}

status_t Parcel::writeInterfaceToken(const char* interface) {
    const size_t length = std::strlen(interface) + 1;
    std::memcpy(append(length), interface, length);
    return NO_ERROR;
}

bool Parcel::enforceInterface(const char* interface) const {
    const size_t length = std::strlen(interface) + 1;
    const uint8_t* const token = consume(length);
    return token != nullptr && std::memcmp(token, interface, length) == 0;
}

}  // namespace android::hardware
