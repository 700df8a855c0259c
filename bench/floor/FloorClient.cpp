/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "floor/FloorClient.h"

#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <utility>

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

}  // namespace

int runFloorClient(const Control& control, const std::string& path, size_t inputSize) {
    const std::array<UniqueFd, 4> regions = {makeRegion(kAttributeSize), makeRegion(inputSize),
                                             makeRegion(kAttributeSize), makeRegion(kOutputSize)};
    std::array<int, 4> sent;
    bool ok = true;
    for (size_t i = 0; i < regions.size(); ++i) {
        sent[i] = regions[i].Get();
        ok = ok && sent[i] >= 0;
    }
    const UniqueFd requests = connectTo(path);
    const UniqueFd listener = registerListener(requests.Get());
    ok = ok && listener.Get() >= 0;
    if (!control.send(Ready{ok}) || !ok) {
        return 1;
    }
    return obeyRoundOrders(control, [&] {
        FloorPacket status;
        FloorPacket completion;
        Descriptors<2> outputs;
        return sendPacket(requests.Get(), {static_cast<int64_t>(inputSize)}, sent.data(),
                          sent.size()) &&
               receivePacket(requests.Get(), &status) && status.value == 0 &&
               receivePacket(listener.Get(), &completion, &outputs) && completion.value == 0 &&
               sendPacket(listener.Get(), {0});
    });
}

}  // namespace orva_bench
