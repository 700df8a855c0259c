/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <orva/reference/RequestHandler.h>

namespace orva::reference {

// Copies each input to the output in its place, byte for byte; takes no model and no parameter.
// Refuses requests whose inputs and outputs differ in number or in size.
class EchoNode : public RequestHandler {
public:
    int32_t Load(const AIConfig& config, std::vector<AIModelDescription>& models,
                 Cancellation& cancellation) override;
    int32_t Check(const Request& request) const override;
    int32_t Run(Request& request, Cancellation& cancellation) override;
};

}  // namespace orva::reference
