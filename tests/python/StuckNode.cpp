/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 *
 * A node whose requests end only when nobody wants them any more.
 */
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include <orva/reference/NodeLibrary.h>
#include <orva/reference/NodeRegistry.h>
#include <orva/reference/NodeStatus.h>
#include <orva/reference/RequestHandler.h>
#include <orva/reference/ServiceNode.h>

namespace {

using namespace orva::reference;

class StuckNode : public RequestHandler {
public:
    int32_t Load(const orva::AIConfig&, std::vector<orva::AIModelDescription>&,
                 Cancellation&) override {
        return kNodeOk;
    }

    int32_t Check(const Request&) const override { return kNodeOk; }

    int32_t Run(Request&, Cancellation& cancellation) override {
        std::mutex mutex;
        std::condition_variable told;
        bool unwanted = false;
        const Cancellation::Listener listener(cancellation, [&] {
            const std::lock_guard<std::mutex> lock(mutex);
            unwanted = true;
            told.notify_all();
        });
        std::unique_lock<std::mutex> lock(mutex);
        told.wait(lock, [&] { return unwanted; });
        return kNodeStopped;
    }
};

}  // namespace

const NodeLibrary orva_node_library = {
        kNodeLibraryVersion,
        [] {
            RegisterNode("stuck", [] {
                return std::make_shared<ServiceNode>(std::make_unique<StuckNode>());
            });
        },
};
