/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <vector>

#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include <hidl/HidlInternal.h>
#include <hidl/types/hidl_array.h>
#include <hidl/types/hidl_handle.h>
#include <hidl/types/hidl_memory.h>
#include <hidl/types/hidl_string.h>
#include <hidl/types/hidl_vec.h>
#include <hidl/types/toString.h>

namespace android::hidl::base::V1_0 {
struct IBase;
}  // namespace android::hidl::base::V1_0

namespace android::hardware {

/** Told once, on a binder thread, that the process of the object it was linked to has died. */
struct hidl_death_recipient : public virtual RefBase {
    virtual void serviceDied(uint64_t cookie, const wp<hidl::base::V1_0::IBase>& who) = 0;
};

/** The integer that holds a set of an enumeration's flags. */
template <typename Enum>
using hidl_bitfield = std::enable_if_t<std::is_enum_v<Enum>, std::underlying_type_t<Enum>>;

namespace details {

/** Every value of an enumeration, in its order; generated code specialises it. */
template <typename Enum>
inline constexpr std::array<Enum, 0> hidl_enum_values{};

}  // namespace details

}  // namespace android::hardware
