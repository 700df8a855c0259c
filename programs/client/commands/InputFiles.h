/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "client/lib/Tensor.h"
#include "client/model/PictureInput.h"
#include "client/model/TensorShape.h"

namespace orva::client {

// The files that the inputs of requests are made of. A folder is as many files, in the order of
// their names: one for each request, or as many as the first dimension of the model's input takes.
class InputFiles {
public:
    // Each of these throws std::exception, saying what does not fit, before any file is read.
    // A picture, or a folder of them.
    InputFiles(const std::string& path, const PictureInput& input);
    // The bytes of each input.
    InputFiles(const std::vector<std::string>& paths, const std::vector<TensorShape>& shapes);
    // The same without a model: bytes, as many as each first file has.
    explicit InputFiles(const std::vector<std::string>& paths);

    // What the inputs look like in a request.
    std::vector<TensorShape> shapes() const;
    size_t requests() const { return requests_; }
    // How many files a request takes for each input; the last may have fewer.
    size_t perRequest() const { return inputs_[named_].perRequest; }
    // Those of a request, of the first input that is given as a folder; empty when none is.
    std::vector<std::string> names(size_t request) const;

    // Reads the files of a request into tensors of these shapes. What is left over is zero. Throws
    // std::exception, naming the file.
    void fill(size_t request, std::vector<Tensor>* tensors) const;
    // Reads all of them now, and for the last time. Throws as fill() does, and when they take too
    // much memory.
    void keep();

private:
    struct Input {
        std::vector<std::string> files;
        TensorShape shape;
        size_t perRequest;
        bool isFolder;
        std::optional<PictureInput> picture;
        std::vector<std::vector<uint8_t>> kept;

        size_t fileBytes() const { return shape.bytes() / perRequest; }
        size_t requests() const { return (files.size() + perRequest - 1) / perRequest; }
        void read(size_t file, uint8_t* target) const;
    };

    void add(const std::string& path, const TensorShape& shape);
    void settle();

    std::vector<Input> inputs_;
    size_t requests_ = 1;
    size_t named_ = 0;
};

}  // namespace orva::client
