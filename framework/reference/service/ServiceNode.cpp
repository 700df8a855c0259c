/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/ServiceNode.h>

#include <atomic>
#include <exception>
#include <utility>

#include <orva/reference/NodeStatus.h>

#include "base/Log.h"
#include "base/Mutex.h"
#include "executor/Strand.h"
#include "service/IdleTimer.h"

namespace orva::reference {

struct ServiceNode::Core {
    enum class Stage { kNew, kLoading, kReady };

    Core(std::unique_ptr<RequestHandler> handler, Executor& executor,
         std::shared_ptr<IdleTimer> timer)
            : handler(std::move(handler)),
              strand(std::make_shared<Strand>(executor)),
              timer(std::move(timer)) {}

    int32_t Run(Request& request) const;
    void Complete(Request& request);

    const std::unique_ptr<RequestHandler> handler;
    const std::shared_ptr<Strand> strand;
    const std::shared_ptr<IdleTimer> timer;
    // The node has gone: nobody waits for what its requests would compute.
    std::atomic<bool> closed{false};
    Mutex mutex;
    Stage stage ORVA_GUARDED_BY(mutex) = Stage::kNew;
    std::shared_ptr<AIServiceListener> listener ORVA_GUARDED_BY(mutex);
};

int32_t ServiceNode::Core::Run(Request& request) const {
    if (closed) {
        return kNodeStopped;
    }
    try {
        return handler->Run(request);
    } catch (const std::exception& error) {
        ORVA_LOGE("request failed: %s", OneLine(error.what()).c_str());
    } catch (...) {
        ORVA_LOGE("request failed");
    }
    return kNodeFailed;
}

void ServiceNode::Core::Complete(Request& request) {
    const int32_t result = Run(request);
    std::shared_ptr<AIServiceListener> receiver;
    {
        MutexLock lock(mutex);
        receiver = listener;
    }
    timer->RequestEnds();
    BlockingScope scope(strand->executor());
    receiver->OnProcessDone(request.context, result, request.outputs);
}

ServiceNode::ServiceNode(std::unique_ptr<RequestHandler> handler,
                         std::shared_ptr<Executor> executor)
        : executor_(std::move(executor)),
          core_(std::make_shared<Core>(std::move(handler), *executor_, idleTimer())) {}

ServiceNode::~ServiceNode() {
    core_->closed = true;
}

int32_t ServiceNode::Init(const AIConfig& config, std::vector<AIModelDescription>& models) {
    {
        MutexLock lock(core_->mutex);
        if (core_->stage != Core::Stage::kNew) {
            ORVA_LOGE("the node has been initialised already");
            return kNodeNotReady;
        }
        core_->stage = Core::Stage::kLoading;
    }
    int32_t status = kNodeFailed;
    try {
        status = core_->handler->Load(config, models);
    } catch (const std::exception& error) {
        ORVA_LOGE("initialisation failed: %s", OneLine(error.what()).c_str());
    } catch (...) {
        ORVA_LOGE("initialisation failed");
    }
    MutexLock lock(core_->mutex);
    core_->stage = status == kNodeOk ? Core::Stage::kReady : Core::Stage::kNew;
    return status;
}

int32_t ServiceNode::RegisterListener(const std::shared_ptr<AIServiceListener>& listener) {
    if (listener == nullptr) {
        ORVA_LOGE("the listener is null");
        return kNodeBadRequest;
    }
    // The old listener is let go of outside the lock.
    std::shared_ptr<AIServiceListener> replaced = listener;
    MutexLock lock(core_->mutex);
    core_->listener.swap(replaced);
    lock.Unlock();
    return kNodeOk;
}

int32_t ServiceNode::Process(AIContext& context,
                             const std::vector<std::shared_ptr<IAITensor>>& inputs,
                             const std::vector<std::shared_ptr<IAITensor>>& outputs,
                             int32_t param) {
    {
        MutexLock lock(core_->mutex);
        if (core_->stage != Core::Stage::kReady || core_->listener == nullptr) {
            ORVA_LOGE("a request before the node has %s",
                      core_->listener == nullptr ? "a listener" : "been initialised");
            return kNodeNotReady;
        }
    }
    auto request = std::make_shared<Request>(Request{context, inputs, outputs, param});
    try {
        const int32_t status = core_->handler->Check(*request);
        if (status != kNodeOk) {
            return status;
        }
    } catch (const std::exception& error) {
        ORVA_LOGE("request refused: %s", OneLine(error.what()).c_str());
        return kNodeFailed;
    }
    core_->timer->RequestBegins();
    if (core_->strand->Post([core = core_, request] { core->Complete(*request); })) {
        return kNodeOk;
    }
    ORVA_LOGE("a request after the shutdown");
    core_->timer->RequestEnds();
    return kNodeStopped;
}

std::chrono::nanoseconds ServiceNode::IdleTime() const {
    return idleTimer()->IdleTime();
}

}  // namespace orva::reference
