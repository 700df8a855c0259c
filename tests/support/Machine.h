/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// What a test has to know of how it runs.
#pragma once

#include <string>

namespace orva::test {

// Under a sanitizer all is slower and takes more memory.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

// The same where an emulator runs what was built for another architecture.
#ifdef ORVA_EMULATOR
constexpr bool kEmulated = true;
#else
constexpr bool kEmulated = false;
#endif

// What the kernel calls a process that runs this program.
inline std::string programOf([[maybe_unused]] const std::string& name) {
#ifdef ORVA_EMULATOR
    return ORVA_EMULATOR;
#else
    return name;
#endif
}

}  // namespace orva::test
