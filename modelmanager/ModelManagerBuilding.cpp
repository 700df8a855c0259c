/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Building models: the sources and the place for the result lie in the client's memory, which is
// mapped here as long as the model manager works on it.

#include <hwbinder/IPCThreadState.h>
#include <orva/ai/AiStatsLogBuilder.h>

#include "common/Log.h"
#include "common/ServiceId.h"
#include "common/ServiceTime.h"
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
        ORVA_LOGE(kManagerTag, "mmap failed!");
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

}  // namespace

Return<void> ModelManagerServiceHIDL::BuildModel(int32_t clientId, const hidl_string& context,
                                                 uint32_t buildParam,
                                                 const hidl_vec<ModelBuffer>& inputModels,
                                                 const ModelBuffer& outputModel,
                                                 BuildModel_cb _hidl_cb) {
    RequireCallback(_hidl_cb);
    AIContext buildContext;
    buildContext.Deserialize(context);
    const std::string processName = buildContext.GetPara("processName");
    // Before any check: what is refused is counted, too.
    ai::AiStatsLogBuilder stats;
    stats.Stats(IPCThreadState::self()->getCallingUid(), ai::AI_STATS_ENGINE_MODEL_MANAGER,
                "ORVA_ModelManager_buildModel", processName.c_str(), 0);

    const uint64_t inputSize = TotalSize(inputModels);
    if (inputSize > kMaxModelSize) {
        ORVA_LOGE(kManagerTag,
                  "ModelManagerServiceHIDL::BuildModel input model size [%llu] exceed limit: [%d]",
                  static_cast<unsigned long long>(inputSize), kMaxModelSize);
        activity.Refuse(Refusal::kBuildTooLarge);
        _hidl_cb(0, kStatusFailure);
        return Void();
    }
    if (outputModel.size > kMaxModelSize) {
        ORVA_LOGE(kManagerTag,
                  "ModelManagerServiceHIDL::BuildModel output model size [%llu] exceed limit: [%d]",
                  static_cast<unsigned long long>(outputModel.size), kMaxModelSize);
        activity.Refuse(Refusal::kBuildTooLarge);
        _hidl_cb(0, kStatusFailure);
        return Void();
    }

    const std::string serviceId = MakeServiceId(clientId);
    Session session;
    {
        MutexLock lock(managerMutex);
        session = FindSession(serviceId);
        if (session.manager == nullptr) {
            ORVA_LOGE(kManagerTag,
                      "ModelManagerServiceHIDL::BuildModel Cannot find service instance with "
                      "pid:clientId[%s].",
                      serviceId.c_str());
        }
    }
    if (session.manager == nullptr) {
        activity.Refuse(Refusal::kNoSession);
        _hidl_cb(0, kStatusFailure);
        return Void();
    }
    UpdateServiceTime(serviceId, *session.activity);
    session.activity->RequestStarts();

    // What comes before the answer to the client and what after it differs from path to path, and
    // is meant: only a client that is told of a success may count on its regions being let go.
    std::vector<SharedMapping> inputs;
    if (!MapAll(inputModels, inputs)) {
        inputs.clear();
        session.activity->RequestIsRefused(Refusal::kBuildRegion);
        _hidl_cb(0, kStatusFailure);
        ORVA_LOGE(kManagerTag, "ModelManagerServiceHIDL::BuildModel tiro input ashmem failed!");
        return Void();
    }
    SharedMapping output;
    if (!gMmapBuffer(outputModel, output)) {
        session.activity->RequestIsRefused(Refusal::kBuildRegion);
        _hidl_cb(0, kStatusFailure);
        inputs.clear();
        ORVA_LOGE(kManagerTag, "ModelManagerServiceHIDL::BuildModel tiro output ashmem failed!");
        return Void();
    }

    std::vector<MappedBuffer> inputBuffers;
    inputBuffers.reserve(inputs.size());
    for (const SharedMapping& input : inputs) {
        inputBuffers.push_back(ToBuffer(input));
    }
    uint32_t outputModelSize = kUntoldModelSize;
    const int32_t status = session.manager->BuildModel(
            static_cast<int32_t>(buildParam), inputBuffers, ToBuffer(output), outputModelSize);
    if (status != kStatusSuccess) {
        session.activity->RequestIsRefused(Refusal::kBuild);
        _hidl_cb(0, kStatusFailure);
        inputs.clear();
        output.Reset();
        ORVA_LOGE(kManagerTag, "ModelManagerServiceHIDL::BuildModel Build model failed!");
        return Void();
    }
    inputs.clear();
    output.Reset();
    session.activity->RequestIsDone();
    _hidl_cb(outputModelSize, kStatusSuccess);
    ORVA_LOGI(kManagerTag, "Build model success.");
    return Void();
}

}  // namespace orva::hidl
