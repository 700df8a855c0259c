/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/AINeuralNetworkBufferHIDL.h"

#include <unistd.h>

#include <array>
#include <cstring>
#include <utility>

#include <cutils/ashmem.h>

#include "common/BoundedMemory.h"
#include "common/Log.h"
#include "common/StatusCodes.h"
#include "transport/TensorNames.h"
#include "transport/TensorParameters.h"

namespace orva::hidl {

using android::hardware::hidl_memory;

namespace {

constexpr char kRegionName[] = "AshmemAllocator_hidl_orva";
// The tag of bounded copies that fail.
constexpr char kCopyTag[] = "ORVA";
constexpr uint32_t kFieldSize = 4;
// Data type, height, width, number, channel. The size is not among them: it travels as the size of
// the data memory.
using AttributeRecord = std::array<int32_t, 5>;

// A mapping that nobody touches is cheap. To unmap a page that was touched, each processor that
// runs this process must be told, which takes longer than all else that is done with a record. So
// the kernel copies records, and the mapping only shows that there is one; where it cannot (a
// dma-buf), the mapping is what is read and written.

const void* RecordIn(const SharedMapping& mapping, int fd, AttributeRecord& copy) {
    const bool isCopied = mapping.Length() == sizeof copy &&
                          pread(fd, copy.data(), sizeof copy, 0) == ssize_t{sizeof copy};
    return isCopied ? copy.data() : mapping.Address();
}

bool PutRecord(int fd, const AttributeRecord& record) {
    return pwrite(fd, record.data(), sizeof record, 0) == ssize_t{sizeof record};
}

}  // namespace

AINeuralNetworkBufferHIDL::AINeuralNetworkBufferHIDL() {
    SetBuffer(nullptr, 0, false);
}

AINeuralNetworkBufferHIDL::~AINeuralNetworkBufferHIDL() {
    DropMapping();
}

bool AINeuralNetworkBufferHIDL::Init(const AITensorDescription& description) {
    if (!InitFromDescription(*this, description)) {
        return false;
    }
    if (memory_.IsReceived()) {
        if (!MapReceived(memory_.size(), kLogTag)) {
            return false;
        }
        // A tensor's size has 32 bits; of a larger region it shows the low ones.
        SetBuffer(mapping_.Address(), static_cast<int>(memory_.size()), false);
        return true;
    }
    const auto size = static_cast<uint64_t>(GetSize());
    UniqueFd fd(ashmem_create_region(kRegionName, size));
    if (fd.Get() < 0) {
        // Reported here; the mapping then fails and gives the result.
        ORVA_LOGE("ashmem allocate fail");
    }
    if (const char* const failure = MapNew(std::move(fd), size)) {
        ORVA_LOGE("%s", failure);
        return false;
    }
    SetBuffer(mapping_.Address(), GetSize(), false);
    return true;
}

bool AINeuralNetworkBufferHIDL::MapReceived(uint64_t length, const char* tag) {
    if (memory_.IsReceivedEmpty()) {
        return false;
    }
    SharedMapping mapping = SharedMapping::MapReceived(memory_.handle(), length);
    if (!mapping) {
        // "fail" for a received region, "failed" for a new one: the log tells them apart.
        ORVA_LOG_FROM(ORVA_IN("Init"), ANDROID_LOG_ERROR, tag, "mmap fail");
        return false;
    }
    mapping_ = std::move(mapping);
    return true;
}

const char* AINeuralNetworkBufferHIDL::MapNew(UniqueFd fd, uint64_t length) {
    const int region = fd.Get();
    if (!memory_.Adopt(std::move(fd))) {
        return "handle_ is nullptr";
    }
    if (memory_.IsEmpty()) {
        return "numFds is zero";
    }
    SharedMapping mapping = SharedMapping::MapOwn(region, length);
    if (!mapping) {
        return "mmap failed";
    }
    mapping_ = std::move(mapping);
    memory_.MakeOwn(static_cast<uint64_t>(GetSize()));
    return nullptr;
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
        ORVA_LOGE("SerializeTo buffer size too small");
        return kTransportFailure;
    }
    const AttributeRecord record = {GetData_type(), GetHeight(), GetWidth(), GetNumber(),
                                    GetChannel()};
    auto* field = static_cast<uint8_t*>(buffer);
    for (const int32_t& value : record) {
        if (memcpy_s(field, kFieldSize, &value, kFieldSize) != 0) {
            ORVA_LOG_FROM(ORVA_HERE, ANDROID_LOG_ERROR, kCopyTag, "Call tiro:mmMemCpyS Failed!");
            return kTransportFailure;
        }
        field += kFieldSize;
    }
    return kTransportSuccess;
}

uint32_t AINeuralNetworkBufferHIDL::DeserializeFrom(const void* buffer, uint32_t size) {
    if (size < sizeof(AttributeRecord)) {
        // Not an error here: a peer's short block only leaves the tensor's default shape.
        ORVA_LOGI("DeserializeFrom buffer size too small");
        return kTransportFailure;
    }
    // Each field is read once: a peer may be writing to the block.
    AttributeRecord record = {};
    const auto* field = static_cast<const uint8_t*>(buffer);
    for (int32_t& value : record) {
        if (memcpy_s(&value, kFieldSize, field, kFieldSize) != 0) {
            ORVA_LOG_FROM(ORVA_HERE, ANDROID_LOG_ERROR, kCopyTag, "Call tiro:mmMemCpyS Failed!");
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
        ORVA_LOGE("ashmem allocate fail");
    }
    const int region = fd.Get();
    TensorRegion block;
    if (!block.Adopt(std::move(fd))) {
        ORVA_LOGE("serialize_handle_ is nullptr");
        return 0;
    }
    if (block.IsEmpty()) {
        ORVA_LOGE("numFds is zero");
        return 0;
    }
    SharedMapping mapping = SharedMapping::MapOwn(region, length);
    if (!mapping) {
        ORVA_LOGE("mmap failed");
        return 0;
    }
    AttributeRecord record = {};
    const bool isRecord = length == sizeof record;
    SerializeTo(isRecord ? record.data() : mapping.Address(), length);
    if (isRecord && !PutRecord(region, record)) {
        std::memcpy(mapping.Address(), record.data(), sizeof record);
    }
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
        ORVA_LOGE("mmap fail");
        return 0;
    }
    AttributeRecord copy = {};
    DeserializeFrom(RecordIn(mapping, serializeMemory_.handle()->data[0], copy),
                    static_cast<uint32_t>(mapping.Length()));
    return 0;
}

const char* AINeuralNetworkIonBufferFallback::GetTypeName() {
    return kIonBufferType;
}

}  // namespace orva::hidl
