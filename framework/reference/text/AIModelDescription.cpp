/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/AIModelDescription.h>

#include <atomic>
#include <new>
#include <utility>

#include "base/Log.h"
#include "text/TextForm.h"

namespace orva {

namespace {

// A shared region may be far larger than the memory behind it, so its size alone must not decide
// how much is allocated here.
constexpr size_t kMaxModelBytes = size_t{512} << 20;
// Nor may the same region, sent again and again, decide how much all descriptions hold together.
constexpr size_t kMaxHeldBytes = size_t{2} << 30;
std::atomic<size_t> heldBytes{0};

struct HeldBytes {
    explicit HeldBytes(size_t size) : size(size), total(heldBytes.fetch_add(size) + size) {}
    ~HeldBytes() { heldBytes -= size; }
    HeldBytes(const HeldBytes&) = delete;
    HeldBytes& operator=(const HeldBytes&) = delete;

    const size_t size;
    const size_t total;  // with all others
    std::vector<uint8_t> bytes;
};

}  // namespace

bool AIModelDescription::ParseFromString(const std::string& text) {
    reference::ModelText model;
    if (!reference::ParseModelText(text, model)) {
        return false;
    }
    name_ = std::move(model.name);
    type_ = std::move(model.type);
    paras_ = std::move(model.paras);
    return true;
}

std::string AIModelDescription::SerializeToString() const {
    return reference::WriteModelText({name_, type_, paras_});
}

void AIModelDescription::set_data(const void* data, size_t size) {
    data_.reset();
    if (data == nullptr || size == 0) {
        return;
    }
    if (size > kMaxModelBytes) {
        ORVA_LOGE("model of %zu bytes exceeds the limit of %zu", size, kMaxModelBytes);
        return;
    }
    const auto* bytes = static_cast<const uint8_t*>(data);
    try {
        const auto held = std::make_shared<HeldBytes>(size);
        if (held->total > kMaxHeldBytes) {
            ORVA_LOGE("model of %zu bytes: all models together would exceed the limit of %zu", size,
                      kMaxHeldBytes);
            return;
        }
        held->bytes.assign(bytes, bytes + size);
        data_ = std::shared_ptr<const std::vector<uint8_t>>(held, &held->bytes);
    } catch (const std::bad_alloc&) {
        ORVA_LOGE("no memory for a model of %zu bytes", size);
    }
}

}  // namespace orva
