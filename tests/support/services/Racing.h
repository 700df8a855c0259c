/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <orva/AIConfig.h>
#include <orva/AIContext.h>
#include <orva/AIModelDescription.h>
#include <orva/IAITensor.h>

#include "common/Interfaces.h"

namespace orva::hidl::test {

// Threads that complete requests whenever they get to it, as a framework's do.
class Completer {
public:
    explicit Completer(size_t count) {
        while (threads_.size() < count) {
            threads_.emplace_back([this] { Run(); });
        }
    }
    ~Completer() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            ending_ = true;
        }
        changed_.notify_all();
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }

    void Post(std::function<void()> completion) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            pending_.push_back(std::move(completion));
        }
        changed_.notify_one();
    }

private:
    void Run() {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            changed_.wait(lock, [this] { return ending_ || !pending_.empty(); });
            if (pending_.empty()) {
                return;
            }
            const std::function<void()> completion = std::move(pending_.front());
            pending_.pop_front();
            lock.unlock();
            completion();
            lock.lock();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> pending_;
    bool ending_ = false;
    std::vector<std::thread> threads_;
};

// A framework object that completes each request there.
template <typename Base, typename Listener>
class RacingOf : public Base {
public:
    using Tensors = std::vector<std::shared_ptr<IAITensor>>;

    explicit RacingOf(Completer& completer) : completer_(completer) {}

    int32_t Init(const AIConfig&, std::vector<AIModelDescription>&) override { return 0; }
    int32_t RegisterListener(const std::shared_ptr<Listener>& listener) override {
        std::lock_guard<std::mutex> lock(mutex_);
        listener_ = listener;
        return 0;
    }
    int32_t Process(AIContext& context, const Tensors&, const Tensors& outputs, int32_t) override {
        std::lock_guard<std::mutex> lock(mutex_);
        if (listener_ == nullptr) {
            return 3;
        }
        completer_.Post(
                [=, listener = listener_] { listener->OnProcessDone(context, 0, outputs); });
        return 0;
    }

private:
    Completer& completer_;
    std::mutex mutex_;
    std::shared_ptr<Listener> listener_;
};

// A client that counts its results, each of which has one output.
template <typename Interface>
class CountingListenerOf : public Interface {
public:
    android::hardware::Return<void> OnProcessDone(
            int32_t, const android::hardware::hidl_string&,
            const android::hardware::hidl_vec<AITensorHandle>& outputs) override {
        delivered += outputs.size() == 1 ? 1 : 0;
        if (during) {
            during();
        }
        return android::hardware::Void();
    }
    android::hardware::Return<bool> linkToDeath(
            const android::sp<android::hardware::hidl_death_recipient>& newRecipient,
            uint64_t) override {
        recipient = newRecipient;
        return true;
    }
    android::hardware::Return<bool> unlinkToDeath(
            const android::sp<android::hardware::hidl_death_recipient>&) override {
        return true;
    }

    std::function<void()> during;
    std::atomic<size_t> delivered{0};
    android::sp<android::hardware::hidl_death_recipient> recipient;
};

}  // namespace orva::hidl::test
