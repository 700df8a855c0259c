/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "request/Region.h"

#include <sys/mman.h>

#include <cstring>
#include <utility>

#include <cutils/ashmem.h>
#include <ion/ion.h>

#include "transport/IonMapLength.h"

namespace orva_bench {

using orva::hidl::NativeHandle;
using orva::hidl::UniqueFd;

namespace {

UniqueFd makeIonBuffer(size_t length) {
    const int device = ion_open();
    int buffer = -1;
    ion_alloc_fd(device, length, 0, 1, 0, &buffer);
    ion_close(device);
    return UniqueFd(buffer);
}

}  // namespace

bool makeRegion(size_t size, TensorMemory memory, NativeHandle* handle) {
    const bool ion = memory == TensorMemory::kIon;
    UniqueFd fd = ion ? makeIonBuffer(orva::hidl::IonMapLength(size))
                      : UniqueFd(ashmem_create_region("orva-bench", size));
    void* const bytes = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd.Get(), 0);
    if (bytes == MAP_FAILED) {
        return false;
    }
    std::memset(bytes, 1, size);
    munmap(bytes, size);
    *handle = orva::hidl::AdoptDescriptor(std::move(fd));
    return *handle != nullptr;
}

}  // namespace orva_bench
