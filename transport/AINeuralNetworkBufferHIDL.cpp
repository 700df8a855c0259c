/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/AINeuralNetworkBufferHIDL.h"

#include <array>

#include <cutils/ashmem.h>

#include "common/BoundedMemory.h"
#include "common/Log.h"
#include "common/StatusCodes.h"
#include "transport/LogTag.h"
#include "transport/TensorParameters.h"
#include "transport/TensorTypes.h"

namespace orva::hidl {

using android::hardware::hidl_memory;

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
    if (GetBuffer() != nullptr) {
        mapping_.Reset();
        SetBuffer(nullptr, 0, false);
    }
}

bool AINeuralNetworkBufferHIDL::Init(const AITensorDescription& description) {
    if (!InitFromDescription(*this, description)) {
        return false;
    }

    if (HoldsReceivedMemory()) {
        // A handle without descriptors is refused in silence.
        if (memory_.handle()->numFds <= 0) {
            return false;
        }
        SharedMapping mapping = SharedMapping::MapReceived(memory_.handle(), memory_.size());
        if (!mapping) {
            // "fail" for a received region, "failed" for a new one: the log tells them apart.
            ORVA_LOGE(kBufferTag, "mmap fail");
            return false;
        }
        mapping_ = std::move(mapping);
        mark_.Set(GetTypeName(), mapping_.Length());
        // A tensor's size has 32 bits; of a larger region it shows the low ones.
        SetBuffer(mapping_.Address(), static_cast<int>(memory_.size()), false);
        return true;
    }

    const auto size = static_cast<size_t>(GetSize());
    UniqueFd fd(ashmem_create_region(kRegionName, size));
    if (fd.Get() < 0) {
        // Reported here; the mapping below fails and gives the result.
        ORVA_LOGE(kBufferTag, "ashmem allocate fail");
    }
    const int region = fd.Get();
    memory_ = hidl_memory();  // of an earlier Init; its handle goes now
    if (!handle_.Adopt(std::move(fd))) {
        ORVA_LOGE(kBufferTag, "handle_ is nullptr");
        return false;
    }
    hidl_memory memory(kMemoryName, handle_.Get(), size);
    if (memory.handle()->numFds == 0) {
        ORVA_LOGE(kBufferTag, "numFds is zero");
        return false;
    }
    SharedMapping mapping = SharedMapping::MapOwn(region, size);
    if (!mapping) {
        ORVA_LOGE(kBufferTag, "mmap failed");
        return false;
    }
    mapping_ = std::move(mapping);
    mark_.Set(GetTypeName(), mapping_.Length());
    SetBuffer(mapping_.Address(), GetSize(), false);
    memory_ = std::move(memory);
    return true;
}

bool AINeuralNetworkBufferHIDL::HoldsReceivedMemory() const {
    return memory_.handle() != nullptr && memory_.handle() != handle_.Get();
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

bool AINeuralNetworkBufferHIDL::Receive(const hidl_memory& data, const hidl_memory& attributes) {
    if (!receivedHandle_.Duplicate(data.handle())) {
        memory_ = hidl_memory();
        ORVA_LOGE(kBufferTag, "data descriptor not duplicated");
        return false;
    }
    memory_ = hidl_memory(data.name(), receivedHandle_.Get(), data.size());
    if (!receivedAttributes_.Duplicate(attributes.handle())) {
        serializeMemory_ = hidl_memory();
        ORVA_LOGE(kBufferTag, "attribute descriptor not duplicated");
        return false;
    }
    serializeMemory_ = hidl_memory(attributes.name(), receivedAttributes_.Get(), attributes.size());
    return true;
}

int AINeuralNetworkBufferHIDL::SerializeToHidlMemory() {
    const uint32_t length = GetSerializeSize();
    UniqueFd fd(ashmem_create_region(kRegionName, length));
    if (fd.Get() < 0) {
        // As in Init, the mapping below fails.
        ORVA_LOGE(kBufferTag, "ashmem allocate fail");
    }
    const int region = fd.Get();
    if (serializeMemory_.handle() == serialize_handle_.Get()) {
        // The block of the call before is closed here, whatever becomes of this one.
        serializeMemory_ = hidl_memory();
    }
    if (!serialize_handle_.Adopt(std::move(fd))) {
        ORVA_LOGE(kBufferTag, "serialize_handle_ is nullptr");
        return 0;
    }
    hidl_memory memory(kMemoryName, serialize_handle_.Get(), length);
    if (memory.handle()->numFds == 0) {
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
    serializeMemory_ = std::move(memory);
    return 0;
}

int AINeuralNetworkBufferHIDL::DeserializeFromHidlMemory() {
    const native_handle_t* const handle = serializeMemory_.handle();
    if (handle == nullptr || handle->numFds <= 0) {
        return 0;
    }
    const SharedMapping mapping = SharedMapping::MapReceived(handle, serializeMemory_.size());
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
