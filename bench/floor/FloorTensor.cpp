/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "floor/FloorTensor.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <utility>

#include "floor/FloorSocket.h"

namespace orva_bench {

using orva::hidl::UniqueFd;

namespace {

void* mapShared(int fd, size_t size) {
    return mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
}

bool readAttributes(int fd, AttributeRecord* record) {
    void* const block = mapReceived(fd, kAttributeSize);
    if (block == MAP_FAILED) {
        return false;
    }
    std::memcpy(record, block, sizeof *record);
    munmap(block, kAttributeSize);
    return true;
}

UniqueFd makeAttributes(const AttributeRecord& record) {
    UniqueFd fd(memfd_create("floor-attributes", MFD_CLOEXEC));
    if (ftruncate(fd.Get(), kAttributeSize) != 0) {
        return UniqueFd();
    }
    void* const block = mapShared(fd.Get(), kAttributeSize);
    if (block == MAP_FAILED) {
        return UniqueFd();
    }
    std::memcpy(block, &record, sizeof record);
    munmap(block, kAttributeSize);
    return fd;
}

UniqueFd duplicate(int fd) {
    return UniqueFd(fcntl(fd, F_DUPFD_CLOEXEC, 0));
}

}  // namespace

void* mapReceived(int fd, size_t size) {
    struct stat status;
    const bool whole = fstat(fd, &status) == 0 && status.st_size >= static_cast<off_t>(size);
    return whole ? mapShared(fd, size) : MAP_FAILED;
}

FloorTensor::FloorTensor(const UniqueFd& attributeBlock, const UniqueFd& data, size_t size)
        : attributeBlock_(duplicate(attributeBlock.Get())),
          data_(duplicate(data.Get())),
          size_(size) {
    if (attributeBlock_.Get() >= 0 && data_.Get() >= 0 &&
        readAttributes(attributeBlock.Get(), &attributes_)) {
        void* const mapped = mapReceived(data.Get(), size);
        bytes_ = mapped != MAP_FAILED ? mapped : nullptr;
    }
}

FloorTensor::FloorTensor(FloorTensor&& other) noexcept
        : attributes_(other.attributes_),
          attributeBlock_(std::move(other.attributeBlock_)),
          data_(std::move(other.data_)),
          bytes_(std::exchange(other.bytes_, nullptr)),
          size_(other.size_) {}

FloorTensor::~FloorTensor() {
    if (bytes_ != nullptr) {
        munmap(bytes_, size_);
    }
}

bool complete(int listener, const std::vector<FloorTensor>& outputs) {
    std::vector<UniqueFd> handles;
    std::vector<int> sent;
    const auto add = [&](int fd) {
        handles.push_back(duplicate(fd));
        sent.push_back(handles.back().Get());
        return sent.back() >= 0;
    };
    std::vector<UniqueFd> blocks;
    for (const FloorTensor& output : outputs) {
        blocks.push_back(makeAttributes(output.attributes()));
        if (!add(blocks.back().Get()) || !add(output.data())) {
            return false;
        }
    }
    FloorPacket acknowledgement;
    return sendPacket(listener, {0}, sent.data(), sent.size()) &&
           receivePacket(listener, &acknowledgement);
}

}  // namespace orva_bench
