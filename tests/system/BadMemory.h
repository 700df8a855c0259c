/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <vector>

#include <android-base/unique_fd.h>
#include <cutils/native_handle.h>
#include <hidl/HidlSupport.h>

namespace orva::test {

// A memory as only a broken or an evil client would send it: over any descriptors, of any announced
// size.
class BadMemory {
public:
    using Descriptors = std::vector<android::base::unique_fd>;

    // No handle at all.
    BadMemory() = default;
    BadMemory(Descriptors descriptors, uint64_t size, int integers = 0);
    BadMemory(android::base::unique_fd descriptor, uint64_t size);
    BadMemory(BadMemory&& other) noexcept;
    ~BadMemory();

    // Both lend the descriptors.
    android::hardware::hidl_memory memory() const { return {"ashmem", mHandle, mSize}; }
    android::hardware::hidl_handle handle() const { return {mHandle}; }
    uint64_t size() const { return mSize; }

private:
    Descriptors mDescriptors;
    uint64_t mSize = 0;
    native_handle_t* mHandle = nullptr;
};

// What descriptors may be of; each is the caller's.
android::base::unique_fd memoryFile(uint64_t size);
android::base::unique_fd memoryFileOf(const std::string& bytes);
android::base::unique_fd readOnlyMemoryFile(uint64_t size);
android::base::unique_fd pipeEnd();
android::base::unique_fd eventCounter();
android::base::unique_fd opened(const char* path);
BadMemory::Descriptors memoryFiles(size_t count, uint64_t size);

}  // namespace orva::test
