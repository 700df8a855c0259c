/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "compiled/CompiledModel.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <set>
#include <stdexcept>

namespace orva::reference {

namespace {

// Chosen so that no change of one byte makes it the beginning of an ONNX file: whatever the first
// one becomes, protobuf then finds a wrong type, or a length that no file has.
constexpr std::array<uint8_t, 8> kMagic = {0x4f, 0xcf, 0xd2, 0xd6, 0xc1, 0xcf, 0x4d, 0x4f};
constexpr uint32_t kVersion = 2;
constexpr size_t kDigestAt = 32;
constexpr uint32_t kMostDimensions = 32;
constexpr uint32_t kNoShape = UINT32_MAX;

template <class Number>
void Append(std::vector<uint8_t>& out, Number number) {
    for (size_t i = 0; i < sizeof(Number); ++i) {
        out.push_back(static_cast<uint8_t>(static_cast<uint64_t>(number) >> (8 * i)));
    }
}

void Append(std::vector<uint8_t>& out, const std::string& name) {
    Append(out, static_cast<uint32_t>(name.size()));
    out.insert(out.end(), name.begin(), name.end());
}

void Append(std::vector<uint8_t>& out, const std::vector<EngineTensor>& tensors) {
    Append(out, static_cast<uint32_t>(tensors.size()));
    for (const EngineTensor& tensor : tensors) {
        Append(out, tensor.name);
        Append(out, static_cast<uint32_t>(tensor.dataType));
        Append(out, tensor.hasShape ? static_cast<uint32_t>(tensor.dims.size()) : kNoShape);
        for (size_t i = 0; i < tensor.dims.size(); ++i) {
            Append(out, tensor.dims[i]);
            Append(out, tensor.dimNames[i]);
        }
    }
}

// Takes numbers and names off bytes. False when they end too early.
class Taker {
public:
    explicit Taker(ByteRange rest) : rest_(rest) {}

    template <class Number>
    bool Take(Number& number) {
        ByteRange bytes;
        if (!TakeBytes(sizeof(Number), bytes)) {
            return false;
        }
        uint64_t value = 0;
        for (size_t i = 0; i < sizeof(Number); ++i) {
            value |= static_cast<uint64_t>(bytes.data[i]) << (8 * i);
        }
        number = static_cast<Number>(value);
        return true;
    }

    bool Take(std::string& name) {
        uint32_t size = 0;
        ByteRange bytes;
        if (!Take(size) || !TakeBytes(size, bytes)) {
            return false;
        }
        name = bytes.ToString();
        return true;
    }

    bool AtEnd() const { return rest_.size == 0; }

private:
    bool TakeBytes(size_t size, ByteRange& bytes) {
        if (size > rest_.size) {
            return false;
        }
        bytes = {rest_.data, size};
        rest_ = {rest_.data + size, rest_.size - size};
        return true;
    }

    ByteRange rest_;
};

bool TakeTensor(Taker& taker, EngineTensor& tensor) {
    uint32_t rank = 0;
    if (!taker.Take(tensor.name) || !taker.Take(tensor.dataType) || !taker.Take(rank) ||
        (rank > kMostDimensions && rank != kNoShape)) {
        return false;
    }
    tensor.hasShape = rank != kNoShape;
    for (; tensor.hasShape && rank > 0; --rank) {
        int64_t dim = 0;
        std::string name;
        if (!taker.Take(dim) || dim < -1 || !taker.Take(name)) {
            return false;
        }
        tensor.dims.push_back(dim);
        tensor.dimNames.push_back(std::move(name));
    }
    const bool open = std::count(tensor.dims.begin(), tensor.dims.end(), -1) != 0;
    return open || ElementsOf(tensor.dims) >= 0;
}

bool TakeTensors(Taker& taker, std::vector<EngineTensor>& tensors) {
    uint32_t count = 0;
    if (!taker.Take(count) || count > kMostTensors) {
        return false;
    }
    for (; count > 0; --count) {
        if (!TakeTensor(taker, tensors.emplace_back())) {
            return false;
        }
    }
    return true;
}

bool TakePlace(Taker& taker, ByteRange files, ByteRange& place) {
    uint64_t begin = 0;
    uint64_t size = 0;
    if (!taker.Take(begin) || !taker.Take(size) || begin < kCompiledHeaderSize ||
        begin > files.size || size > files.size - begin) {
        return false;
    }
    place = {files.data + begin, static_cast<size_t>(size)};
    return true;
}

bool TakeEntry(Taker& taker, ByteRange files, CompiledEntry& entry) {
    return taker.Take(entry.name) && !entry.name.empty() && TakePlace(taker, files, entry.source) &&
           TakePlace(taker, files, entry.optimised) && TakeTensors(taker, entry.inputs) &&
           TakeTensors(taker, entry.outputs);
}

bool TakeTable(Taker taker, ByteRange files, CompiledModel& model) {
    uint32_t count = 0;
    if (!taker.Take(model.engine) || !taker.Take(count) || count == 0 ||
        count > kMostCompiledModels) {
        return false;
    }
    std::set<std::string> names;
    for (; count > 0; --count) {
        CompiledEntry entry;
        if (!TakeEntry(taker, files, entry) || !names.insert(entry.name).second) {
            return false;
        }
        model.models.push_back(std::move(entry));
    }
    return taker.AtEnd();
}

}  // namespace

bool IsCompiledModel(ByteRange file) {
    return file.size >= kMagic.size() && std::equal(kMagic.begin(), kMagic.end(), file.data);
}

bool ReadCompiledModel(ByteRange file, CompiledModel& model, std::string& reason) {
    model = CompiledModel();
    uint32_t version = 0;
    uint64_t size = 0;
    uint64_t table = 0;
    if (!IsCompiledModel(file) || file.size < kCompiledHeaderSize) {
        reason = "not a built model";
        return false;
    }
    Taker header({file.data + kMagic.size(), kCompiledHeaderSize - kMagic.size()});
    header.Take(version);
    header.Take(model.buildParam);
    header.Take(size);
    header.Take(table);
    if (version != kVersion) {
        reason = "a built model of version " + std::to_string(version) + ", this is for " +
                 std::to_string(kVersion);
        return false;
    }
    if (size != file.size) {
        reason = "a built model of " + std::to_string(size) + " bytes, there are " +
                 std::to_string(file.size);
        return false;
    }
    Digest digest;
    digest.Add({file.data + kCompiledHeaderSize, file.size - kCompiledHeaderSize});
    digest.Add({file.data, kDigestAt});
    const Digest::Value expected = digest.End();
    if (!std::equal(expected.begin(), expected.end(), file.data + kDigestAt)) {
        reason = "a built model that was changed after it was built";
        return false;
    }
    if (table < kCompiledHeaderSize || table > size ||
        !TakeTable(Taker({file.data + table, static_cast<size_t>(size - table)}),
                   {file.data, static_cast<size_t>(table)}, model)) {
        reason = "a built model whose table is malformed";
        return false;
    }
    return true;
}

void CompiledModelWriter::Append(const CompiledEntry& entry) {
    reference::Append(entries_, entry.name);
    for (const ByteRange& file : {entry.source, entry.optimised}) {
        reference::Append(entries_, static_cast<uint64_t>(size_));
        reference::Append(entries_, static_cast<uint64_t>(file.size));
        Write(file);
    }
    reference::Append(entries_, entry.inputs);
    reference::Append(entries_, entry.outputs);
    ++count_;
}

size_t CompiledModelWriter::Finish(int32_t buildParam, const std::string& engine) {
    const auto table = static_cast<uint64_t>(size_);
    std::vector<uint8_t> begin;
    reference::Append(begin, engine);
    reference::Append(begin, count_);
    Write({begin.data(), begin.size()});
    Write({entries_.data(), entries_.size()});

    std::vector<uint8_t> header(kMagic.begin(), kMagic.end());
    reference::Append(header, kVersion);
    reference::Append(header, buildParam);
    reference::Append(header, static_cast<uint64_t>(size_));
    reference::Append(header, table);
    digest_.Add({header.data(), header.size()});
    const Digest::Value digest = digest_.End();
    header.insert(header.end(), digest.begin(), digest.end());
    std::memcpy(output_, header.data(), header.size());
    return size_;
}

// The digest is of the bytes that come, whatever becomes of them where they go.
void CompiledModelWriter::Write(ByteRange bytes) {
    if (size_ > capacity_ || bytes.size > capacity_ - size_) {
        throw std::runtime_error("the output's " + std::to_string(capacity_) +
                                 " bytes are too few for what is built");
    }
    std::copy_n(bytes.data, bytes.size, output_ + size_);
    digest_.Add(bytes);
    size_ += bytes.size;
}

}  // namespace orva::reference
