/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "CallDecoder.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>

#include <fcntl.h>
#include <hidl/HidlSupport.h>
#include <unistd.h>
#include <utils/StrongPointer.h>
#include <vendor/selkat/hardware/ai/2.0/types.h>

namespace orva::host {

namespace {

using android::hardware::hidl_memory;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using nlohmann::ordered_json;
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;
using vendor::selkat::hardware::ai::V2_0::ModelBuffer;
using vendor::selkat::hardware::ai::V2_0::TensorDimension;

// Of a text, and of a list.
constexpr size_t kMostBytes = 1024;
constexpr size_t kMostItems = 16;

std::string cut(const hidl_string& text, size_t most) {
    return text.size() <= most ? std::string(text) : std::string(text.c_str(), most) + "...";
}

template <typename Item, typename Decode>
ordered_json list(const hidl_vec<Item>& items, const Decode& decode) {
    ordered_json shown = ordered_json::array();
    for (size_t i = 0; i < std::min(items.size(), kMostItems); ++i) {
        shown.push_back(decode(items[i]));
    }
    if (items.size() > kMostItems) {
        shown.push_back({{"more", items.size() - kMostItems}});
    }
    return shown;
}

// Nothing where the peer has sent no memory file, as services then refuse it, too.
ordered_json recordOf(const hidl_memory& memory) {
    constexpr std::array<const char*, 5> kNames = {"dataType", "height", "width", "number",
                                                   "channel"};
    std::array<int32_t, kNames.size()> numbers;
    const native_handle_t* const handle = memory.handle();
    if (handle == nullptr || handle->numFds < 1 || fcntl(handle->data[0], F_GET_SEALS) < 0 ||
        pread(handle->data[0], numbers.data(), sizeof numbers, 0) != sizeof numbers) {
        return nullptr;
    }
    ordered_json record;
    for (size_t i = 0; i < kNames.size(); ++i) {
        record[kNames[i]] = numbers[i];
    }
    return record;
}

ordered_json tensorOf(const AITensorHandle& tensor) {
    ordered_json shown = {{"type", cut(tensor.type, 64)}, {"bytes", tensor.data.size()}};
    if (ordered_json record = recordOf(tensor.attr); !record.is_null()) {
        shown["record"] = std::move(record);
    }
    return shown;
}

ordered_json modelOf(const ModelBuffer& model) {
    return {{"description", cut(model.description, kMostBytes)},
            {"bytes", model.size},
            {"region", model.modelHandle.getNativeHandle() != nullptr}};
}

// How the value behind a pointer is shown.
using Decoder = ordered_json (*)(const void* value);

template <typename Number>
ordered_json number(const void* value) {
    return *static_cast<const Number*>(value);
}

ordered_json text(const void* value) {
    return cut(*static_cast<const hidl_string*>(value), kMostBytes);
}

ordered_json model(const void* value) {
    return modelOf(*static_cast<const ModelBuffer*>(value));
}

ordered_json models(const void* value) {
    return list(*static_cast<const hidl_vec<ModelBuffer>*>(value), modelOf);
}

ordered_json tensors(const void* value) {
    return list(*static_cast<const hidl_vec<AITensorHandle>*>(value), tensorOf);
}

ordered_json dimensions(const void* value) {
    return list(*static_cast<const hidl_vec<TensorDimension>*>(value), [](const auto& shape) {
        return ordered_json{shape.dim0, shape.dim1, shape.dim2, shape.dim3};
    });
}

// Strong pointers all look alike; what this one points to does not matter.
ordered_json listener(const void* value) {
    return static_cast<const android::sp<android::RefBase>*>(value)->get() != nullptr;
}

using Fields = std::vector<std::pair<const char*, Decoder>>;
struct Method {
    Fields arguments;
    Fields results;
};

const std::map<std::string, Method>& methods() {
    static const auto* const kMethods = [] {
        constexpr Decoder kInt = number<int32_t>, kUnsigned = number<uint32_t>;
        const Fields status = {{"status", kInt}}, result = {{"result", kInt}};
        const Method process = {{{"clientId", kInt},
                                 {"context", text},
                                 {"inputs", tensors},
                                 {"outputs", tensors},
                                 {"param", kInt}},
                                status};
        const Method setListener = {{{"clientId", kInt}, {"listener", listener}}, status};
        const Method unInit = {{{"clientId", kInt}}, {}};
        const Method ask = {{{"clientId", kInt}}, result};
        const Method done = {{{"result", kInt}, {"context", text}, {"outputs", tensors}}, {}};
        const Fields open = {
                {"clientId", kInt}, {"type", text}, {"config", text}, {"models", models}};
        const std::string general = "IAIService::", manager = "IModelManagerService::";
        return new std::map<std::string, Method>{
                {general + "Init", {open, status}},
                {general + "Process", process},
                {general + "SetListener", setListener},
                {general + "UnInit", unInit},
                {"IAIServiceListener::OnProcessDone", done},
                {manager + "Init", {open, status}},
                {manager + "Process", process},
                {manager + "SetListener", setListener},
                {manager + "UnInit", unInit},
                {manager + "GetMaxUsedMemory", ask},
                {manager + "SetInputsAndOutputs",
                 {{{"clientId", kInt},
                   {"context", text},
                   {"inputs", tensors},
                   {"outputs", tensors}},
                  status}},
                {manager + "StartCompute", {{{"clientId", kInt}, {"context", text}}, status}},
                {manager + "GetModelIOTensorDim",
                 {{{"clientId", kInt}, {"modelName", text}},
                  {{"inputDims", dimensions}, {"outputDims", dimensions}, {"result", kInt}}}},
                {manager + "CheckModelValid", ask},
                {manager + "CheckModelCompatibility",
                 {{{"clientId", kInt}, {"model", model}}, result}},
                {manager + "BuildModel",
                 {{{"clientId", kInt},
                   {"context", text},
                   {"buildParam", kUnsigned},
                   {"inputModels", models},
                   {"outputModel", model}},
                  {{"outputModelSize", kUnsigned}, {"result", kInt}}}},
                {"IModelManagerListener::OnProcessDone", done},
        };
    }();
    return *kMethods;
}

ordered_json decode(const std::string& interface, const std::string& method, Fields Method::*which,
                    const std::vector<void*>& pointers) {
    ordered_json shown = ordered_json::object();
    const auto found = methods().find(interface + "::" + method);
    // Another version of an interface could have more.
    if (found != methods().end() && (found->second.*which).size() == pointers.size()) {
        size_t i = 0;
        for (const auto& [name, decoder] : found->second.*which) {
            shown[name] = decoder(pointers[i++]);
        }
    }
    return shown;
}

}  // namespace

ordered_json argumentsOf(const std::string& interface, const std::string& method,
                         const std::vector<void*>& pointers) {
    return decode(interface, method, &Method::arguments, pointers);
}

ordered_json resultsOf(const std::string& interface, const std::string& method,
                       const std::vector<void*>& pointers) {
    return decode(interface, method, &Method::results, pointers);
}

}  // namespace orva::host
