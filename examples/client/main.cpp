/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 *
 * One request: numbers go to a node in shared memory, and come back the same way.
 */
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include <client/lib/Session.h>
#include <orva_platform/Runtime.h>

using namespace orva::client;

namespace {

constexpr int32_t kFloat32 = 1;
constexpr int32_t kSessionId = 1;  // this process's own number for its session

// A tensor in memory that the service maps too, so its bytes are never sent.
Tensor makeTensor(const std::vector<float>& values) {
    TensorAttributes attributes;
    attributes.dataType = kFloat32;
    attributes.width = static_cast<int32_t>(values.size());
    Tensor tensor(attributes, values.size() * sizeof(float));
    std::memcpy(tensor.data(), values.data(), tensor.size());
    return tensor;
}

void print(const char* name, const Tensor& tensor) {
    std::printf("%s:", name);
    for (size_t at = 0; at < tensor.size(); at += sizeof(float)) {
        float value;
        std::memcpy(&value, tensor.data() + at, sizeof value);
        std::printf(" %g", static_cast<double>(value));
    }
    std::printf("\n");
}

void run(const std::string& node, const std::string& config) {
    const std::vector<float> numbers = {1, 2, 3, 4};
    std::vector<Tensor> inputs;
    std::vector<Tensor> outputs;
    inputs.push_back(makeTensor(numbers));
    outputs.push_back(makeTensor(std::vector<float>(numbers.size())));

    // The session stays open as long as the object; it takes any number of requests.
    Session session(findService(), kSessionId, node, config, {} /* no model */);
    session.send("" /* no context */, inputs, outputs);
    const Completion result = session.await();
    requireSuccess(result.result, "the request");

    print("input", inputs[0]);
    print("output", outputs[0]);
}

}  // namespace

int main(int argc, char** argv) {
    int status = 0;
    try {
        run(argc > 1 ? argv[1] : "echo", argc > 2 ? argv[2] : "");
    } catch (const ServiceError& error) {
        std::fprintf(stderr, "client: %s\n", error.explained().c_str());
        status = 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "client: %s\n", error.what());
        status = 1;
    }
    orva_platform::stop();  // ends the threads that callbacks come on
    return status;
}
