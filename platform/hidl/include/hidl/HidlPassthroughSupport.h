/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <type_traits>

#include <hidl/HidlSupport.h>

namespace android::hardware::details {

/** The passthrough wrapper for a local object; null where its interface has none. */
sp<hidl::base::V1_0::IBase> wrapPassthroughInternal(const sp<hidl::base::V1_0::IBase>& interface);

/**
 * Wraps a local object so that its oneway methods return at once, as a remote object's do. Null and
 * remote objects stay as they are.
 */
template <typename IType,
          typename = std::enable_if_t<std::is_same_v<i_tag, typename IType::_hidl_tag>>>
sp<IType> wrapPassthrough(const sp<IType>& interface) {
    return static_cast<IType*>(wrapPassthroughInternal(interface).get());
}

}  // namespace android::hardware::details
