/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/AINeuralNetworkIonBufferHIDL.h"

#include <cstring>

#include <ion/ion.h>
#include <linux/dma-buf.h>
#include <sys/ioctl.h>
#include <sys/utsname.h>

#include "common/BoundedMemory.h"
#include "common/Log.h"
#include "transport/TensorInit.h"
#include "transport/TensorTypes.h"

namespace orva::hidl {

namespace {

constexpr size_t kAlignment = 0;
constexpr unsigned int kHeapMask = 1;
constexpr unsigned int kFlags = 0x100;

}  // namespace

AINeuralNetworkIonBufferHIDL::~AINeuralNetworkIonBufferHIDL() {
    DropMapping();
    // The buffer's descriptors go before the device that it was made on.
    memory_ = TensorRegion();
    serializeMemory_ = TensorRegion();
    if (ionFd_ >= 0) {
        DropRegion();
    }
}

bool AINeuralNetworkIonBufferHIDL::Init(const AITensorDescription& description) {
    return AINeuralNetworkBufferHIDL::Init(description, *this);
}

bool AINeuralNetworkIonBufferHIDL::MakeRegion(uint64_t length, UniqueFd& fd) {
    const char* const method = "Init";
    if (ionFd_ >= 0) {
        DropRegion();  // of an earlier Init
    }
    ionFd_ = ion_open();
    if (ionFd_ < 0) {
        ORVA_LOG_FROM(ORVA_IN(method), ANDROID_LOG_ERROR, kIonBufferTag, "ion_open fail");
        return false;
    }
    switch (Allocate(length, fd)) {
    case Allocation::kDone:
        break;
    case Allocation::kNotAllocated:
        ion_close(ionFd_);
        ionFd_ = -1;
        ORVA_LOG_FROM(ORVA_IN(method), ANDROID_LOG_ERROR, kIonBufferTag, "ion_alloc fail");
        return false;
    case Allocation::kNotShared:
        DropRegion();
        ORVA_LOG_FROM(ORVA_IN(method), ANDROID_LOG_ERROR, kIonBufferTag, "ion_share fail");
        // A buffer that could not be synchronised is left open, deliberately: nothing closes it.
        fd.Release();
        return false;
    }
    return true;
}

const char* AINeuralNetworkIonBufferHIDL::GetTypeName() {
    return kIonBufferType;
}

KernelGeneration AINeuralNetworkIonBufferHIDL::GetLinuxKernelVersion() {
    utsname record;
    if (memset_s(&record, sizeof(record), 0, sizeof(record)) != 0) {
        return KernelGeneration::KernelUnknown;
    }
    if (uname(&record) == 0) {
        // In this order, and anywhere in the text: a release such as 4.14.98 counts as 4.9.
        if (std::strstr(record.release, "4.9") != nullptr) {
            return KernelGeneration::Kernel49;
        }
        if (std::strstr(record.release, "4.14") != nullptr) {
            return KernelGeneration::Kernel414;
        }
    }
    ORVA_LOGW(kIonBufferTag, "get kernel version failed!");
    return KernelGeneration::KernelUnknown;
}

void AINeuralNetworkIonBufferHIDL::IonRelease(int ionFd, uint32_t ionHandle) {
    if (ionFd < 0) {
        ORVA_LOGE(kIonBufferTag, "Invalid fd!");
        return;
    }
    if (GetLinuxKernelVersion() == KernelGeneration::Kernel49) {
        ion_free(ionFd, static_cast<ion_user_handle_t>(ionHandle));
    }
    ion_close(ionFd);
}

AINeuralNetworkIonBufferHIDL::Allocation AINeuralNetworkIonBufferHIDL::Allocate(uint64_t length,
                                                                                UniqueFd& buffer) {
    int fd = -1;
    switch (GetLinuxKernelVersion()) {
    case KernelGeneration::Kernel49: {
        ion_user_handle_t handle = 0;
        if (ion_alloc(ionFd_, length, kAlignment, kHeapMask, kFlags, &handle) != 0) {
            return Allocation::kNotAllocated;
        }
        ionHandle_ = static_cast<uint32_t>(handle);
        if (ion_share(ionFd_, handle, &fd) != 0) {
            return Allocation::kNotShared;
        }
        break;
    }
    case KernelGeneration::Kernel414: {
        if (ion_alloc_fd(ionFd_, length, kAlignment, kHeapMask, kFlags, &fd) != 0) {
            return Allocation::kNotAllocated;
        }
        buffer = UniqueFd(fd);
        // Begins the processor's reading access. Nothing ends it: the buffer is open to it for as
        // long as it lives.
        dma_buf_sync sync = {};
        sync.flags = DMA_BUF_SYNC_READ;
        if (ioctl(fd, DMA_BUF_IOCTL_SYNC, &sync) != 0) {
            return Allocation::kNotShared;
        }
        return Allocation::kDone;
    }
    case KernelGeneration::KernelUnknown:
        return Allocation::kNotAllocated;
    }
    buffer = UniqueFd(fd);
    return Allocation::kDone;
}

void AINeuralNetworkIonBufferHIDL::DropRegion() {
    IonRelease(ionFd_, ionHandle_);
    ionFd_ = -1;
    ionHandle_ = 0;
}

}  // namespace orva::hidl
