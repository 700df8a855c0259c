/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <array>
#include <cstddef>

#include "common/Interfaces.h"
#include "common/NativeHandle.h"
#include "request/BenchSession.h"

namespace orva_bench {

// A session on a model manager, with what only that has. Used by one thread; each operation is
// false when a call failed.
class ManagerSession : public BenchSession<orva::hidl::IModelManagerService_hidl,
                                           orva::hidl::IModelManagerListener> {
public:
    using BenchSession::BenchSession;

    // The session has a model of so many bytes, or none, when it is opened again.
    bool prepareModel(size_t size);
    // Closes the session and opens it again.
    bool reopen();
    // Binds the tensors, starts a computation on them and waits for its completion.
    bool bindAndStart();
    // Makes the regions of sources of so many bytes together, and the one of what is built of them.
    bool prepareBuild(size_t size);
    bool build();

private:
    orva::hidl::NativeHandle modelRegion_;
    std::array<orva::hidl::NativeHandle, kSources + 1> buildRegions_;
    android::hardware::hidl_vec<orva::hidl::ModelBuffer> sources_;
    orva::hidl::ModelBuffer built_;
};

}  // namespace orva_bench
