/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "request/BenchClient.h"

#include <orva_platform/Runtime.h>

#include "request/BenchSession.h"

namespace orva_bench {

using orva::hidl::IAIService_hidl;

int runBenchClient(const Control& control, const std::string& directory,
                   const std::string& nodeType, size_t inputSize, TensorMemory memory) {
    orva_platform::setServiceDirectory(directory);
    const auto service = IAIService_hidl::getService();
    if (service == nullptr) {
        control.send(Ready{false});
        return 1;
    }
    BenchSession session(service, 1);
    const bool ok = session.open(nodeType) && session.prepare(inputSize, memory);
    if (!control.send(Ready{ok}) || !ok) {
        return 1;
    }
    return obeyRoundOrders(control, [&] { return session.request(); });
}

}  // namespace orva_bench
