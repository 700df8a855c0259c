/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "request/BenchSession.h"

#include <semaphore.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include <cutils/ashmem.h>
#include <ion/ion.h>

#include "transport/IonMapLength.h"

namespace orva_bench {

using android::sp;
using android::hardware::hidl_memory;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using orva::hidl::AITensorHandle;
using orva::hidl::IAIServiceListener;
using orva::hidl::NativeHandle;
using orva::hidl::UniqueFd;

class CompletionListener : public IAIServiceListener {
public:
    CompletionListener() { sem_init(&completed_, 0, 0); }
    ~CompletionListener() override { sem_destroy(&completed_); }

    Return<void> OnProcessDone(int32_t result, const hidl_string&,
                               const hidl_vec<AITensorHandle>& outputs) override {
        ok_ = result == 0 && outputs.size() == 1 && outputs[0].data.size() == kOutputSize;
        sem_post(&completed_);
        return Void();
    }

    bool await() {
        while (sem_wait(&completed_) != 0 && errno == EINTR) {
        }
        return ok_;
    }

private:
    sem_t completed_;
    bool ok_ = false;  // handed over by the semaphore
};

namespace {

UniqueFd makeIonBuffer(size_t length) {
    const int device = ion_open();
    int buffer = -1;
    ion_alloc_fd(device, length, 0, 1, 0, &buffer);
    ion_close(device);
    return UniqueFd(buffer);
}

// A region whose pages exist, as after a client has written its data.
bool makeRegion(size_t size, TensorMemory memory, NativeHandle* handle) {
    const bool ion = memory == TensorMemory::kIon;
    UniqueFd fd = ion ? makeIonBuffer(orva::hidl::IonMapLength(size))
                      : UniqueFd(ashmem_create_region("orva-bench", size));
    void* const bytes = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd.Get(), 0);
    if (bytes == MAP_FAILED) {
        return false;
    }
    std::memset(bytes, 1, size);
    munmap(bytes, size);
    return handle->Adopt(std::move(fd));
}

}  // namespace

BenchSession::BenchSession(sp<orva::hidl::IAIService_hidl> service, int32_t id)
        : service_(std::move(service)), listener_(new CompletionListener), id_(id) {}

BenchSession::~BenchSession() {
    close();
}

bool BenchSession::open(const std::string& nodeType) {
    open_ = service_->Init(id_, nodeType, "{}", {}).withDefault(-1) == 0;
    return open_ && service_->SetListener(-id_, listener_).withDefault(-1) == 0 &&
           service_->SetListener(id_, nullptr).withDefault(-1) == 0;
}

void BenchSession::close() {
    if (open_) {
        (void)service_->UnInit(id_).isOk();
        open_ = false;
    }
}

bool BenchSession::prepare(size_t inputSize, TensorMemory memory) {
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
        memories[i] = hidl_memory("ashmem", regions_[i].Get(), sizes[i]);
    }
    const char* const type =
            memory == TensorMemory::kIon ? "AINeuralNetworkIonBuffer" : "AINeuralNetworkBuffer";
    inputs_.resize(1);
    inputs_[0] = {memories[0], memories[1], type, 0};
    outputs_.resize(1);
    outputs_[0] = {memories[2], memories[3], type, 0};
    return true;
}

bool BenchSession::submit() {
    return service_->Process(id_, context_, inputs_, outputs_, 0).withDefault(-1) == 0;
}

bool BenchSession::request() {
    return submit() && listener_->await();
}

}  // namespace orva_bench
