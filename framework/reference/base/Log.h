/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <algorithm>
#include <string>

#include <android/log.h>

#include "base/LogSubject.h"

namespace orva::reference {

// For reasons that others have worded.
inline std::string OneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

}  // namespace orva::reference

// One line in the system's log form: where it was written, then the message in quotes, and in front
// of that whom it speaks of.
#define ORVA_LOG(level, format, ...)                                                   \
    __android_log_print(level, "ORVA", "%s(%d)::\"%s" format "\"", __func__, __LINE__, \
                        ::orva::reference::LogSubject::Current().c_str(), ##__VA_ARGS__)
#define ORVA_LOGI(...) ORVA_LOG(ANDROID_LOG_INFO, __VA_ARGS__)
#define ORVA_LOGE(...) ORVA_LOG(ANDROID_LOG_ERROR, __VA_ARGS__)
