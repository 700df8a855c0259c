/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "client/lib/Session.h"
#include "client/lib/Tensor.h"
#include "client/model/TensorShape.h"

namespace orva::python {

using Tensors = std::vector<std::shared_ptr<client::Tensor>>;
// Throws when nobody wants to wait any more.
using Look = std::function<void()>;

// A session as the package's Python half drives it: requests one at a time, whichever threads they
// come from. No operation may be called with the interpreter's lock held; all throw ServiceError.
class ClientSession {
public:
    // `model` is a file, or empty for a node that takes none. The session's number is the next one
    // of the process. `look` is called every now and then while it is opened, and may throw: what
    // it throws ends the wait, and the session is closed as soon as it is open.
    ClientSession(const std::string& model, const std::string& node, const std::string& config,
                  const std::string& instance, const Look& look);
    // Has it closed, and does not wait for that.
    ~ClientSession();

    // What the model says; empty without one.
    const std::vector<client::TensorShape>& inputs() const { return inputs_; }
    const std::vector<client::TensorShape>& outputs() const { return outputs_; }

    // Sends a request, waits for its result, and answers its context. `look` is as above; `bounded`
    // has it be called while the request is being sent, too, which costs a thread. Once anything
    // was thrown that leaves a request under way the session is closed: the next result would be
    // taken for another request's.
    std::string run(const std::string& context, const Tensors& inputs, const Tensors& outputs,
                    bool bounded, const Look& look);

    // Once a request under way has ended. What `look` throws ends the wait. Safe to call again.
    void close(const Look& look);

private:
    void abandon();

    std::mutex mutex_;
    std::shared_ptr<client::Session> session_;  // null once closed
    std::vector<client::TensorShape> inputs_;
    std::vector<client::TensorShape> outputs_;
};

}  // namespace orva::python
