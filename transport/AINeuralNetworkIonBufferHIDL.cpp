/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/AINeuralNetworkIonBufferHIDL.h"

#include <cstddef>
#include <cstring>
#include <utility>

#include <ion/ion.h>
#include <linux/dma-buf.h>
#include <sys/ioctl.h>
#include <sys/utsname.h>

#include "common/BoundedMemory.h"
#include "common/Log.h"
#include "transport/IonMapLength.h"
#include "transport/TensorNames.h"
#include "transport/TensorParameters.h"

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
        DropDevice();
    }
}

bool AINeuralNetworkIonBufferHIDL::Init(const AITensorDescription& description) {
    if (!InitFromDescription(*this, description)) {
        return false;
    }
    if (memory_.IsReceived()) {
        if (!MapReceived(IonMapLength(memory_.size()), kLogTag)) {
            return false;
        }
        SetBufferAttr(mapping_.Address(), static_cast<int>(memory_.size()), false, true);
        return true;
    }
    const uint64_t length = IonMapLength(static_cast<uint64_t>(GetSize()));
    UniqueFd buffer;
    const char* failure = MakeBuffer(length, buffer);
    if (failure == nullptr) {
        failure = MapNew(std::move(buffer), length);
        if (failure != nullptr) {
            DropDevice();
        }
    }
    if (failure != nullptr) {
        ORVA_LOGE("%s", failure);
        return false;
    }
    SetBufferAttr(mapping_.Address(), GetSize(), false, true);
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
    ORVA_LOGW("get kernel version failed!");
    return KernelGeneration::KernelUnknown;
}

void AINeuralNetworkIonBufferHIDL::IonRelease(int ionFd, uint32_t ionHandle) {
    if (ionFd < 0) {
        ORVA_LOGE("Invalid fd!");
        return;
    }
    if (GetLinuxKernelVersion() == KernelGeneration::Kernel49) {
        ion_free(ionFd, static_cast<ion_user_handle_t>(ionHandle));
    }
    ion_close(ionFd);
}

const char* AINeuralNetworkIonBufferHIDL::MakeBuffer(uint64_t length, UniqueFd& buffer) {
    if (ionFd_ >= 0) {
        DropDevice();  // of an earlier Init
    }
    ionFd_ = ion_open();
    if (ionFd_ < 0) {
        return "ion_open fail";
    }
    bool isAllocated = false, isShared = false;
    int fd = -1;
    switch (GetLinuxKernelVersion()) {
    case KernelGeneration::Kernel49: {
        ion_user_handle_t handle = 0;
        isAllocated = ion_alloc(ionFd_, length, kAlignment, kHeapMask, kFlags, &handle) == 0;
        ionHandle_ = static_cast<uint32_t>(handle);
        isShared = isAllocated && ion_share(ionFd_, handle, &fd) == 0;
        break;
    }
    case KernelGeneration::Kernel414: {
        isAllocated = ion_alloc_fd(ionFd_, length, kAlignment, kHeapMask, kFlags, &fd) == 0;
        // Begins the processor's reading access. Nothing ends it: the buffer is open to it for as
        // long as it lives.
        dma_buf_sync sync = {};
        sync.flags = DMA_BUF_SYNC_READ;
        isShared = isAllocated && ioctl(fd, DMA_BUF_IOCTL_SYNC, &sync) == 0;
        break;
    }
    case KernelGeneration::KernelUnknown:
        break;
    }
    if (!isAllocated) {
        ion_close(ionFd_);
        ionFd_ = -1;
        return "ion_alloc fail";
    }
    if (!isShared) {
        // A buffer that could not be synchronised is left open, deliberately: nothing closes it.
        DropDevice();
        return "ion_share fail";
    }
    buffer = UniqueFd(fd);
    return nullptr;
}

void AINeuralNetworkIonBufferHIDL::DropDevice() {
    IonRelease(ionFd_, ionHandle_);
    ionFd_ = -1;
    ionHandle_ = 0;
}

}  // namespace orva::hidl
