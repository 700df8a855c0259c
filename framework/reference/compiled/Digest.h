/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "onnx/WireReader.h"

struct evp_md_ctx_st;

namespace orva::reference {

// SHA-256 of bytes that come in pieces.
class Digest {
public:
    using Value = std::array<uint8_t, 32>;

    // Throws std::runtime_error when the library cannot do it, as do the others.
    Digest();

    void Add(ByteRange bytes);
    // Of everything added; once, and nothing may be added afterwards.
    Value End();

private:
    const std::unique_ptr<evp_md_ctx_st, void (*)(evp_md_ctx_st*)> context_;
};

}  // namespace orva::reference
