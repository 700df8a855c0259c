/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "hidl"

#include <hidl/HidlBinderSupport.h>

#include <log/log.h>
#include <utils/Mutex.h>

#include <hidl/Static.h>

namespace android::hardware {

using hidl::base::V1_0::IBase;

hidl_binder_death_recipient::hidl_binder_death_recipient(const sp<hidl_death_recipient>& recipient,
                                                         uint64_t cookie, const sp<IBase>& base)
        : mRecipient(recipient), mCookie(cookie), mBase(base) {}

void hidl_binder_death_recipient::binderDied(const wp<IBinder>& /*who*/) {
    const sp<hidl_death_recipient> recipient = mRecipient.promote();
    if (recipient != nullptr)
        recipient->serviceDied(mCookie, mBase);
}

namespace details {

void ReceivedFields::set(const hidl_string& text, const void* buffer) {
    auto& received = const_cast<hidl_string&>(text);
    received.mBuffer = static_cast<const char*>(buffer);
    received.mOwnsBuffer = false;
}

void ReceivedFields::set(const hidl_handle& handle, const native_handle_t* native) {
    auto& received = const_cast<hidl_handle&>(handle);
    received.mHandle = native;
    received.mOwnsHandle = false;
}

}  // namespace details

status_t readEmbeddedFromParcel(const hidl_string& text, const Parcel& parcel, size_t parentHandle,
                                size_t parentOffset) {
    const uint64_t length = uint64_t{text.size()} + 1;
    if (length > SIZE_MAX)
        return BAD_VALUE;
    size_t handle;
    const void* buffer = nullptr;
    const status_t status = parcel.readNullableEmbeddedBuffer(static_cast<size_t>(length), &handle,
                                                              parentHandle, parentOffset, &buffer);
    if (status != OK)
        return status;
    if (buffer == nullptr)
        return UNEXPECTED_NULL;
    if (static_cast<const char*>(buffer)[length - 1] != '\0') {
        ALOGE("A received string of %zu bytes has no end", text.size());
        return BAD_VALUE;
    }
    details::ReceivedFields::set(text, buffer);
    return OK;
}

status_t writeEmbeddedToParcel(const hidl_string& text, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset) {
    size_t handle;
    return parcel->writeEmbeddedBuffer(text.c_str(), text.size() + 1, &handle, parentHandle,
                                       parentOffset);
}

status_t readEmbeddedFromParcel(const hidl_handle& handle, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset) {
    const native_handle_t* native = nullptr;
    const status_t status =
            parcel.readNullableEmbeddedNativeHandle(parentHandle, parentOffset, &native);
    if (status == OK)
        details::ReceivedFields::set(handle, native);
    return status;
}

status_t writeEmbeddedToParcel(const hidl_handle& handle, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset) {
    return parcel->writeEmbeddedNativeHandle(handle, parentHandle, parentOffset);
}

status_t readEmbeddedFromParcel(const hidl_memory& memory, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset) {
    const status_t status = readEmbeddedFromParcel(details::ReceivedFields::handleOf(memory),
                                                   parcel, parentHandle, parentOffset);
    return status != OK ? status
                        : readEmbeddedFromParcel(memory.name(), parcel, parentHandle,
                                                 parentOffset + hidl_memory::kOffsetOfName);
}

status_t writeEmbeddedToParcel(const hidl_memory& memory, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset) {
    const status_t status = writeEmbeddedToParcel(details::ReceivedFields::handleOf(memory), parcel,
                                                  parentHandle, parentOffset);
    return status != OK ? status
                        : writeEmbeddedToParcel(memory.name(), parcel, parentHandle,
                                                parentOffset + hidl_memory::kOffsetOfName);
}

status_t writeToParcel(const Status& status, Parcel* parcel) {
    if (status.exceptionCode() == Status::EX_TRANSACTION_FAILED)
        return status.transactionError();
    parcel->writeInt32(status.exceptionCode());
    // A text in UTF-16 goes with an exception: its length, and its end.
    return status.isOk() ? OK : parcel->writeUint64(0);
}

status_t readFromParcel(Status* status, const Parcel& parcel) {
    int32_t code = Status::EX_NONE;
    const status_t read = parcel.readInt32(&code);
    *status = read == OK ? Status::fromExceptionCode(code) : Status::fromStatusT(read);
    return read;
}

sp<IBinder> getOrCreateCachedBinder(IBase* interface) {
    if (interface == nullptr)
        return nullptr;
    if (interface->isRemote()) {
        const auto* proxy = dynamic_cast<BpHwRefBase*>(interface);
        return proxy == nullptr ? nullptr : proxy->remote();
    }

    std::string descriptor;
    const Return<void> told =
            interface->interfaceDescriptor([&](const hidl_string& name) { descriptor = name; });
    if (!told.isOk()) {
        ALOGE("A local object does not tell its interface: %s", told.description().c_str());
        return nullptr;
    }
    const auto construct = details::getBnConstructorMap().get(descriptor, nullptr);
    if (construct == nullptr) {
        ALOGE("No stub is known for %s", descriptor.c_str());
        return nullptr;
    }

    static Mutex* const creation = new Mutex();
    Mutex::Autolock lock(*creation);
    sp<BHwBinder> stub = details::gBnMap->get(interface, nullptr).promote();
    if (stub == nullptr) {
        const sp<IBinder> made = construct(static_cast<void*>(interface));
        stub = made->localBinder();
        details::gBnMap->set(interface, stub);
    }
    return stub;
}

}  // namespace android::hardware
