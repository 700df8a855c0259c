/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <map>
#include <memory>

#include <orva_platform/Ion.h>
#include <utils/Mutex.h>

#include "Client.h"

namespace orva_platform::ion {

// This process's open ION devices, by descriptor. From any thread.
class ClientTable {
public:
    // With the best backend that the host has. -1, and errno, when no device can be opened.
    int open();
    // What close() answers, or 0: for a descriptor that is no device, too.
    int close(int device);
    // 0, -EBADF when the descriptor is not open, or -ENOTTY when it is no device.
    int find(int device, std::shared_ptr<Client>* client);
    IonCounts counts();

private:
    android::Mutex mLock;
    std::map<int, std::shared_ptr<Client>> mClients GUARDED_BY(mLock);
};

}  // namespace orva_platform::ion
