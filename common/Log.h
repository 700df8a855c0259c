/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <android/log.h>

namespace orva::hidl {

// Where a line in the log says that it comes from, and its level where that is not given otherwise.
struct LogSource {
    const char* function;
    int line;
    android_LogPriority priority = ANDROID_LOG_ERROR;
};

}  // namespace orva::hidl

// Right here. Helpers that log in the name of their caller take it from there. In a lambda, or in
// the part of an operation that has a function of its own, the name is given. Compilers differ in
// the line of a macro that spans several, so what does not fit in one takes its source from a
// constant.
#define ORVA_HERE ORVA_IN(__func__)
#define ORVA_IN(function) (::orva::hidl::LogSource{function, __LINE__})

// One line in the Android log: the function and source line it comes from, then the message in
// double quotes. `format` must be a literal.
#define ORVA_LOG_FROM(source, priority, tag, format, ...)                                          \
    __android_log_print(priority, tag, "%s(%d)::\"" format "\"", (source).function, (source).line, \
                        ##__VA_ARGS__)

// The same from right here, under the kLogTag that is in scope.
#define ORVA_LOG(priority, ...) ORVA_LOG_FROM(ORVA_HERE, priority, kLogTag, __VA_ARGS__)
#define ORVA_LOGI(...) ORVA_LOG(ANDROID_LOG_INFO, __VA_ARGS__)
#define ORVA_LOGW(...) ORVA_LOG(ANDROID_LOG_WARN, __VA_ARGS__)
#define ORVA_LOGE(...) ORVA_LOG(ANDROID_LOG_ERROR, __VA_ARGS__)
