/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/commands/InputFiles.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "client/io/File.h"
#include "client/report/Latency.h"

namespace orva::client {

namespace {

// Of files that are kept.
constexpr size_t kMostKept = size_t{1} << 30;

bool isFolder(const std::string& path) {
    return std::filesystem::is_directory(path);
}

void requireSize(const std::string& path, size_t wanted, const std::string& by) {
    const size_t size = sizeOfFile(path);
    if (size != wanted) {
        throw std::runtime_error(path + " has " + std::to_string(size) + " bytes, but " + by +
                                 " takes " + std::to_string(wanted));
    }
}

}  // namespace

InputFiles::InputFiles(const std::string& path, const PictureInput& input) {
    const auto batch = static_cast<size_t>(input.shape().dims[0]);
    inputs_.push_back({filesOf(path), input.shape(), batch, isFolder(path), input, {}});
    settle();
}

InputFiles::InputFiles(const std::vector<std::string>& paths,
                       const std::vector<TensorShape>& shapes) {
    if (shapes.size() != paths.size()) {
        throw std::runtime_error("the model has " + std::to_string(shapes.size()) +
                                 " inputs, but --input was given " + std::to_string(paths.size()) +
                                 " times");
    }
    for (size_t i = 0; i < paths.size(); ++i) {
        add(paths[i], shapes[i]);
    }
    settle();
}

InputFiles::InputFiles(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        const std::string first = filesOf(path).front();
        const size_t size = sizeOfFile(first);
        if (size > kMostTensorBytes) {
            throw std::runtime_error(first + " has " + sizeText(size) + "; a tensor has at most " +
                                     sizeText(kMostTensorBytes));
        }
        add(path, {"", ElementType::kUint8, {static_cast<int64_t>(size)}});
    }
    settle();
}

void InputFiles::add(const std::string& path, const TensorShape& shape) {
    Input input = {filesOf(path), shape, 1, isFolder(path), std::nullopt, {}};
    const auto batch = shape.dims.empty() ? 1 : static_cast<size_t>(shape.dims[0]);
    if (input.isFolder && batch > 1 && sizeOfFile(input.files[0]) == shape.bytes() / batch) {
        input.perRequest = batch;
    }
    const std::string by = shape.name.empty() && shape.type == ElementType::kUint8
                                   ? "a tensor of the first"
                                   : "the model's input '" + shape.name + "' (" +
                                             nameOf(shape.type) + " " + shape.text() + ")";
    for (const std::string& file : input.files) {
        requireSize(file, input.fileBytes(), by);
    }
    inputs_.push_back(std::move(input));
}

// A single file goes with each request for the others.
void InputFiles::settle() {
    for (size_t i = 0; i < inputs_.size(); ++i) {
        if (!inputs_[i].isFolder) {
            continue;
        }
        const Input& named = inputs_[named_];
        if (named.isFolder && inputs_[i].files.size() != named.files.size()) {
            throw std::runtime_error("the folders of inputs have " +
                                     std::to_string(named.files.size()) + " and " +
                                     std::to_string(inputs_[i].files.size()) + " files");
        }
        if (named.isFolder && inputs_[i].perRequest != named.perRequest) {
            throw std::runtime_error("the folders of inputs have files of different batches");
        }
        named_ = named.isFolder ? named_ : i;
    }
    requests_ = inputs_[named_].requests();
}

std::vector<TensorShape> InputFiles::shapes() const {
    std::vector<TensorShape> shapes;
    for (const Input& input : inputs_) {
        shapes.push_back(input.shape);
    }
    return shapes;
}

std::vector<std::string> InputFiles::names(size_t request) const {
    const Input& input = inputs_[named_];
    if (!input.isFolder) {
        return {};
    }
    const size_t begin = request * input.perRequest;
    const size_t end = std::min(begin + input.perRequest, input.files.size());
    return {input.files.begin() + static_cast<ptrdiff_t>(begin),
            input.files.begin() + static_cast<ptrdiff_t>(end)};
}

void InputFiles::Input::read(size_t file, uint8_t* target) const {
    if (!kept.empty()) {
        std::memcpy(target, kept[file].data(), kept[file].size());
        return;
    }
    if (picture) {
        const std::vector<uint8_t> bytes = picture->read(files[file]);
        std::memcpy(target, bytes.data(), bytes.size());
        return;
    }
    const FileBytes bytes(files[file]);
    if (bytes.size() != fileBytes()) {
        throw std::runtime_error(files[file] + " is being written to");
    }
    bytes.copyTo(target);
}

void InputFiles::fill(size_t request, std::vector<Tensor>* tensors) const {
    for (size_t i = 0; i < inputs_.size(); ++i) {
        const Input& input = inputs_[i];
        uint8_t* target = (*tensors)[i].data();
        const size_t begin = input.isFolder ? request * input.perRequest : 0;
        for (size_t file = begin; file < begin + input.perRequest; ++file) {
            if (file < input.files.size()) {
                input.read(file, target);
            } else {
                std::memset(target, 0, input.fileBytes());
            }
            target += input.fileBytes();
        }
    }
}

void InputFiles::keep() {
    size_t size = 0;
    for (const Input& input : inputs_) {
        size += input.files.size() * input.fileBytes();
    }
    if (size > kMostKept) {
        throw std::runtime_error("the files make inputs of " + sizeText(size) + "; at most " +
                                 sizeText(kMostKept) + " are held at a time");
    }
    for (Input& input : inputs_) {
        std::vector<std::vector<uint8_t>> kept;
        for (size_t file = 0; file < input.files.size(); ++file) {
            kept.emplace_back(input.fileBytes());
            input.read(file, kept.back().data());
        }
        input.kept = std::move(kept);
    }
}

}  // namespace orva::client
