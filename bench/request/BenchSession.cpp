/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "request/BenchSession.h"

#include <utility>

#include "request/Region.h"

namespace orva_bench {

using android::sp;
using android::hardware::hidl_memory;

template <class Service, class Listener>
BenchSession<Service, Listener>::BenchSession(sp<Service> service, int32_t id,
                                              std::optional<int> polled)
        : service_(std::move(service)),
          listener_(new CompletionListener<Listener>(polled)),
          id_(id) {}

template <class Service, class Listener>
BenchSession<Service, Listener>::~BenchSession() {
    close();
}

template <class Service, class Listener>
bool BenchSession<Service, Listener>::open(const std::string& nodeType) {
    open_ = service_->Init(id_, nodeType, "", models_).withDefault(-1) == 0;
    return open_ && service_->SetListener(-id_, listener_).withDefault(-1) == 0 &&
           service_->SetListener(id_, nullptr).withDefault(-1) == 0;
}

template <class Service, class Listener>
void BenchSession<Service, Listener>::close() {
    if (open_) {
        (void)service_->UnInit(id_).isOk();
        open_ = false;
    }
}

template <class Service, class Listener>
bool BenchSession<Service, Listener>::prepare(size_t inputSize, TensorMemory memory) {
    constexpr TensorMemory kShared = TensorMemory::kShared;
    if (!makeRegion(kAttributeSize, kShared, &regions_[0]) ||
        !makeRegion(inputSize, memory, &regions_[1]) ||
        !makeRegion(kAttributeSize, kShared, &regions_[2]) ||
        !makeRegion(kOutputSize, memory, &regions_[3])) {
        return false;
    }
    const std::array<size_t, 4> sizes = {kAttributeSize, inputSize, kAttributeSize, kOutputSize};
    std::array<hidl_memory, 4> memories;
    for (size_t i = 0; i < sizes.size(); ++i) {
        memories[i] = hidl_memory("ashmem", regions_[i].get(), sizes[i]);
    }
    const char* const type =
            memory == TensorMemory::kIon ? "AINeuralNetworkIonBuffer" : "AINeuralNetworkBuffer";
    inputs_.resize(1);
    inputs_[0] = {memories[0], memories[1], type, 0};
    outputs_.resize(1);
    outputs_[0] = {memories[2], memories[3], type, 0};
    return true;
}

template <class Service, class Listener>
bool BenchSession<Service, Listener>::submit() {
    return service_->Process(id_, context_, inputs_, outputs_, 0).withDefault(-1) == 0;
}

template <class Service, class Listener>
bool BenchSession<Service, Listener>::request() {
    return submit() && listener_->await();
}

template class BenchSession<orva::hidl::IAIService_hidl, orva::hidl::IAIServiceListener>;
template class BenchSession<orva::hidl::IModelManagerService_hidl,
                            orva::hidl::IModelManagerListener>;

}  // namespace orva_bench
