/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "inference/DirectClient.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <utility>
#include <vector>

#include <orva_platform/Runtime.h>

#include "client/lib/ManagerSession.h"
#include "inference/Engine.h"

namespace orva_bench {

namespace {

std::vector<char> readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<orva::client::Tensor> tensorsOf(const Engine::Side& side) {
    std::vector<orva::client::Tensor> tensors;
    for (const size_t size : side.sizes()) {
        orva::client::TensorAttributes attributes;
        attributes.dataType = 1;
        tensors.emplace_back(attributes, size);
    }
    return tensors;
}

}  // namespace

int runDirectClient(const Control& control, const std::string& model) {
    Engine engine(model);
    const std::vector<Ort::Value> inputs = engine.inputs().zeros();
    std::vector<Ort::Value> outputs = engine.outputs().zeros();
    const auto run = [&] {
        engine.run(inputs, outputs);
        return true;
    };
    control.send(Ready{run()});
    return obeyRoundOrders(control, run);
}

int runServiceClient(const Control& control, const std::string& model, const std::string& directory,
                     Tensors how) {
    orva_platform::setServiceDirectory(directory);
    orva::client::serveWhileAwaiting();
    const std::vector<char> file = readFile(model);
    const auto [inputs, outputs] = [&] {
        const Engine engine(model);
        return std::pair(tensorsOf(engine.inputs()), tensorsOf(engine.outputs()));
    }();
    std::vector<orva::client::Model> models;
    models.push_back({"", orva::client::SharedRegion("model", file.size())});
    std::memcpy(models[0].bytes.data(), file.data(), file.size());
    const auto obey = [&](auto& session, const auto& send) {
        const auto request = [&] {
            send(session);
            return session.await().result == 0;
        };
        control.send(Ready{request()});
        return obeyRoundOrders(control, request);
    };
    if (how == Tensors::kSent) {
        orva::client::Session session(orva::client::findService<orva::client::AIService>(), 1,
                                      "onnx", "", models);
        return obey(session,
                    [&in = inputs, &out = outputs](auto& with) { with.send("", in, out); });
    }
    orva::client::ManagerSession session(
            orva::client::findService<orva::client::ModelManagerService>(), 1, "", models);
    session.bind("", inputs, outputs);
    return obey(session, [](auto& with) { with.start(""); });
}

}  // namespace orva_bench
