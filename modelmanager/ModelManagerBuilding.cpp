/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Building models: the sources and the place for the result lie in the client's memory, which is
// mapped here as long as the model manager works on it.

#include <cstdint>
#include <string>
#include <vector>

#include <hwbinder/IPCThreadState.h>
#include <orva/MappedBuffer.h>
#include <orva/ai/AiStatsLogBuilder.h>

#include "common/Log.h"
#include "common/ServiceId.h"
#include "common/SharedMapping.h"
#include "common/StatusCodes.h"
#include "modelmanager/ModelManagerServiceHIDL.h"
#include "modelmanager/RequireCallback.h"

namespace orva::hidl {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::IPCThreadState;
using android::hardware::Return;
using android::hardware::Void;

namespace {

constexpr const char* kLogTag = ModelManagerServiceHIDL::kLogTag;

// 200 MiB, for all sources together and for the result. Unit: bytes.
constexpr int32_t kMaxModelSize = 0xC800000;

// What clients are told of a model manager that names no size.
constexpr uint32_t kUntoldModelSize = 100;

// Bytes of all regions. It may wrap around; each region is still checked when it is mapped.
uint64_t TotalSize(const hidl_vec<ModelBuffer>& models) {
    uint64_t total = 0;
    for (const ModelBuffer& model : models) {
        total += model.size;
    }
    return total;
}

// Maps one region; no region is mapped where the client gave none. The name is the one in the log.
bool gMmapBuffer(const ModelBuffer& model, SharedMapping& mapping) {
    const native_handle_t* const handle = model.modelHandle.getNativeHandle();
    if (handle == nullptr) {
        return true;
    }
    mapping = SharedMapping::MapReceived(handle, model.size);
    if (!mapping) {
        ORVA_LOGE("mmap failed!");
        return false;
    }
    return true;
}

// Maps the regions in order, up to the first that cannot be mapped.
bool MapAll(const hidl_vec<ModelBuffer>& models, std::vector<SharedMapping>& mappings) {
    for (const ModelBuffer& model : models) {
        if (!gMmapBuffer(model, mappings.emplace_back())) {
            return false;
        }
    }
    return true;
}

// How the framework is told of a mapping. Its length has 32 bits there, so it is never what is
// unmapped by.
MappedBuffer ToBuffer(const SharedMapping& mapping) {
    return {mapping.Address(), static_cast<uint32_t>(mapping.Length())};
}

std::vector<MappedBuffer> ToBuffers(const std::vector<SharedMapping>& mappings) {
    std::vector<MappedBuffer> buffers;
    buffers.reserve(mappings.size());
    for (const SharedMapping& mapping : mappings) {
        buffers.push_back(ToBuffer(mapping));
    }
    return buffers;
}

}  // namespace

Return<void> ModelManagerServiceHIDL::BuildModel(int32_t clientId, const hidl_string& context,
                                                 uint32_t buildParam,
                                                 const hidl_vec<ModelBuffer>& inputModels,
                                                 const ModelBuffer& outputModel,
                                                 BuildModel_cb _hidl_cb) {
    BuildAndAnswer(clientId, context, static_cast<int32_t>(buildParam), inputModels, outputModel,
                   _hidl_cb);
    RequireCallback(_hidl_cb);
    return Void();
}

void ModelManagerServiceHIDL::BuildAndAnswer(int32_t clientId, const std::string& context,
                                             int32_t buildParam,
                                             const hidl_vec<ModelBuffer>& inputModels,
                                             const ModelBuffer& outputModel,
                                             const BuildModel_cb& answer) {
    const char* const method = "BuildModel";
    AIContext buildContext;
    buildContext.Deserialize(context);
    const std::string processName = buildContext.GetPara("processName");
    // Before any check: what is refused is counted, too.
    ai::AiStatsLogBuilder stats;
    stats.Stats(IPCThreadState::self()->getCallingUid(), ai::AI_STATS_ENGINE_MODEL_MANAGER,
                "ORVA_ModelManager_buildModel", processName.c_str(), 0);

    const std::string serviceId = MakeServiceId(clientId);
    const auto tell = [&](uint32_t size, int32_t status) {
        if (answer != nullptr) {
            answer(size, status);
        }
    };
    const uint64_t inputSize = TotalSize(inputModels);
    if (inputSize > kMaxModelSize) {
        activity_.Refuse(
                ORVA_IN(method), kStatusFailure, serviceId,
                "ModelManagerServiceHIDL::BuildModel input model size [%llu] exceed limit: [%d]",
                static_cast<unsigned long long>(inputSize), kMaxModelSize);
        tell(0, kStatusFailure);
        return;
    }
    if (outputModel.size > kMaxModelSize) {
        activity_.Refuse(
                ORVA_IN(method), kStatusFailure, serviceId,
                "ModelManagerServiceHIDL::BuildModel output model size [%llu] exceed limit: [%d]",
                static_cast<unsigned long long>(outputModel.size), kMaxModelSize);
        tell(0, kStatusFailure);
        return;
    }

    const ManagerSession session =
            TakeSession(serviceId, ORVA_IN(method),
                        "ModelManagerServiceHIDL::BuildModel Cannot find service instance with "
                        "pid:clientId[%s].",
                        kStatusFailure);
    if (!session) {
        tell(0, kStatusFailure);
        return;
    }
    UpdateServiceTime(serviceId, *session.record);

    // What comes before the answer to the client and what after it differs from path to path, and
    // is meant: only a client that is told of a success may count on its regions being let go.
    session.record->RequestBegins();
    const auto fail = [&] {
        session.record->RequestEnds(false);
        tell(0, kStatusFailure);
    };
    std::vector<SharedMapping> inputs;
    SharedMapping output;
    if (!MapAll(inputModels, inputs)) {
        inputs.clear();
        fail();
        activity_.Refuse(ORVA_IN(method), kStatusFailure, serviceId,
                         "ModelManagerServiceHIDL::BuildModel tiro input ashmem failed!");
        return;
    }
    if (!gMmapBuffer(outputModel, output)) {
        fail();
        inputs.clear();
        activity_.Refuse(ORVA_IN(method), kStatusFailure, serviceId,
                         "ModelManagerServiceHIDL::BuildModel tiro output ashmem failed!");
        return;
    }
    uint32_t outputModelSize = kUntoldModelSize;
    const int32_t status = session.framework->BuildModel(buildParam, ToBuffers(inputs),
                                                         ToBuffer(output), outputModelSize);
    if (status != kStatusSuccess) {
        fail();
        inputs.clear();
        output.Reset();
        activity_.Refuse(ORVA_IN(method), kStatusFailure, serviceId,
                         "ModelManagerServiceHIDL::BuildModel Build model failed!");
        return;
    }
    inputs.clear();
    output.Reset();
    session.record->RequestEnds(true);
    tell(outputModelSize, kStatusSuccess);
    ORVA_LOG_FROM(ORVA_IN(method), ANDROID_LOG_INFO, kLogTag, "Build model success.");
}

}  // namespace orva::hidl
