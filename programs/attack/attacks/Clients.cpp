/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "Clients.h"

#include <fcntl.h>

#include <thread>

#include "SlowModel.h"

namespace orva::attack {

using android::sp;

namespace {

constexpr int64_t kSmallSide = 4;

}  // namespace

void openEcho(const Services& services, int32_t number, std::function<void()> act) {
    const sp<IAIServiceListener> listener = new Listener<IAIServiceListener>(std::move(act));
    services.ai->Init(number, "echo", "", {}).isOk();
    services.ai->SetListener(-number, listener).isOk();
    services.ai->SetListener(number, nullptr).isOk();
}

void openManager(const Services& services, int32_t number, std::function<void()> act) {
    const sp<IModelManagerListener> listener = new Listener<IModelManagerListener>(std::move(act));
    std::vector<client::Model> models;
    models.push_back(productModel(kSmallSide, 1));
    services.managers->Init(number, "", "", client::buffersOf(models)).isOk();
    services.managers->SetListener(-number, listener).isOk();
    services.managers->SetListener(number, nullptr).isOk();
}

int32_t askManager(const Services& services, int32_t number) {
    std::vector<client::Tensor> inputs, outputs;
    inputs.push_back(squareTensor(kSmallSide));
    outputs.push_back(squareTensor(kSmallSide));
    return services.managers
            ->Process(number, "", client::handlesOf(inputs), client::handlesOf(outputs), 0)
            .withDefault(-1);
}

Sent::Sent(int descriptor, uint64_t size)
        : attributes_("attributes", sizeof(client::TensorAttributes)),
          handle_(native_handle_create(1, 0)),
          size_(size) {
    handle_->data[0] = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    // As a tensor of bytes has them.
    *reinterpret_cast<client::TensorAttributes*>(attributes_.data()) = {};
    tensors_.resize(1);
    tensors_[0].type = client::Tensor::kBuffer;
    tensors_[0].data = android::hardware::hidl_memory("ashmem", handle_, size);
    tensors_[0].attr = attributes_.memory();
}

Sent::~Sent() {
    native_handle_close(handle_);
    native_handle_delete(handle_);
}

ModelBuffer Sent::model() const {
    ModelBuffer model;
    model.modelHandle = handle_;
    model.size = static_cast<decltype(model.size)>(size_);
    return model;
}

void onThreads(size_t count, const std::function<void()>& work) {
    std::vector<std::thread> threads;
    for (size_t i = 0; i < count; ++i) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void repeat(std::chrono::seconds length, const std::function<void()>& work) {
    const auto end = std::chrono::steady_clock::now() + length;
    while (std::chrono::steady_clock::now() < end) {
        work();
    }
}

}  // namespace orva::attack
