/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/lib/StateDump.h"

#include <cerrno>
#include <system_error>

#include <android-base/unique_fd.h>
#include <sys/mman.h>
#include <unistd.h>

#include "client/lib/ServiceError.h"

namespace orva::client {

using android::base::unique_fd;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;

std::string stateOf(android::hidl::base::V1_0::IBase& service,
                    const std::vector<std::string>& options) {
    // In a file in memory: a pipe would have to be read meanwhile.
    const unique_fd file(memfd_create("orva state", MFD_CLOEXEC));
    if (file < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot make a file in memory");
    }
    alignas(native_handle_t) char storage[sizeof(native_handle_t) + sizeof(int)];
    native_handle_t* const handle = native_handle_init(storage, 1, 0);
    handle->data[0] = file;
    hidl_vec<hidl_string> texts;
    texts.resize(options.size());
    std::copy(options.begin(), options.end(), texts.begin());
    answerTo("asking for the state", [&] { return service.debug(hidl_handle(handle), texts); });

    std::string state(static_cast<size_t>(lseek64(file, 0, SEEK_END)), '\0');
    const ssize_t size = pread(file, state.data(), state.size(), 0);
    state.resize(size > 0 ? static_cast<size_t>(size) : 0);
    return state;
}

}  // namespace orva::client
