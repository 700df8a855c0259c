/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "inference/DirectClient.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <utility>
#include <vector>

#include <onnxruntime_cxx_api.h>
#include <orva_platform/Runtime.h>

#include "client/lib/ManagerSession.h"

namespace orva_bench {

namespace {

using Dims = std::vector<int64_t>;

std::vector<char> readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The engine as a program of its own would call it.
class Direct {
public:
    explicit Direct(const std::string& path) : env_(ORT_LOGGING_LEVEL_FATAL, "bench") {
        const std::vector<char> file = readFile(path);
        Ort::SessionOptions options;
        options.SetIntraOpNumThreads(1);
        options.SetInterOpNumThreads(1);
        session_ = Ort::Session(env_, file.data(), file.size(), options);
        Ort::AllocatorWithDefaultOptions allocator;
        for (size_t i = 0; i < session_.GetInputCount(); ++i) {
            inputNames_.emplace_back(session_.GetInputNameAllocated(i, allocator).get());
            add(session_.GetInputTypeInfo(i), inputShapes_, inputs_);
        }
        for (size_t i = 0; i < session_.GetOutputCount(); ++i) {
            outputNames_.emplace_back(session_.GetOutputNameAllocated(i, allocator).get());
            add(session_.GetOutputTypeInfo(i), outputShapes_, outputs_);
        }
    }

    bool run() {
        std::vector<const char*> in, out;
        for (const std::string& name : inputNames_) {
            in.push_back(name.c_str());
        }
        for (const std::string& name : outputNames_) {
            out.push_back(name.c_str());
        }
        session_.Run(Ort::RunOptions{}, in.data(), inputs_.data(), in.size(), out.data(),
                     outputs_.data(), out.size());
        return true;
    }

    const std::vector<Dims>& inputShapes() const { return inputShapes_; }
    const std::vector<Dims>& outputShapes() const { return outputShapes_; }

private:
    void add(const Ort::TypeInfo& info, std::vector<Dims>& shapes,
             std::vector<Ort::Value>& values) {
        const auto details = info.GetTensorTypeAndShapeInfo();
        if (details.GetElementType() != ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT) {
            throw std::runtime_error("the model's tensors are not all of floats");
        }
        Dims& shape = shapes.emplace_back(details.GetShape());
        Ort::AllocatorWithDefaultOptions allocator;
        values.push_back(Ort::Value::CreateTensor<float>(allocator, shape.data(), shape.size()));
        std::memset(values.back().GetTensorMutableRawData(), 0,
                    values.back().GetTensorSizeInBytes());
    }

    Ort::Env env_;
    Ort::Session session_{nullptr};
    std::vector<std::string> inputNames_, outputNames_;
    std::vector<Dims> inputShapes_, outputShapes_;
    std::vector<Ort::Value> inputs_, outputs_;
};

std::vector<orva::client::Tensor> tensorsOf(const std::vector<Dims>& shapes) {
    std::vector<orva::client::Tensor> tensors;
    for (const Dims& shape : shapes) {
        size_t elements = 1;
        for (const int64_t dim : shape) {
            elements *= static_cast<size_t>(dim);
        }
        orva::client::TensorAttributes attributes;
        attributes.dataType = 1;
        tensors.emplace_back(attributes, elements * sizeof(float));
    }
    return tensors;
}

}  // namespace

int runDirectClient(const Control& control, const std::string& model) {
    setenv("ORT_DISABLE_TELEMETRY", "1", 1);
    Direct direct(model);
    control.send(Ready{direct.run()});
    return obeyRoundOrders(control, [&] { return direct.run(); });
}

int runServiceClient(const Control& control, const std::string& model, const std::string& directory,
                     Tensors how) {
    setenv("ORT_DISABLE_TELEMETRY", "1", 1);
    orva_platform::setServiceDirectory(directory);
    orva::client::serveWhileAwaiting();
    const std::vector<char> file = readFile(model);
    const auto [inputs, outputs] = [&] {
        const Direct shapes(model);
        return std::pair(tensorsOf(shapes.inputShapes()), tensorsOf(shapes.outputShapes()));
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
