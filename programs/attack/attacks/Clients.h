/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <android-base/unique_fd.h>

#include "client/lib/ManagerSession.h"
#include "client/lib/Session.h"

namespace orva::attack {

using vendor::selkat::hardware::ai::V2_0::AITensorHandle;
using vendor::selkat::hardware::ai::V2_0::IAIServiceListener;
using vendor::selkat::hardware::ai::V2_0::IModelManagerListener;
using vendor::selkat::hardware::ai::V2_0::ModelBuffer;

// A client's two services.
struct Services {
    android::sp<client::AIService> ai = client::findService();
    android::sp<client::ModelManagerService> managers =
            client::findService<client::ModelManagerService>();
};

// A listener that does what it is told to, on the thread of the runtime's that calls it.
template <typename Interface>
class Listener : public Interface {
public:
    explicit Listener(std::function<void()> act) : act_(std::move(act)) {}
    android::hardware::Return<void> OnProcessDone(
            int32_t, const android::hardware::hidl_string&,
            const android::hardware::hidl_vec<AITensorHandle>&) override {
        act_();
        return android::hardware::Void();
    }

private:
    const std::function<void()> act_;
};

// Opens a session all the way; what is called is the listener's act.
void openEcho(const Services& services, int32_t number, std::function<void()> act);
// The same on a model manager, with a model of a 4 x 4 matrix.
void openManager(const Services& services, int32_t number, std::function<void()> act);
// Sends the latter a request; its status.
int32_t askManager(const Services& services, int32_t number);

// One tensor of a size over any descriptor, which is duplicated. The attributes are in order.
class Sent {
public:
    Sent(int descriptor, uint64_t size);
    ~Sent();
    Sent(const Sent&) = delete;
    Sent& operator=(const Sent&) = delete;

    const android::hardware::hidl_vec<AITensorHandle>& tensors() const { return tensors_; }
    ModelBuffer model() const;

private:
    client::SharedRegion attributes_;
    native_handle_t* handle_;
    uint64_t size_;
    android::hardware::hidl_vec<AITensorHandle> tensors_;
};

// Several threads that do the same.
void onThreads(size_t count, const std::function<void()>& work);

// Does it again and again.
void repeat(std::chrono::seconds length, const std::function<void()>& work);

}  // namespace orva::attack
