/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <string>

#include "support/Region.h"

namespace orva::hidl::test {

// What a service's debug() writes.
template <typename Service>
std::string TextDump(
        const Service& service,
        const android::hardware::hidl_vec<android::hardware::hidl_string>& options = {}) {
    ::orva::test::Handle file(UniqueFd(memfd_create("dump", MFD_CLOEXEC)));
    const android::hardware::hidl_handle handle(file.Get());
    EXPECT_TRUE(service->debug(handle, options).isOk());
    const std::vector<char> text = ::orva::test::ReadRegion<char>(file.Fd(), 1'000'000);
    return {text.begin(), text.end()};
}

template <typename Service>
nlohmann::json JsonDump(const Service& service, const std::string& client = "") {
    std::vector<android::hardware::hidl_string> options = {"--json"};
    if (!client.empty()) {
        options.insert(options.end(), {"--client", client});
    }
    return nlohmann::json::parse(TextDump(service, options));
}

}  // namespace orva::hidl::test
