/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "ServiceDirectory.h"

#include <cstring>

#include <log/log.h>

#include "../peer/Peers.h"
#include "ServiceFolder.h"

namespace android::hardware {

using socket::Identity;
using socket::PeerObject;
using socket::Peers;
using socket::ServiceFolder;
using socket::ServiceSocket;

// Never destroyed: threads of the pool may outlive the program's static objects.
ServiceDirectory& ServiceDirectory::instance() {
    static ServiceDirectory* const directory = new ServiceDirectory;
    return *directory;
}

status_t ServiceDirectory::add(const std::vector<std::string>& interfaces,
                               const std::string& instance, const sp<IBinder>& binder) {
    if (binder == nullptr || binder->localBinder() == nullptr) {
        ALOGE("only an object of this process can be registered here");
        return BAD_VALUE;
    }
    const std::string path = orva_platform::serviceDirectory();
    const auto folder = std::make_shared<ServiceFolder>();
    status_t status = folder->open(path);
    if (status != NO_ERROR) {
        return status;
    }
    const base::unique_fd registering = folder->lock();
    if (registering < 0) {
        return UNKNOWN_ERROR;
    }
    const std::string prefix = path + "/";
    // All names or none: the sockets listen only once every one of them is bound.
    std::unordered_map<std::string, std::shared_ptr<ServiceSocket>> made;
    for (const std::string& interface : interfaces) {
        const std::string file = ServiceFolder::fileOf(interface, instance);
        const auto socket = std::make_shared<ServiceSocket>(folder, file, binder->localBinder());
        status = file.empty() ? BAD_VALUE : socket->bind();
        if (status != NO_ERROR) {
            ALOGE("cannot register %s/%s: %s", interface.c_str(), instance.c_str(),
                  status == ALREADY_EXISTS ? "a living process serves it already"
                                           : strerror(-status));
            break;
        }
        made.emplace(prefix + file, socket);
    }
    for (auto socket = made.begin(); status == NO_ERROR && socket != made.end(); ++socket) {
        status = socket->second->open();
    }
    if (status == NO_ERROR) {
        Mutex::Autolock lock(mLock);
        for (auto& [name, socket] : made) {
            mServed[name].swap(socket);  // What had the name before is closed in its place.
        }
    }
    for (const auto& [name, socket] : made) {
        if (socket != nullptr) {
            socket->close();
        }
    }
    return status;
}

sp<IBinder> ServiceDirectory::get(const std::string& interface, const std::string& instance) {
    const std::string path = orva_platform::serviceDirectory();
    const std::string file = ServiceFolder::fileOf(interface, instance);
    const std::string key = path + "/" + file;
    {
        Mutex::Autolock lock(mLock);
        if (sp<IBinder> binder = known(key)) {
            return binder;
        }
    }
    // Without the lock: a server that is there and does not accept must not hold up the others.
    ServiceFolder folder;
    base::unique_fd connection;
    status_t status = file.empty() ? BAD_VALUE : folder.open(path);
    if (status == NO_ERROR) {
        status = folder.connect(file, true, &connection);
    }
    if (status != NO_ERROR) {
        ALOGE("no %s/%s in %s: %s", interface.c_str(), instance.c_str(), path.c_str(),
              status == NAME_NOT_FOUND ? "nobody serves it" : strerror(-status));
        return nullptr;
    }
    sp<IBinder> binder = Peers::instance().connect(std::move(connection));
    if (binder != nullptr) {
        Mutex::Autolock lock(mLock);
        mGot[key] = binder->remoteBinder();
    }
    return binder;
}

sp<IBinder> ServiceDirectory::known(const std::string& key) {
    const auto served = mServed.find(key);
    if (served != mServed.end()) {
        return served->second->binder();
    }
    const auto got = mGot.find(key);
    const sp<BpHwBinder> binder = got == mGot.end() ? nullptr : got->second.promote();
    const bool usable =
            binder != nullptr && static_cast<PeerObject&>(binder->object()).peer().connected();
    return usable ? binder : nullptr;
}

std::vector<orva_platform::ServiceEntry> ServiceDirectory::list() {
    std::vector<orva_platform::ServiceEntry> entries;
    ServiceFolder folder;
    if (folder.open(orva_platform::serviceDirectory()) != NO_ERROR) {
        return entries;
    }
    for (const std::string& file : folder.files()) {
        orva_platform::ServiceEntry entry;
        base::unique_fd connection;
        Identity server;
        base::unique_fd process;
        // What a dead server left behind is no service; its next one takes the name over.
        if (ServiceFolder::nameOf(file, &entry.interface, &entry.instance) &&
            folder.connect(file, true, &connection) == NO_ERROR &&
            socket::identify(connection, &server, &process)) {
            entry.pid = server.pid;
            entries.push_back(std::move(entry));
        }
    }
    return entries;
}

void ServiceDirectory::clear() {
    decltype(mServed) served;
    {
        Mutex::Autolock lock(mLock);
        served.swap(mServed);
        mGot.clear();
    }
    for (const auto& [name, socket] : served) {
        socket->close();
    }
}

}  // namespace android::hardware
