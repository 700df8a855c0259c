/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <linux/android/binder.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "MessageInput.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t capacity);

namespace orva_fuzz {

using namespace android::hardware::socket;

namespace {

class Mutator {
public:
    Mutator(MessageInput* input, unsigned seed) : mInput(*input), mRandom(seed) {}

    void run() {
        switch (below(8)) {
        case 0:
            mInput = seeds()[below(seeds().size())];
            return;
        case 1:
            changeBytes();
            return;  // As it is: damage to the header counts, too.
        case 2:
            changeDescriptors();
            break;
        case 3:
            movePiece();
            break;
        case 4:
            changeBytes();
            break;
        default:
            changeField();
            break;
        }
        mend();
    }

private:
    size_t below(size_t bound) { return bound == 0 ? 0 : mRandom() % bound; }

    bool hasHeader() const { return mInput.bytes.size() >= sizeof(MessageHeader); }
    MessageHeader& header() { return *reinterpret_cast<MessageHeader*>(mInput.bytes.data()); }

    void changeBytes() {
        std::vector<uint8_t>& bytes = mInput.bytes;
        const size_t size = bytes.size();
        bytes.resize(size + 64);
        bytes.resize(LLVMFuzzerMutate(bytes.data(), size, bytes.size()));
    }

    void changeDescriptors() {
        std::vector<uint8_t>& kinds = mInput.kinds;
        switch (below(3)) {
        case 0:
            kinds.insert(kinds.begin() + below(kinds.size() + 1), static_cast<uint8_t>(mRandom()));
            break;
        case 1:
            if (!kinds.empty()) {
                kinds.erase(kinds.begin() + below(kinds.size()));
            }
            break;
        default:
            if (!kinds.empty()) {
                kinds[below(kinds.size())] = static_cast<uint8_t>(mRandom());
            }
        }
    }

    // Copies some words of the message, or of a valid one, over others.
    void movePiece() {
        const MessageInput& donor = below(2) == 0 ? mInput : seeds()[below(seeds().size())];
        std::vector<uint8_t>& bytes = mInput.bytes;
        const std::vector<uint8_t> from = donor.bytes;
        const size_t start = below(from.size()) / 4 * 4;
        const size_t length = std::min(from.size() - start, 4 * (1 + below(32)));
        const size_t at = below(bytes.size() + 1) / 4 * 4;
        if (below(2) == 0) {
            bytes.insert(bytes.begin() + at, from.begin() + start, from.begin() + start + length);
        } else {
            std::copy_n(from.begin() + start, std::min(length, bytes.size() - at),
                        bytes.begin() + at);
        }
    }

    uint64_t interesting(uint64_t current) {
        const uint64_t values[] = {
                0,          1,          2,          4,          8,          12,
                16,         24,         40,         88,         1024,       0x7fffffff,
                0x80000000, 0xffffffff, 1ull << 62, 1ull << 63, UINT64_MAX, UINT64_MAX - 7};
        constexpr size_t kCount = sizeof values / sizeof *values;
        switch (below(3)) {
        case 0:
            return values[below(kCount)];
        case 1:
            return current + values[below(11)];
        default:
            return current - values[below(11)];
        }
    }

    template <typename T>
    void change(T* field) {
        *field = static_cast<T>(interesting(static_cast<uint64_t>(*field)));
    }

    void changeField() {
        if (!hasHeader()) {
            return;
        }
        if (below(3) == 0) {
            changeHeader();
        } else if (below(2) == 0 && header().objectCount > 0) {
            changeObject();
        } else {
            changeWord();
        }
    }

    void changeHeader() {
        const uint32_t codes[] = {0x0f43484e, 0x0f444247, 0x0f445343, 0x0f485348, 0x0f494e54,
                                  0x0f504e47, 0x0f524546, 0x0f535953, 0x0f4c5444, 0x0f555444};
        switch (below(6)) {
        case 0:
            header().code = static_cast<uint32_t>(below(14));
            break;
        case 1:
            header().code = codes[below(sizeof codes / sizeof *codes)];
            break;
        case 2:
            header().flags ^= 1;
            break;
        case 3:
            mInput.object = static_cast<uint8_t>(below(kObjects));
            break;
        case 4:
            change(&header().dataSize);
            break;
        default:
            change(&header().objectCount);
            break;
        }
    }

    void changeObject() {
        std::vector<uint8_t>& bytes = mInput.bytes;
        const size_t offsets = sizeof(MessageHeader) + pad8(header().dataSize);
        const size_t entry = offsets + 8 * below(header().objectCount);
        if (entry + 8 > bytes.size()) {
            return;
        }
        uint64_t offset;
        std::memcpy(&offset, bytes.data() + entry, sizeof offset);
        if (below(8) == 0) {
            change(&offset);
            std::memcpy(bytes.data() + entry, &offset, sizeof offset);
            return;
        }
        const size_t at = sizeof(MessageHeader) + offset;
        if (offset > bytes.size() || at + sizeof(binder_buffer_object) > bytes.size()) {
            return;
        }
        if (below(6) == 0) {
            const uint32_t types[] = {BINDER_TYPE_PTR, BINDER_TYPE_FDA, BINDER_TYPE_BINDER,
                                      BINDER_TYPE_HANDLE, BINDER_TYPE_FD};
            std::memcpy(bytes.data() + at, &types[below(5)], sizeof types[0]);
            return;
        }
        // Flags, or one of the words behind them: address, length, parent, offset; or count,
        // parent, offset; or number, cookie.
        uint64_t word;
        uint8_t* field = bytes.data() + at + 8 * below(5);
        std::memcpy(&word, field, sizeof word);
        change(&word);
        std::memcpy(field, &word, sizeof word);
    }

    void changeWord() {
        std::vector<uint8_t>& bytes = mInput.bytes;
        const size_t words = (bytes.size() - sizeof(MessageHeader)) / 4;
        if (words == 0) {
            return;
        }
        uint32_t word;
        uint8_t* field = bytes.data() + sizeof(MessageHeader) + 4 * below(words);
        std::memcpy(&word, field, sizeof word);
        change(&word);
        std::memcpy(field, &word, sizeof word);
    }

    // Lets the header say what there is, as far as it can.
    void mend() {
        std::vector<uint8_t>& bytes = mInput.bytes;
        if (!hasHeader() || below(8) == 0) {
            return;
        }
        bytes.resize(pad8(bytes.size()));
        header().magic = kMagic;
        if (below(16) != 0) {
            header().kind = MessageKind::kCall;
            header().target = 1;
        }
        header().descriptors = static_cast<uint32_t>(mInput.kinds.size());
        const uint64_t room = bytes.size() - sizeof(MessageHeader);
        header().dataSize =
                static_cast<uint32_t>(std::min<uint64_t>(header().dataSize / 4 * 4, room));
        const uint64_t rest = room - std::min(room, pad8(header().dataSize));
        header().objectCount =
                static_cast<uint32_t>(std::min<uint64_t>(header().objectCount, rest / 8));
        header().buffersSize = rest - uint64_t{header().objectCount} * 8;
    }

    MessageInput& mInput;
    std::minstd_rand mRandom;
};

}  // namespace

size_t mutate(uint8_t* data, size_t size, size_t capacity, unsigned seed) {
    MessageInput input = MessageInput::decode(data, size);
    if (input.bytes.empty()) {
        input = seeds()[seed % seeds().size()];
    }
    Mutator(&input, seed).run();
    const std::vector<uint8_t> encoded = input.encode(capacity);
    if (encoded.empty()) {
        return LLVMFuzzerMutate(data, size, capacity);
    }
    std::copy(encoded.begin(), encoded.end(), data);
    return encoded.size();
}

}  // namespace orva_fuzz
