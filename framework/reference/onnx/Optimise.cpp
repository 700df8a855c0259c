/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "onnx/Engine.h"

namespace orva::reference {

namespace {

// A file in memory, which has a path as long as it is open.
class MemoryFile {
public:
    MemoryFile() : fd_(memfd_create("orva optimised", MFD_CLOEXEC)) { Require(fd_ >= 0); }
    ~MemoryFile() { close(fd_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

    std::vector<uint8_t> Read() const {
        struct stat status = {};
        Require(fstat(fd_, &status) == 0);
        std::vector<uint8_t> bytes(static_cast<size_t>(status.st_size));
        for (size_t done = 0; done < bytes.size();) {
            const ssize_t count =
                    pread(fd_, &bytes[done], bytes.size() - done, static_cast<off_t>(done));
            Require(count > 0);
            done += static_cast<size_t>(count);
        }
        return bytes;
    }

private:
    static void Require(bool done) {
        if (!done) {
            throw std::system_error(errno, std::generic_category(), "a file in memory");
        }
    }

    const int fd_;
};

}  // namespace

std::vector<uint8_t> Optimise(ByteRange file, Cancellation& cancellation) {
    const MemoryFile memory;
    EngineOptions options;
    options.optimisedPath = memory.path();
    const Engine engine(file, options, cancellation);
    return memory.Read();
}

}  // namespace orva::reference
