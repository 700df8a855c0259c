/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/commands/Requests.h"

#include <CLI/CLI.hpp>

#include "client/report/Progress.h"

namespace orva::client {

void addTensorOption(CLI::App* command, std::string* type) {
    command->add_option_function<std::string>(
                   "--tensor",
                   [type](const std::string& memory) {
                       *type = memory == "ion" ? Tensor::kIonBuffer : Tensor::kBuffer;
                   },
                   "The memory that the tensors lie in: shared memory, or ION buffers, which "
                   "accelerators use in place")
            ->check(CLI::IsMember({"shm", "ion"}))
            ->default_str("shm");
}

Latency request(Session* session, const std::vector<Tensor>& inputs,
                const std::vector<Tensor>& outputs, size_t count) {
    Latency latency;
    Progress progress("requests", count);
    for (size_t i = 0; i < count; ++i) {
        const Stopwatch watch;
        session->send("", inputs, outputs);
        const Completion completion = session->await();
        latency.add(watch.elapsed());
        if (completion.result != 0) {
            throw ServiceError("the request failed with status " +
                                       std::to_string(completion.result) +
                                       " (the host's log says why)",
                               completion.result);
        }
        if (completion.outputs.size() != outputs.size()) {
            throw ServiceError("the result lacks " +
                                       std::to_string(outputs.size() - completion.outputs.size()) +
                                       " of its tensors",
                               -1);
        }
        progress.update(i + 1);
    }
    return latency;
}

}  // namespace orva::client
