/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/model/MadeUp.h"

#include <cstring>
#include <random>

namespace orva::client {

namespace {

// The bits of 1 in the short forms; those below are the numbers from 0 to 1.
constexpr uint16_t kOneAsFloat16 = 0x3c00;
constexpr uint16_t kOneAsBfloat16 = 0x3f80;

}  // namespace

void makeUp(const TensorShape& shape, uint8_t* data) {
    std::minstd_rand random;  // NOLINT(cert-msc51-cpp): the same numbers each time
    const size_t size = sizeOf(shape.type);
    const auto put = [&](auto value) {
        std::memcpy(data, &value, sizeof value);
        data += sizeof value;
    };
    // The lowest bits of the generator's numbers are its worst.
    const auto below = [&](uint32_t end) { return static_cast<uint32_t>(random() >> 8) % end; };
    const auto fraction = [&] {
        return static_cast<double>(random()) / static_cast<double>(std::minstd_rand::max());
    };
    for (size_t left = shape.elements(); left > 0; --left) {
        switch (shape.type) {
        case ElementType::kFloat32:
            put(static_cast<float>(fraction()));
            break;
        case ElementType::kFloat64:
            put(fraction());
            break;
        case ElementType::kFloat16:
            put(static_cast<uint16_t>(below(kOneAsFloat16)));
            break;
        case ElementType::kBfloat16:
            put(static_cast<uint16_t>(below(kOneAsBfloat16)));
            break;
        case ElementType::kUint8:
        case ElementType::kInt8:
            put(static_cast<uint8_t>(below(256)));
            break;
        default:
            std::memset(data, 0, size);
            *data = static_cast<uint8_t>(below(2));
            data += size;
            break;
        }
    }
}

}  // namespace orva::client
