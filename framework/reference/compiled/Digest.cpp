/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "compiled/Digest.h"

#include <stdexcept>

#include <openssl/evp.h>

namespace orva::reference {

namespace {

void Require(bool done) {
    if (!done) {
        throw std::runtime_error("no SHA-256 to be had");
    }
}

}  // namespace

Digest::Digest() : context_(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
    Require(context_ != nullptr && EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) == 1);
}

void Digest::Add(ByteRange bytes) {
    Require(EVP_DigestUpdate(context_.get(), bytes.data, bytes.size) == 1);
}

Digest::Value Digest::End() {
    Value value;
    Require(EVP_DigestFinal_ex(context_.get(), value.data(), nullptr) == 1);
    return value;
}

}  // namespace orva::reference
