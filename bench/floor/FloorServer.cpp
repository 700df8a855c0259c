/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "floor/FloorServer.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
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

// A peer's region is as long as it says, or touching it would end the process.
void* mapReceived(int fd, size_t size) {
    struct stat status;
    const bool whole = fstat(fd, &status) == 0 && status.st_size >= static_cast<off_t>(size);
    return whole ? mapShared(fd, size) : MAP_FAILED;
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

// What outlives the call that brought it: its descriptors, duplicated, and its mapping.
struct Tensor {
    AttributeRecord attributes;
    UniqueFd attributeBlock;
    UniqueFd data;
    void* bytes;
    size_t size;
};

UniqueFd duplicate(int fd) {
    return UniqueFd(fcntl(fd, F_DUPFD_CLOEXEC, 0));
}

bool takeTensor(int attributes, int data, size_t size, Tensor* tensor) {
    tensor->size = size;
    tensor->attributeBlock = duplicate(attributes);
    tensor->data = duplicate(data);
    tensor->bytes = mapReceived(data, size);
    return readAttributes(attributes, &tensor->attributes) && tensor->attributeBlock.Get() >= 0 &&
           tensor->data.Get() >= 0 && tensor->bytes != MAP_FAILED;
}

// What is sent is the handle's own: the tensor keeps its memories.
bool complete(int listener, const Tensor& output) {
    const UniqueFd block = makeAttributes(output.attributes);
    const UniqueFd attributes = duplicate(block.Get());
    const UniqueFd data = duplicate(output.data.Get());
    const std::array<int, 2> sent = {attributes.Get(), data.Get()};
    FloorPacket acknowledgement;
    return attributes.Get() >= 0 && data.Get() >= 0 &&
           sendPacket(listener, {0}, sent.data(), sent.size()) &&
           receivePacket(listener, &acknowledgement);
}

// A call that brings nothing and asks for a status.
bool serveBareCall(int requests) {
    FloorPacket call;
    return receivePacket(requests, &call) && sendPacket(requests, {0});
}

// Where tensors are bound first, they are let go of after each computation just the same: binding
// others in their place unmaps as many.
bool serveRequest(int requests, int listener, bool started) {
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
    const bool completed = (!started || serveBareCall(requests)) && complete(listener, output);
    munmap(input.bytes, input.size);
    munmap(output.bytes, output.size);
    return completed;
}

// A model's bytes are the server's own once they have come.
bool serveModel(int requests) {
    FloorPacket call;
    Descriptors<1> received;
    if (!receivePacket(requests, &call, &received)) {
        return false;
    }
    const auto size = static_cast<size_t>(call.value);
    void* const bytes = mapReceived(received[0].Get(), size);
    if (bytes == MAP_FAILED) {
        return false;
    }
    const auto* const first = static_cast<const uint8_t*>(bytes);
    const std::vector<uint8_t> model(first, first + size);
    munmap(bytes, size);
    return sendPacket(requests, {0});
}

bool serveSession(int requests, bool withModel) {
    const bool opened = withModel ? serveModel(requests) : serveBareCall(requests);
    return opened && serveBareCall(requests) && serveBareCall(requests) && serveBareCall(requests);
}

// All regions are mapped at a time, as a build needs them, and gone before the answer.
bool serveBuild(int requests) {
    FloorPacket request;
    Descriptors<kSources + 1> received;
    if (!receivePacket(requests, &request, &received)) {
        return false;
    }
    const auto built = static_cast<size_t>(request.value);
    std::array<void*, kSources + 1> mapped;
    bool ok = true;
    for (size_t i = 0; i < mapped.size(); ++i) {
        mapped[i] = mapReceived(received[i].Get(), i < kSources ? built / kSources : built);
        ok = ok && mapped[i] != MAP_FAILED;
    }
    for (size_t i = 0; i < mapped.size() && ok; ++i) {
        munmap(mapped[i], i < kSources ? built / kSources : built);
    }
    return ok && sendPacket(requests, {request.value});
}

bool serve(const Load& load, int requests, int listener) {
    switch (load.work) {
    case Work::kSession:
        return serveSession(requests, load.inputSize > 0);
    case Work::kBuild:
        return serveBuild(requests);
    default:
        return serveRequest(requests, listener, load.work == Work::kBinding);
    }
}

void serveClient(const UniqueFd& requests, const Load& load) {
    FloorPacket hello;
    Descriptors<1> listener;
    if (!receivePacket(requests.Get(), &hello, &listener) || !sendPacket(requests.Get(), {0})) {
        return;
    }
    while (serve(load, requests.Get(), listener[0].Get())) {
    }
}

}  // namespace

int runFloorServer(const Control& control, const std::string& path, const Load& load) {
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
        threads.emplace_back([client, &load] { serveClient(UniqueFd(client), load); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return 1;
}

}  // namespace orva_bench
