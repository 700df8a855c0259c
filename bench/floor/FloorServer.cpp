/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "floor/FloorServer.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <thread>
#include <vector>

#include "Payload.h"
#include "floor/FloorSocket.h"

namespace orva_bench {

using orva::hidl::UniqueFd;

namespace {

// The attribute record as it lies in an attribute block.
using AttributeRecord = std::array<int32_t, 5>;
static_assert(sizeof(AttributeRecord) == kAttributeSize);

void* mapShared(int fd, size_t size) {
    return mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
}

bool readAttributes(int fd, AttributeRecord* record) {
    void* const block = mapShared(fd, kAttributeSize);
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

// What outlives the call that brought it: its descriptor, duplicated, and its mapping.
struct Tensor {
    AttributeRecord attributes;
    UniqueFd data;
    void* bytes;
    size_t size;
};

bool takeTensor(int attributes, int data, size_t size, Tensor* tensor) {
    tensor->size = size;
    tensor->data = UniqueFd(fcntl(data, F_DUPFD_CLOEXEC, 0));
    tensor->bytes = mapShared(data, size);
    return readAttributes(attributes, &tensor->attributes) && tensor->data.Get() >= 0 &&
           tensor->bytes != MAP_FAILED;
}

bool complete(int listener, const Tensor& output) {
    const UniqueFd attributes = makeAttributes(output.attributes);
    const std::array<int, 2> sent = {attributes.Get(), output.data.Get()};
    FloorPacket acknowledgement;
    return attributes.Get() >= 0 && sendPacket(listener, {0}, sent.data(), sent.size()) &&
           receivePacket(listener, &acknowledgement);
}

bool serveRequest(int requests, int listener) {
    Tensor input;
    Tensor output;
    {
        FloorPacket request;
        Descriptors<4> received;
        if (!receivePacket(requests, &request, &received) ||
            !takeTensor(received[0].Get(), received[1].Get(), static_cast<size_t>(request.value),
                        &input) ||
            !takeTensor(received[2].Get(), received[3].Get(), kOutputSize, &output) ||
            !sendPacket(requests, {0})) {
            return false;
        }
    }
    const bool completed = complete(listener, output);
    munmap(input.bytes, input.size);
    munmap(output.bytes, output.size);
    return completed;
}

void serveClient(const UniqueFd& requests) {
    FloorPacket hello;
    Descriptors<1> listener;
    if (!receivePacket(requests.Get(), &hello, &listener) || !sendPacket(requests.Get(), {0})) {
        return;
    }
    while (serveRequest(requests.Get(), listener[0].Get())) {
    }
}

}  // namespace

int runFloorServer(const Control& control, const std::string& path) {
    const UniqueFd listening(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    const sockaddr_un address = floorAddress(path);
    const bool ok = bind(listening.Get(), reinterpret_cast<const sockaddr*>(&address),
                         sizeof address) == 0 &&
                    listen(listening.Get(), SOMAXCONN) == 0;
    if (!control.send(Ready{ok}) || !ok) {
        return 1;
    }
    std::vector<std::thread> threads;
    for (;;) {
        const int client = accept4(listening.Get(), nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0) {
            break;
        }
        threads.emplace_back([client] { serveClient(UniqueFd(client)); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return 1;
}

}  // namespace orva_bench
