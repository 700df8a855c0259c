/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/ServiceNode.h>

#include <utility>

#include <orva/reference/NodeStatus.h>

#include "base/Guarded.h"
#include "base/Log.h"
#include "executor/RequestQueue.h"
#include "executor/Work.h"
#include "service/IdleTimer.h"
#include "service/InitOnce.h"

namespace orva::reference {

struct ServiceNode::Core {
    Core(std::unique_ptr<RequestHandler> handler, Executor& executor,
         std::shared_ptr<IdleTimer> timer)
            : handler(std::move(handler)),
              queue(std::make_shared<RequestQueue<AIServiceListener>>(executor, "IAIService")),
              timer(std::move(timer)) {}

    int32_t Run(Request& request, Cancellation& cancellation) const {
        const struct Ending {
            ~Ending() { timer.RequestEnds(); }
            IdleTimer& timer;
        } ending{*timer};
        return handler->Run(request, cancellation);
    }

    const std::unique_ptr<RequestHandler> handler;
    const std::shared_ptr<RequestQueue<AIServiceListener>> queue;
    const std::shared_ptr<IdleTimer> timer;
    InitOnce init;
};

ServiceNode::ServiceNode(std::unique_ptr<RequestHandler> handler,
                         std::shared_ptr<Executor> executor)
        : executor_(std::move(executor)),
          core_(std::make_shared<Core>(std::move(handler), *executor_, idleTimer())) {}

ServiceNode::~ServiceNode() {
    core_->queue->Close();
}

int32_t ServiceNode::Init(const AIConfig& config, std::vector<AIModelDescription>& models) {
    const LogSubject subject(core_->queue->Session());
    return core_->init.Try([&] {
        Work work(core_->queue->client(), LoadTimeout());
        return work.Outcome(Guarded("loading failed", [&] {
            const int32_t loaded = core_->handler->Load(config, models, work.cancellation());
            if (loaded == kNodeOk) {
                core_->queue->SetConcurrency(core_->handler->Concurrency());
                core_->queue->TellTimes(config.GetPara("times") == "true");
            }
            return loaded;
        }));
    });
}

int32_t ServiceNode::RegisterListener(const std::shared_ptr<AIServiceListener>& listener) {
    return core_->queue->SetListener(listener);
}

int32_t ServiceNode::Process(AIContext& context,
                             const std::vector<std::shared_ptr<IAITensor>>& inputs,
                             const std::vector<std::shared_ptr<IAITensor>>& outputs,
                             int32_t param) {
    const LogSubject subject(core_->queue->SessionOfCall());
    const bool initialised = core_->init.done();
    if (!initialised || !core_->queue->HasListener()) {
        ORVA_LOGE("a request before the node has %s",
                  initialised ? "a listener" : "been initialised");
        return kNodeNotReady;
    }
    return Guarded("request refused", [&]() -> int32_t {
        Request request{context, inputs, outputs, param};
        const int32_t fits = core_->handler->Check(request);
        if (fits != kNodeOk) {
            return fits;
        }
        // Ends what it began, unless the request was taken: then Run() does.
        struct Begun {
            explicit Begun(IdleTimer& timer) : timer(timer) { timer.RequestBegins(); }
            ~Begun() {
                if (!taken) {
                    timer.RequestEnds();
                }
            }
            IdleTimer& timer;
            bool taken = false;
        } begun(*core_->timer);
        const int32_t posted = core_->queue->Post(
                std::move(request), [core = core_](Request& taken, Cancellation& cancellation) {
                    return core->Run(taken, cancellation);
                });
        begun.taken = posted == kNodeOk;
        return posted;
    });
}

std::chrono::nanoseconds ServiceNode::IdleTime() const {
    return idleTimer()->IdleTime();
}

}  // namespace orva::reference
