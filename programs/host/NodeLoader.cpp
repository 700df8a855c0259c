/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "NodeLoader.h"

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>

#include <orva/reference/NodeLibrary.h>
#include <orva/reference/NodeRegistry.h>

namespace orva::host {

using reference::kNodeLibraryVersion;
using reference::NodeLibrary;

void loadNodeLibrary(const std::string& path) {
    // A name without a slash would be searched for where libraries lie.
    const std::string file = std::filesystem::absolute(path);
    void* const handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        throw std::runtime_error(std::string("cannot load nodes: ") + dlerror());
    }
    const auto* library = static_cast<const NodeLibrary*>(dlsym(handle, "orva_node_library"));
    if (library == nullptr) {
        throw std::runtime_error(file + " is no node library: it has no orva_node_library");
    }
    if (library->version != kNodeLibraryVersion) {
        throw std::runtime_error(file + " was built for version " +
                                 std::to_string(library->version) +
                                 " of node libraries; this host takes version " +
                                 std::to_string(kNodeLibraryVersion));
    }
    reference::RegisterNodesOf(file, library->registerNodes);
}

}  // namespace orva::host
