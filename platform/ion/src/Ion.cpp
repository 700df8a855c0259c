/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <ion/ion.h>
#include <orva_platform/Ion.h>

#include <cerrno>
#include <memory>
#include <utility>

#include "ClientTable.h"

using orva_platform::ion::Client;
using orva_platform::ion::ClientTable;
using orva_platform::ion::unique_fd;

namespace {

// Made when this library is loaded, so before the static objects of every library that needs it,
// and gone after them: those may still give buffers back.
ClientTable gClients;

}  // namespace

int ion_open() {
    return gClients.open();
}

int ion_close(int fd) {
    return gClients.close(fd);
}

// A host's heap knows none of the flags, and as on a device a flag that a heap does not know has no
// effect.
int ion_alloc(int fd, size_t len, size_t align, unsigned int heap_mask, unsigned int,
              ion_user_handle_t* handle) {
    if (handle == nullptr) {
        return -EINVAL;
    }
    std::shared_ptr<Client> client;
    unique_fd buffer;
    int result = gClients.find(fd, &client);
    if (result == 0) {
        result = client->allocate(len, align, heap_mask, &buffer);
    }
    if (result == 0) {
        *handle = client->add(std::move(buffer));
    }
    return result;
}

int ion_alloc_fd(int fd, size_t len, size_t align, unsigned int heap_mask, unsigned int,
                 int* handle_fd) {
    if (handle_fd == nullptr) {
        return -EINVAL;
    }
    std::shared_ptr<Client> client;
    unique_fd buffer;
    int result = gClients.find(fd, &client);
    if (result == 0) {
        result = client->allocate(len, align, heap_mask, &buffer);
    }
    if (result == 0) {
        *handle_fd = buffer.release();
    }
    return result;
}

int ion_share(int fd, ion_user_handle_t handle, int* share_fd) {
    if (share_fd == nullptr) {
        return -EINVAL;
    }
    std::shared_ptr<Client> client;
    unique_fd buffer;
    int result = gClients.find(fd, &client);
    if (result == 0) {
        result = client->share(handle, &buffer);
    }
    if (result == 0) {
        *share_fd = buffer.release();
    }
    return result;
}

int ion_free(int fd, ion_user_handle_t handle) {
    std::shared_ptr<Client> client;
    const int result = gClients.find(fd, &client);
    return result == 0 ? client->free(handle) : result;
}

namespace orva_platform {

IonCounts ionCounts() {
    return gClients.counts();
}

}  // namespace orva_platform
