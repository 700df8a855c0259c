/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "floor/FloorServer.h"

#include <sys/mman.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <thread>
#include <vector>

#include "Payload.h"
#include "floor/FloorSocket.h"
#include "floor/FloorTensor.h"

namespace orva_bench {

using orva::hidl::UniqueFd;

bool serveBareCall(int requests) {
    FloorPacket call;
    return receivePacket(requests, &call) && sendPacket(requests, {0});
}

namespace {

// Where tensors are bound first, they are let go of after each computation just the same: binding
// others in their place unmaps as many.
bool serveRequest(int requests, int listener, bool started) {
    std::vector<FloorTensor> input, output;
    {
        FloorPacket request;
        Descriptors<4> received;
        if (!receivePacket(requests, &request, &received)) {
            return false;
        }
        input.emplace_back(received[0], received[1], static_cast<size_t>(request.value));
        output.emplace_back(received[2], received[3], kOutputSize);
        if (input[0].bytes() == nullptr || output[0].bytes() == nullptr ||
            !sendPacket(requests, {0})) {
            return false;
        }
    }
    return (!started || serveBareCall(requests)) && complete(listener, output);
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

void greetAndServe(const UniqueFd& requests, const ServeClient& serveClient) {
    FloorPacket hello;
    Descriptors<1> listener;
    if (receivePacket(requests.Get(), &hello, &listener) && sendPacket(requests.Get(), {0})) {
        serveClient(requests.Get(), listener[0].Get());
    }
}

}  // namespace

int runFloorServer(const Control& control, const std::string& path,
                   const ServeClient& serveClient) {
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
        threads.emplace_back(
                [client, &serveClient] { greetAndServe(UniqueFd(client), serveClient); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return 1;
}

int runFloorServer(const Control& control, const std::string& path, const Load& load) {
    return runFloorServer(control, path, [&](int requests, int listener) {
        while (serve(load, requests, listener)) {
        }
    });
}

}  // namespace orva_bench
