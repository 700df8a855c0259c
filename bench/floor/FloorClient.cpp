/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "floor/FloorClient.h"

#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <utility>
#include <vector>

#include "Payload.h"
#include "floor/FloorSocket.h"

namespace orva_bench {

using orva::hidl::UniqueFd;

namespace {

// A region whose pages exist, as after a client has written its data.
UniqueFd makeRegion(size_t size) {
    UniqueFd fd(memfd_create("floor-region", MFD_CLOEXEC));
    void* bytes = MAP_FAILED;
    if (ftruncate(fd.Get(), static_cast<off_t>(size)) == 0) {
        bytes = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd.Get(), 0);
    }
    if (bytes == MAP_FAILED) {
        return UniqueFd();
    }
    std::memset(bytes, 1, size);
    munmap(bytes, size);
    return fd;
}

UniqueFd connectTo(const std::string& path) {
    UniqueFd connection(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    const sockaddr_un address = floorAddress(path);
    if (connect(connection.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
        0) {
        return UniqueFd();
    }
    return connection;
}

// The client's own end of a connection for completions, whose other end the server gets.
UniqueFd registerListener(int requests) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        return UniqueFd();
    }
    UniqueFd ours(ends[0]);
    const UniqueFd theirs(ends[1]);
    FloorPacket answer;
    const int sent = theirs.Get();
    if (!sendPacket(requests, {0}, &sent, 1) || !receivePacket(requests, &answer)) {
        return UniqueFd();
    }
    return ours;
}

std::vector<size_t> regionSizes(const Load& load) {
    switch (load.work) {
    case Work::kSession:
        return load.inputSize > 0 ? std::vector<size_t>{load.inputSize} : std::vector<size_t>{};
    case Work::kBuild: {
        std::vector<size_t> sizes(kSources, load.inputSize / kSources);
        sizes.push_back(load.inputSize);
        return sizes;
    }
    default:
        return {kAttributeSize, load.inputSize, kAttributeSize, kOutputSize};
    }
}

// Opened, its listener registered on the client's side and on the model manager's, closed: four
// calls, each with an answer that the next one waits for. No descriptor travels in any of them
// but the model's, since the connection for callbacks is the process's and not the session's.
bool session(const FloorClient& client, int64_t size) {
    return client.callWithRegions(size) == 0 && client.call(size) == 0 && client.call(size) == 0 &&
           client.call(size) == 0;
}

bool work(const FloorClient& client, const Load& load) {
    const auto size = static_cast<int64_t>(load.inputSize);
    switch (load.work) {
    case Work::kSession:
        return session(client, size);
    case Work::kBuild:
        return client.callWithRegions(size) == size;
    default:
        return client.callWithRegions(size) == 0 &&
               (load.work != Work::kBinding || client.call(size) == 0) && client.awaitCompletion(2);
    }
}

}  // namespace

FloorClient::FloorClient(const std::string& path, const std::vector<size_t>& regionSizes)
        : requests_(connectTo(path)),
          listener_(registerListener(requests_.Get())),
          ok_(listener_.Get() >= 0) {
    for (const size_t size : regionSizes) {
        regions_.push_back(makeRegion(size));
        sent_.push_back(regions_.back().Get());
        ok_ = ok_ && sent_.back() >= 0;
    }
}

int64_t FloorClient::call(int64_t value) const {
    FloorPacket status;
    return sendPacket(requests_.Get(), {value}) && receivePacket(requests_.Get(), &status)
                   ? status.value
                   : -1;
}

int64_t FloorClient::callWithRegions(int64_t value) const {
    FloorPacket status;
    return sendPacket(requests_.Get(), {value}, sent_.data(), sent_.size()) &&
                           receivePacket(requests_.Get(), &status)
                   ? status.value
                   : -1;
}

bool FloorClient::awaitCompletion(size_t descriptors) const {
    FloorPacket completion;
    std::vector<UniqueFd> outputs(descriptors);
    return receivePacket(listener_.Get(), &completion, outputs.data(), descriptors) &&
           completion.value == 0 && sendPacket(listener_.Get(), {0});
}

int runFloorClient(const Control& control, const std::string& path, const Load& load) {
    const FloorClient client(path, regionSizes(load));
    if (!control.send(Ready{client.ok()}) || !client.ok()) {
        return 1;
    }
    return obeyRoundOrders(control, [&] { return work(client, load); });
}

}  // namespace orva_bench
