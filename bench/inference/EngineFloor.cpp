/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "inference/EngineFloor.h"

#include <vector>

#include "Payload.h"
#include "floor/FloorClient.h"
#include "floor/FloorServer.h"
#include "floor/FloorSocket.h"
#include "floor/FloorTensor.h"
#include "inference/Engine.h"

namespace orva_bench {

namespace {

using orva::hidl::UniqueFd;

constexpr size_t kPageSize = 4096;

// One client's: of one request where tensors are sent, of all its requests where they are bound.
class Request {
public:
    // Takes the call that brings all tensors, and answers it.
    bool receive(int requests, const Engine& engine) {
        const std::vector<size_t> in = engine.inputs().sizes();
        const std::vector<size_t> out = engine.outputs().sizes();
        FloorPacket call;
        std::vector<UniqueFd> received(2 * (in.size() + out.size()));
        if (!receivePacket(requests, &call, received.data(), received.size())) {
            return false;
        }
        const UniqueFd* next = received.data();
        return take(in, &next, inputs_) && take(out, &next, outputs_) && sendPacket(requests, {0});
    }

    // Reads of the outputs' pages first, as the framework does, since that takes fewer faults.
    void run(Engine& engine) const {
        for (const FloorTensor& output : outputs_) {
            for (size_t at = 0; at < output.size(); at += kPageSize) {
                static_cast<void>(static_cast<const volatile uint8_t*>(output.bytes())[at]);
            }
        }
        std::vector<Ort::Value> outputs = engine.outputs().over(bytesOf(outputs_));
        engine.run(engine.inputs().over(bytesOf(inputs_)), outputs);
    }

    // Before the client hears of the result, as the framework does.
    void dropInputs() { inputs_.clear(); }

    bool complete(int listener) const { return orva_bench::complete(listener, outputs_); }

private:
    static bool take(const std::vector<size_t>& sizes, const UniqueFd** received,
                     std::vector<FloorTensor>& tensors) {
        for (const size_t size : sizes) {
            if (tensors.emplace_back((*received)[0], (*received)[1], size).bytes() == nullptr) {
                return false;
            }
            *received += 2;
        }
        return true;
    }

    static std::vector<void*> bytesOf(const std::vector<FloorTensor>& tensors) {
        std::vector<void*> bytes;
        bytes.reserve(tensors.size());
        for (const FloorTensor& tensor : tensors) {
            bytes.push_back(tensor.bytes());
        }
        return bytes;
    }

    std::vector<FloorTensor> inputs_, outputs_;
};

bool serveSent(Engine& engine, int requests, int listener) {
    Request request;
    if (!request.receive(requests, engine)) {
        return false;
    }
    request.run(engine);
    request.dropInputs();
    return request.complete(listener);
}

void serveBound(Engine& engine, int requests, int listener) {
    Request request;
    if (!request.receive(requests, engine)) {
        return;
    }
    while (serveBareCall(requests)) {
        request.run(engine);
        if (!request.complete(listener)) {
            return;
        }
    }
}

}  // namespace

int runEngineFloorServer(const Control& control, const std::string& path, const std::string& model,
                         Tensors how) {
    return runFloorServer(control, path, [&](int requests, int listener) {
        Engine engine(model);
        if (how == Tensors::kBound) {
            serveBound(engine, requests, listener);
            return;
        }
        while (serveSent(engine, requests, listener)) {
        }
    });
}

int runEngineFloorClient(const Control& control, const std::string& path, const std::string& model,
                         Tensors how) {
    std::vector<size_t> regions;
    size_t outputs = 0;
    {
        const Engine engine(model);
        for (const auto& side : {engine.inputs(), engine.outputs()}) {
            for (const size_t size : side.sizes()) {
                regions.insert(regions.end(), {kAttributeSize, size});
            }
        }
        outputs = engine.outputs().names.size();
    }
    const FloorClient client(path, regions);
    bool bound = false;
    const auto request = [&] {
        if (how == Tensors::kSent) {
            return client.callWithRegions(0) == 0 && client.awaitCompletion(2 * outputs);
        }
        bound = bound || client.callWithRegions(0) == 0;
        return bound && client.call(0) == 0 && client.awaitCompletion(2 * outputs);
    };
    control.send(Ready{client.ok() && request()});
    return obeyRoundOrders(control, request);
}

}  // namespace orva_bench
