/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "compiled/Digest.h"
#include "onnx/EngineTensor.h"
#include "onnx/WireReader.h"

namespace orva::reference {

// A built model: the sources of one or more models, what the engine has made of each, and a table
// of what is known of them. All numbers are little-endian.
//
//   bytes  0..7   its mark
//          8..11  version, 2
//         12..15  build parameter
//         16..23  size of the whole
//         24..31  where the table begins; it goes to the end
//         32..63  SHA-256 of everything from 64 on, and bytes 0..31 after it
//         64..    for each model its source and its optimised form, then the table
//
// The table is the version of the engine that has optimised the models, the number of models, and
// for each its name, where its source begins, the source's size, the same of its optimised form,
// its inputs and its outputs. A list of tensors is their number, and for each its name, data type,
// number of dimensions, and for each of those its size, -1 where it is open, and its name then; a
// tensor of which not even their number is known has 2^32-1 for it. A name or version is its length
// and its bytes. Places and sizes take 8 bytes, every other number 4.

constexpr size_t kCompiledHeaderSize = 64;
// Models in one file.
constexpr size_t kMostCompiledModels = 256;

// One model in a file. There is a name, and no other model in the file has it.
struct CompiledEntry {
    std::string name;
    ByteRange source;
    // An ONNX file, too, with operators of the engine's own; for that version of the engine alone.
    ByteRange optimised;
    std::vector<EngineTensor> inputs;
    std::vector<EngineTensor> outputs;
};

struct CompiledModel {
    int32_t buildParam = 0;
    std::string engine;
    std::vector<CompiledEntry> models;
};

// Whether bytes begin as a built model does.
bool IsCompiledModel(ByteRange file);

// Reads a built model, the sources staying where they are. Takes any bytes: that the digest is
// right says that the file is as it was written, not by whom. False with a reason when it is
// refused.
bool ReadCompiledModel(ByteRange file, CompiledModel& model, std::string& reason);

// Writes a built model piece by piece, its beginning last, so that one given up is none.
class CompiledModelWriter {
public:
    // There are `capacity` bytes at `output`, which others may read and write meanwhile.
    CompiledModelWriter(uint8_t* output, size_t capacity) : output_(output), capacity_(capacity) {}

    // Both throw std::runtime_error when there is no room. The name must be no earlier entry's.
    void Append(const CompiledEntry& entry);
    // Returns the bytes written. Nothing may follow.
    size_t Finish(int32_t buildParam, const std::string& engine);

private:
    void Write(ByteRange bytes);

    uint8_t* const output_;
    const size_t capacity_;
    size_t size_ = kCompiledHeaderSize;
    uint32_t count_ = 0;
    std::vector<uint8_t> entries_;
    Digest digest_;
};

}  // namespace orva::reference
