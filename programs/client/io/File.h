/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <android-base/unique_fd.h>

namespace orva::client {

// All throw std::exception that names the file. An empty file counts as an error of the caller:
// nothing here has a use for one; so does a folder, a pipe and a device.
size_t sizeOfFile(const std::string& path);

// The files of a folder in the order of their names, without hidden ones and folders; of anything
// else, just that. Throws std::exception when it cannot be read, or has none.
std::vector<std::string> filesOf(const std::string& path);

// A file's bytes, mapped: what nobody looks at is not read.
class FileBytes {
public:
    explicit FileBytes(const std::string& path);
    ~FileBytes();
    FileBytes(FileBytes&& other) noexcept;
    FileBytes& operator=(FileBytes&&) = delete;

    const uint8_t* data() const { return static_cast<const uint8_t*>(address_); }
    size_t size() const { return size_; }

    // Copies all of it, not through the mapping: a file that has become shorter meanwhile is an
    // error. `advance` is told, as it goes, of bytes that have been read.
    void copyTo(uint8_t* target, const std::function<void(size_t)>& advance = nullptr) const;

private:
    std::string path_;
    android::base::unique_fd file_;
    size_t size_;
    void* address_;
};

// The file has all of the bytes, or is as it was.
void writeFile(const std::string& path, const uint8_t* data, size_t size);

}  // namespace orva::client
