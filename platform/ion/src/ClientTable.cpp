/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "ion"

#include "ClientTable.h"

#include <cerrno>
#include <cstring>
#include <mutex>

#include <fcntl.h>
#include <unistd.h>

#include <log/log.h>

namespace orva_platform::ion {

using android::Mutex;

namespace {

constexpr char kHeap[] = "/dev/dma_heap/system";
const DmaHeapBackend dmaHeap(kHeap);
const MemoryFileBackend memoryFiles;

}  // namespace

int ClientTable::open() {
    const Backend* backend = &dmaHeap;
    unique_fd device = dmaHeap.openClient();
    if (device.get() < 0) {
        backend = &memoryFiles;
        static std::once_flag told;
        std::call_once(told, [] {
            ALOGI("%s: %s; buffers will be memory files", kHeap, strerror(errno));
        });
        device = memoryFiles.openClient();
    }
    if (device.get() < 0) {
        const int error = errno;
        ALOGE("no ION device: %s", strerror(error));
        errno = error;
        return -1;
    }
    Mutex::Autolock lock(mLock);
    // In place of one that was closed behind our back, if there is such.
    mClients[device.get()] = std::make_shared<Client>(*backend, device.get());
    return device.release();
}

int ClientTable::close(int device) {
    {
        Mutex::Autolock lock(mLock);
        mClients.erase(device);
    }
    return ::close(device) == 0 ? 0 : -errno;
}

int ClientTable::find(int device, std::shared_ptr<Client>* client) {
    if (fcntl(device, F_GETFD) < 0) {
        return -errno;
    }
    Mutex::Autolock lock(mLock);
    const auto found = mClients.find(device);
    if (found == mClients.end()) {
        return -ENOTTY;
    }
    *client = found->second;
    return 0;
}

IonCounts ClientTable::counts() {
    Mutex::Autolock lock(mLock);
    IonCounts counts = {mClients.size(), 0};
    for (const auto& [device, client] : mClients) {
        counts.handles += client->handles();
    }
    return counts;
}

}  // namespace orva_platform::ion
