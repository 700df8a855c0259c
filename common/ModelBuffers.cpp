/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "common/ModelBuffers.h"

#include <cstddef>
#include <cstdint>

#include "common/SharedMapping.h"

namespace orva::hidl {

bool ReadModel(const ModelBuffer& buffer, AIModelDescription& description) {
    description.ParseFromString(buffer.description);
    if (const native_handle_t* handle = buffer.modelHandle.getNativeHandle()) {
        const SharedMapping mapping = SharedMapping::MapReceived(handle, buffer.size);
        if (!mapping) {
            return false;
        }
        description.set_data(mapping.Address(), mapping.Length());
    }
    return true;
}

bool ReadModels(const android::hardware::hidl_vec<ModelBuffer>& buffers,
                std::vector<AIModelDescription>& models) {
    // A count beyond the signed range counts as none.
    const auto count = static_cast<int32_t>(buffers.size());
    // One description serves all: what a text leaves out, and the bytes of a model without a
    // region, are those of the model before it.
    AIModelDescription description;
    for (int32_t i = 0; i < count; ++i) {
        if (!ReadModel(buffers[static_cast<size_t>(i)], description)) {
            return false;
        }
        models.push_back(description);
    }
    return true;
}

}  // namespace orva::hidl
