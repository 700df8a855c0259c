/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 *
 * A node of one's own: each output is its input times a number, which a session's configuration
 * names.
 */
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <android/log.h>
#include <orva/AINeuralNetworkBuffer.h>
#include <orva/reference/BufferView.h>
#include <orva/reference/NodeLibrary.h>
#include <orva/reference/NodeRegistry.h>
#include <orva/reference/NodeStatus.h>
#include <orva/reference/RequestHandler.h>
#include <orva/reference/ServiceNode.h>

using namespace orva;
using namespace orva::reference;

namespace {

// Why a session or a request is refused. The client gets the status, the log the reason.
int32_t refuse(int32_t status, const char* why) {
    __android_log_print(ANDROID_LOG_ERROR, "gain", "%s", why);
    return status;
}

class GainNode : public RequestHandler {
public:
    // Once for each session, when it is opened.
    int32_t Load(const AIConfig& config, std::vector<AIModelDescription>&, Cancellation&) override {
        const std::string text = config.GetPara("gain");
        char* end = nullptr;
        gain_ = std::strtof(text.c_str(), &end);
        if (text.empty() || *end != '\0') {
            return refuse(kNodeBadConfig, "the parameter gain is no number");
        }
        return kNodeOk;
    }

    // Before a request is taken. A client may send anything.
    int32_t Check(const Request& request) const override {
        if (request.inputs.size() != request.outputs.size()) {
            return refuse(kNodeBadRequest, "there must be as many outputs as inputs");
        }
        for (size_t i = 0; i < request.inputs.size(); ++i) {
            BufferView input;
            BufferView output;
            if (!ViewBuffer(request.inputs[i], input) || !ViewBuffer(request.outputs[i], output) ||
                input.dataType != AI_DATA_TYPE_FLOAT32 || input.size != output.size ||
                input.size % sizeof(float) != 0) {
                return refuse(kNodeBadRequest, "inputs and outputs must be float32, of one size");
            }
        }
        return kNodeOk;
    }

    // Later, on one of the framework's threads; one request of a session at a time. The tensors
    // are the client's own memory: nothing has been copied, and nothing will be.
    int32_t Run(Request& request, Cancellation& cancellation) override {
        for (size_t i = 0; i < request.inputs.size() && !cancellation.IsCancelled(); ++i) {
            BufferView input;
            BufferView output;
            ViewBuffer(request.inputs[i], input);
            ViewBuffer(request.outputs[i], output);
            const auto* from = reinterpret_cast<const float*>(input.data);
            auto* to = reinterpret_cast<float*>(output.data);
            for (size_t at = 0; at < input.size / sizeof(float); ++at) {
                to[at] = from[at] * gain_;
            }
        }
        return kNodeOk;
    }

private:
    float gain_ = 1;
};

}  // namespace

const NodeLibrary orva_node_library = {
        kNodeLibraryVersion,
        [] {
            RegisterNode("gain", [] {
                return std::make_shared<ServiceNode>(std::make_unique<GainNode>());
            });
            DescribeNode(
                    "gain",
                    "Tensors of float32, and for each an output of its size. Parameter: gain.");
        },
};
