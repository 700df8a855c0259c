/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "manager/ModelBuild.h"

#include <exception>
#include <set>
#include <stdexcept>
#include <string>

#include <orva/reference/ModelManager.h>
#include <orva/reference/NodeStatus.h>

#include "base/Log.h"
#include "compiled/CompiledModel.h"
#include "onnx/Engine.h"

namespace orva::reference {

namespace {

static_assert(ModelManager::kMostModels <= kMostCompiledModels, "what is built can be read");

// Names of graphs come from tools, and are often alike.
std::string NewName(const std::string& name, std::set<std::string>& taken) {
    constexpr size_t kMostName = 255;
    const std::string base = name.empty() ? "model" : name.substr(0, kMostName);
    std::string unique = base;
    for (unsigned number = 2; !taken.insert(unique).second; ++number) {
        unique = base + "-" + std::to_string(number);
    }
    return unique;
}

}  // namespace

int32_t BuildModels(int32_t buildParam, const std::vector<MappedBuffer>& sources,
                    const MappedBuffer& output, uint32_t& outputSize, Cancellation& cancellation) {
    if (sources.empty() || sources.size() > ModelManager::kMostModels ||
        output.address == nullptr) {
        ORVA_LOGE("%zu sources, an output of %u bytes", sources.size(), output.length);
        return kNodeBadRequest;
    }
    CompiledModelWriter writer(static_cast<uint8_t*>(output.address), output.length);
    std::set<std::string> names;
    for (size_t i = 0; i < sources.size(); ++i) {
        const auto* bytes = static_cast<const uint8_t*>(sources[i].address);
        // The client may change its bytes between one look at them and the next.
        const std::vector<uint8_t> source(bytes,
                                          bytes + (bytes != nullptr ? sources[i].length : 0));
        const ByteRange file{source.data(), source.size()};
        try {
            const Engine engine(file, {}, cancellation);
            const std::vector<uint8_t> optimised = Optimise(file, cancellation);
            writer.Append({NewName(engine.name(), names),
                           file,
                           {optimised.data(), optimised.size()},
                           engine.inputs(),
                           engine.outputs()});
        } catch (const std::exception& error) {
            throw std::runtime_error("source " + std::to_string(i) + ": " + error.what());
        }
    }
    outputSize = static_cast<uint32_t>(writer.Finish(buildParam, EngineVersion()));
    return kNodeOk;
}

}  // namespace orva::reference
