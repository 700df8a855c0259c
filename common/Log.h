/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <android/log.h>

// One line in the Android log: the function and source line it comes from, then the message in
// double quotes. `format` must be a literal. Use it in the function whose name the line is to
// carry: inside a lambda or a helper the name would be theirs.
#define ORVA_LOG(priority, tag, format, ...) \
    __android_log_print(priority, tag, "%s(%d)::\"" format "\"", __func__, __LINE__, ##__VA_ARGS__)

#define ORVA_LOGI(tag, ...) ORVA_LOG(ANDROID_LOG_INFO, tag, __VA_ARGS__)
#define ORVA_LOGW(tag, ...) ORVA_LOG(ANDROID_LOG_WARN, tag, __VA_ARGS__)
#define ORVA_LOGE(tag, ...) ORVA_LOG(ANDROID_LOG_ERROR, tag, __VA_ARGS__)
