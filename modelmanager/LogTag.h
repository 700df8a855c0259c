/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

namespace orva::hidl {

constexpr char kManagerTag[] = "AIModelManagerServiceHIDL";

}  // namespace orva::hidl
