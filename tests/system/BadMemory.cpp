/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "system/BadMemory.h"

#include <utility>

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

namespace orva::test {

using android::base::unique_fd;

namespace {

BadMemory::Descriptors only(unique_fd descriptor) {
    BadMemory::Descriptors descriptors;
    descriptors.push_back(std::move(descriptor));
    return descriptors;
}

}  // namespace

BadMemory::BadMemory(Descriptors descriptors, uint64_t size, int integers)
        : mDescriptors(std::move(descriptors)),
          mSize(size),
          mHandle(native_handle_create(static_cast<int>(mDescriptors.size()), integers)) {
    for (size_t i = 0; i < mDescriptors.size(); ++i) {
        mHandle->data[i] = mDescriptors[i];
    }
    for (int i = 0; i < integers; ++i) {
        mHandle->data[mDescriptors.size() + static_cast<size_t>(i)] = -1;
    }
}

BadMemory::BadMemory(unique_fd descriptor, uint64_t size)
        : BadMemory(only(std::move(descriptor)), size) {}

BadMemory::BadMemory(BadMemory&& other) noexcept
        : mDescriptors(std::move(other.mDescriptors)),
          mSize(other.mSize),
          mHandle(std::exchange(other.mHandle, nullptr)) {}

BadMemory::~BadMemory() {
    if (mHandle != nullptr) {
        native_handle_delete(mHandle);
    }
}

unique_fd memoryFile(uint64_t size) {
    unique_fd file(memfd_create("bad memory", MFD_CLOEXEC));
    if (ftruncate(file, static_cast<off_t>(size)) != 0) {
        file.reset();
    }
    return file;
}

unique_fd memoryFileOf(const std::string& bytes) {
    unique_fd file = memoryFile(0);
    if (write(file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        file.reset();
    }
    return file;
}

unique_fd readOnlyMemoryFile(uint64_t size) {
    const unique_fd writable = memoryFile(size);
    return opened(("/proc/self/fd/" + std::to_string(writable.get())).c_str());
}

unique_fd pipeEnd() {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return unique_fd();
    }
    close(ends[1]);
    return unique_fd(ends[0]);
}

unique_fd eventCounter() {
    return unique_fd(eventfd(0, EFD_CLOEXEC));
}

unique_fd opened(const char* path) {
    return unique_fd(open(path, O_RDONLY | O_CLOEXEC));
}

BadMemory::Descriptors memoryFiles(size_t count, uint64_t size) {
    BadMemory::Descriptors files;
    for (size_t i = 0; i < count; ++i) {
        files.push_back(memoryFile(size));
    }
    return files;
}

}  // namespace orva::test
