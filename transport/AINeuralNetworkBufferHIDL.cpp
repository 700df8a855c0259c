/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/AINeuralNetworkBufferHIDL.h"

#include <array>
#include <utility>

#include <cutils/ashmem.h>
#include <hwbinder/IPCThreadState.h>

#include "common/BoundedMemory.h"
#include "common/Clock.h"
#include "common/Log.h"
#include "common/StatusCodes.h"
#include "transport/TensorInit.h"
#include "transport/TensorTypes.h"

namespace orva::hidl {

using android::hardware::hidl_memory;
using android::hardware::IPCThreadState;

namespace {

constexpr char kRegionName[] = "AshmemAllocator_hidl_orva";
constexpr uint32_t kFieldSize = 4;
// Data type, height, width, number, channel. The size is not among them: it travels as the size of
// the data memory.
using AttributeRecord = std::array<int32_t, 5>;

}  // namespace

AINeuralNetworkBufferHIDL::AINeuralNetworkBufferHIDL() {
    SetBuffer(nullptr, 0, false);
}

AINeuralNetworkBufferHIDL::~AINeuralNetworkBufferHIDL() {
    DropMapping();
}

bool AINeuralNetworkBufferHIDL::Init(const AITensorDescription& description) {
    return Init(description, *this);
}

bool AINeuralNetworkBufferHIDL::MakeRegion(uint64_t length, UniqueFd& fd) {
    fd = UniqueFd(ashmem_create_region(kRegionName, length));
    if (fd.Get() < 0) {
        // Reported here; the mapping then fails and gives the result.
        ORVA_LOG_FROM(ORVA_IN("Init"), ANDROID_LOG_ERROR, kBufferTag, "ashmem allocate fail");
    }
    return true;
}

void AINeuralNetworkBufferHIDL::Keep(SharedMapping mapping) {
    mapping_ = std::move(mapping);
    shown_.emplace(liveTensors, LiveTensor{GetTypeName(), mapping_.Length(), MonotonicNow(),
                                           IPCThreadState::self()->getCallingPid()});
}

void AINeuralNetworkBufferHIDL::DropMapping() {
    if (GetBuffer() != nullptr) {
        mapping_.Reset();
        SetBuffer(nullptr, 0, false);
    }
}

const char* AINeuralNetworkBufferHIDL::GetTypeName() {
    return kBufferType;
}

uint32_t AINeuralNetworkBufferHIDL::GetSerializeSize() {
    return sizeof(AttributeRecord);
}

uint32_t AINeuralNetworkBufferHIDL::SerializeTo(void* buffer, uint32_t size) {
    if (size < sizeof(AttributeRecord)) {
        ORVA_LOGE(kBufferTag, "SerializeTo buffer size too small");
        return kTransportFailure;
    }
    const AttributeRecord record = {GetData_type(), GetHeight(), GetWidth(), GetNumber(),
                                    GetChannel()};
    auto* field = static_cast<uint8_t*>(buffer);
    for (const int32_t& value : record) {
        if (memcpy_s(field, kFieldSize, &value, kFieldSize) != 0) {
            ORVA_LOGE(kCopyTag, "Call tiro:mmMemCpyS Failed!");
            return kTransportFailure;
        }
        field += kFieldSize;
    }
    return kTransportSuccess;
}

uint32_t AINeuralNetworkBufferHIDL::DeserializeFrom(const void* buffer, uint32_t size) {
    if (size < sizeof(AttributeRecord)) {
        // Not an error here: a peer's short block only leaves the tensor's default shape.
        ORVA_LOGI(kBufferTag, "DeserializeFrom buffer size too small");
        return kTransportFailure;
    }
    // Each field is read once: a peer may be writing to the block.
    AttributeRecord record = {};
    const auto* field = static_cast<const uint8_t*>(buffer);
    for (int32_t& value : record) {
        if (memcpy_s(&value, kFieldSize, field, kFieldSize) != 0) {
            ORVA_LOGE(kCopyTag, "Call tiro:mmMemCpyS Failed!");
            return kTransportFailure;
        }
        field += kFieldSize;
    }
    const auto [dataType, height, width, number, channel] = record;
    SetData_type(dataType);
    SetWidth(width);
    SetHeight(height);
    SetChannel(channel);
    SetNumber(number);
    return kTransportSuccess;
}

void AINeuralNetworkBufferHIDL::Receive(const hidl_memory& data, const hidl_memory& attributes) {
    memory_.Receive(data);
    serializeMemory_.Receive(attributes);
}

int AINeuralNetworkBufferHIDL::SerializeToHidlMemory() {
    if (!serializeMemory_.IsReceived()) {
        // The block of the call before goes now, whatever becomes of this one.
        serializeMemory_ = TensorRegion();
    }
    const uint32_t length = GetSerializeSize();
    UniqueFd fd(ashmem_create_region(kRegionName, length));
    if (fd.Get() < 0) {
        // As in Init, the mapping below fails.
        ORVA_LOGE(kBufferTag, "ashmem allocate fail");
    }
    const int region = fd.Get();
    TensorRegion block;
    if (!block.Adopt(std::move(fd))) {
        ORVA_LOGE(kBufferTag, "serialize_handle_ is nullptr");
        return 0;
    }
    if (block.IsEmpty()) {
        ORVA_LOGE(kBufferTag, "numFds is zero");
        return 0;
    }
    SharedMapping mapping = SharedMapping::MapOwn(region, length);
    if (!mapping) {
        ORVA_LOGE(kBufferTag, "mmap failed");
        return 0;
    }
    SerializeTo(mapping.Address(), length);
    mapping.Reset();
    block.MakeOwn(length);
    serializeMemory_ = std::move(block);
    return 0;
}

int AINeuralNetworkBufferHIDL::DeserializeFromHidlMemory() {
    // One that was received, but could not be kept, counts as one that cannot be mapped.
    const bool isNone = !serializeMemory_.IsReceived() && serializeMemory_.handle() == nullptr;
    if (isNone || serializeMemory_.IsReceivedEmpty()) {
        return 0;
    }
    const SharedMapping mapping =
            SharedMapping::MapReceived(serializeMemory_.handle(), serializeMemory_.size());
    if (!mapping) {
        ORVA_LOGE(kBufferTag, "mmap fail");
        return 0;
    }
    DeserializeFrom(mapping.Address(), static_cast<uint32_t>(mapping.Length()));
    return 0;
}

const char* AINeuralNetworkIonBufferFallback::GetTypeName() {
    return kIonBufferType;
}

}  // namespace orva::hidl
