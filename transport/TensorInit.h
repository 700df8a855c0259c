/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

// The Init of both kinds of tensor. A kind has: a tag for the log; MapLength(), which is how many
// bytes are mapped for a size; MakeRegion(), which makes a new region of such a length and says in
// the log why it cannot; DropRegion(), which gives back what else that has taken; and Show(), which
// shows a mapping as the tensor's buffer.

#include <cstdint>
#include <utility>

#include "common/Log.h"
#include "transport/AINeuralNetworkBufferHIDL.h"
#include "transport/TensorParameters.h"

namespace orva::hidl {

template <typename Kind>
bool AINeuralNetworkBufferHIDL::Init(const AITensorDescription& description, Kind& kind) {
    if (!InitFromDescription(*this, description)) {
        return false;
    }

    if (memory_.IsReceived()) {
        // A handle without descriptors is refused in silence.
        if (memory_.IsReceivedEmpty()) {
            return false;
        }
        SharedMapping mapping =
                SharedMapping::MapReceived(memory_.handle(), kind.MapLength(memory_.size()));
        if (!mapping) {
            // "fail" for a received region, "failed" for a new one: the log tells them apart.
            ORVA_LOGE(Kind::kTag, "mmap fail");
            return false;
        }
        Keep(std::move(mapping));
        // A tensor's size has 32 bits; of a larger region it shows the low ones.
        kind.Show(mapping_.Address(), static_cast<int>(memory_.size()));
        return true;
    }

    const auto size = static_cast<uint64_t>(GetSize());
    const uint64_t length = kind.MapLength(size);
    UniqueFd fd;
    if (!kind.MakeRegion(length, fd)) {
        return false;
    }
    const int region = fd.Get();
    if (!memory_.Adopt(std::move(fd))) {
        kind.DropRegion();
        ORVA_LOGE(Kind::kTag, "handle_ is nullptr");
        return false;
    }
    if (memory_.IsEmpty()) {
        kind.DropRegion();
        ORVA_LOGE(Kind::kTag, "numFds is zero");
        return false;
    }
    SharedMapping mapping = SharedMapping::MapOwn(region, length);
    if (!mapping) {
        kind.DropRegion();
        ORVA_LOGE(Kind::kTag, "mmap failed");
        return false;
    }
    Keep(std::move(mapping));
    kind.Show(mapping_.Address(), GetSize());
    memory_.MakeOwn(size);
    return true;
}

}  // namespace orva::hidl
