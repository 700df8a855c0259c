/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <hwbinder/Binder.h>
#include <hwbinder/IBinder.h>
#include <hwbinder/IInterface.h>
#include <hwbinder/Parcel.h>

#include <android/hidl/base/1.0/BnHwBase.h>

namespace android::hardware {

/**
 * Carries a binder's obituary to a hidl_death_recipient. Both the recipient and the object are held
 * weakly: who is no longer there is not told.
 */
class hidl_binder_death_recipient : public IBinder::DeathRecipient {
public:
    hidl_binder_death_recipient(const sp<hidl_death_recipient>& recipient, uint64_t cookie,
                                const sp<hidl::base::V1_0::IBase>& base);

    void binderDied(const wp<IBinder>& who) override;
    wp<hidl_death_recipient> getRecipient() { return mRecipient; }

private:
    const wp<hidl_death_recipient> mRecipient;
    const uint64_t mCookie;
    const wp<hidl::base::V1_0::IBase> mBase;
};

// Reading and writing what stands inside a struct or array that is itself in the parcel, at
// parentOffset of the buffer parentHandle.
//
// A reader finds the sender's bytes in the object and trusts none of them: sizes must fit the
// buffer that came with the object, and its pointer, which is its first member, and its ownership
// are set anew. OK; BAD_VALUE where the buffers do not fit; otherwise the parcel's own error.

status_t readEmbeddedFromParcel(const hidl_string& text, const Parcel& parcel, size_t parentHandle,
                                size_t parentOffset);
status_t writeEmbeddedToParcel(const hidl_string& text, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset);

status_t readEmbeddedFromParcel(const hidl_handle& handle, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset);
status_t writeEmbeddedToParcel(const hidl_handle& handle, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset);

status_t readEmbeddedFromParcel(const hidl_memory& memory, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset);
status_t writeEmbeddedToParcel(const hidl_memory& memory, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset);

/** The vec's array only, as buffer *handle; its elements are the caller's to read. */
template <typename T>
status_t readEmbeddedFromParcel(const hidl_vec<T>& values, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset, size_t* handle);
template <typename T>
status_t writeEmbeddedToParcel(const hidl_vec<T>& values, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset, size_t* handle);

/** EX_TRANSACTION_FAILED is not written: its transport error is the answer. */
status_t writeToParcel(const Status& status, Parcel* parcel);
status_t readFromParcel(Status* status, const Parcel& parcel);

/**
 * The binder by which an object is called from outside: the one beneath a proxy, or the stub of a
 * local object, which is made once. Null for null, and where the object's own interface is unknown.
 */
sp<IBinder> getOrCreateCachedBinder(hidl::base::V1_0::IBase* interface);

namespace details {

Return<bool> canCastInterface(hidl::base::V1_0::IBase* interface, const char* castTo,
                              bool emitError = false);

struct ReceivedFields {
    static void set(const hidl_string& text, const void* buffer);
    static void set(const hidl_handle& handle, const native_handle_t* native);
    template <typename T>
    static void set(const hidl_vec<T>& values, const void* buffer) {
        auto& received = const_cast<hidl_vec<T>&>(values);
        received.mBuffer = static_cast<T*>(const_cast<void*>(buffer));
        received.mOwnsBuffer = false;
    }

    static const hidl_handle& handleOf(const hidl_memory& memory) { return memory.mHandle; }
};

}  // namespace details

template <typename T>
status_t readEmbeddedFromParcel(const hidl_vec<T>& values, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset, size_t* handle) {
    // sizeof(T) and the size are both of less than 32 bits.
    const uint64_t length = uint64_t{sizeof(T)} * values.size();
    if (length > SIZE_MAX)
        return BAD_VALUE;
    const void* buffer = nullptr;
    const status_t status = parcel.readNullableEmbeddedBuffer(static_cast<size_t>(length), handle,
                                                              parentHandle, parentOffset, &buffer);
    if (status != OK)
        return status;
    if (length > 0 && buffer == nullptr)
        return BAD_VALUE;
    details::ReceivedFields::set(values, length > 0 ? buffer : nullptr);
    return OK;
}

template <typename T>
status_t writeEmbeddedToParcel(const hidl_vec<T>& values, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset, size_t* handle) {
    return parcel->writeEmbeddedBuffer(values.size() > 0 ? values.data() : nullptr,
                                       sizeof(T) * values.size(), handle, parentHandle,
                                       parentOffset);
}

/** The binder of an object of a known interface; see getOrCreateCachedBinder. */
template <typename IType,
          typename = std::enable_if_t<std::is_same_v<details::i_tag, typename IType::_hidl_tag>>>
sp<IBinder> toBinder(sp<IType> interface) {
    return getOrCreateCachedBinder(interface.get());
}

/** The object behind a binder: a new proxy, or the local object itself if it is of that type. */
template <typename IType, typename ProxyType, typename StubType>
sp<IType> fromBinder(const sp<IBinder>& binder) {
    if (binder == nullptr)
        return nullptr;
    if (binder->localBinder() == nullptr)
        return new ProxyType(binder);
    // The peer chose the binder, so it may be that of any object that this process has sent it.
    const sp<hidl::base::V1_0::IBase> object =
            static_cast<hidl::base::V1_0::BnHwBase*>(binder->localBinder())->getImpl();
    if (!details::canCastInterface(object.get(), IType::descriptor).withDefault(false)) {
        return nullptr;
    }
    return static_cast<IType*>(object.get());
}

}  // namespace android::hardware
