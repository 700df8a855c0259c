/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "request/ManagerSession.h"

#include "request/BenchNode.h"
#include "request/Region.h"

namespace orva_bench {

bool ManagerSession::prepareModel(size_t size) {
    if (size == 0) {
        return true;
    }
    if (!makeRegion(size, TensorMemory::kShared, &modelRegion_)) {
        return false;
    }
    models_.resize(1);
    models_[0].modelHandle = modelRegion_.get();
    models_[0].size = size;
    return true;
}

bool ManagerSession::reopen() {
    close();
    return open(kPooledNode);
}

bool ManagerSession::bindAndStart() {
    return service_->SetInputsAndOutputs(id_, context_, inputs_, outputs_).withDefault(-1) == 0 &&
           service_->StartCompute(id_, context_).withDefault(-1) == 0 && listener_->await();
}

bool ManagerSession::prepareBuild(size_t size) {
    sources_.resize(kSources);
    for (size_t i = 0; i < buildRegions_.size(); ++i) {
        orva::hidl::ModelBuffer& model = i < kSources ? sources_[i] : built_;
        model.size = i < kSources ? size / kSources : size;
        if (!makeRegion(model.size, TensorMemory::kShared, &buildRegions_[i])) {
            return false;
        }
        model.modelHandle = buildRegions_[i].get();
    }
    return true;
}

bool ManagerSession::build() {
    bool ok = false;
    const bool answered = service_->BuildModel(id_, context_, 0, sources_, built_,
                                               [&](uint32_t size, int32_t result) {
                                                   ok = result == 0 && size == built_.size;
                                               })
                                  .isOk();
    return answered && ok;
}

}  // namespace orva_bench
