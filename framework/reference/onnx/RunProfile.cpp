/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/RunProfile.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "base/Log.h"

namespace orva::reference {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

// The names are the model's.
constexpr size_t kMostName = 80;
constexpr char kSuffix[] = "_kernel_time";

std::atomic_flag looking = ATOMIC_FLAG_INIT;

struct Spent {
    std::string type;
    uint64_t calls = 0;
    uint64_t micros = 0;
};

using Account = std::map<std::string, Spent>;

// Adds up an account's events, an array of objects, one at a time; false where it is none.
bool Read(std::istream& file, Account& nodes) {
    const auto count = [&nodes](int depth, Json::parse_event_t what, const Json& event) {
        if (depth != 1 || what != Json::parse_event_t::object_end) {
            return true;
        }
        if (event.value("cat", "") == "Node" && event.contains("args")) {
            Spent& node = nodes[event.value("name", "")];
            node.type = event["args"].value("op_name", "");
            ++node.calls;
            node.micros += event.value("dur", uint64_t{0});
        }
        return false;  // No further one is held beside it.
    };
    try {
        return !Json::parse(file, count, false).is_discarded();
    } catch (const Json::exception&) {
        return false;
    }
}

std::string NameOf(std::string name) {
    const size_t suffix = name.rfind(kSuffix);
    name.resize(std::min(suffix, std::min(name.size(), kMostName)));
    return name;
}

}  // namespace

RunProfile::Folder::Folder() : only_(!looking.test_and_set()) {
    std::error_code none;
    std::string path = (fs::temp_directory_path(none) / "orva-profile-XXXXXX").string();
    if (only_ && mkdtemp(path.data()) != nullptr) {
        path_ = std::move(path);
    }
}

RunProfile::Folder::~Folder() {
    if (!path_.empty()) {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    if (only_) {
        looking.clear();
    }
}

RunProfile::RunProfile(Ort::RunOptions& options) {
    if (!folder_.path().empty()) {
        Ort::ThrowOnError(Ort::GetApi().RunOptionsEnableProfiling(
                options, (folder_.path() + "/run").c_str()));
    }
}

std::string RunProfile::Table() const {
    Account account;
    if (!folder_.path().empty()) {
        for (const fs::directory_entry& file : fs::directory_iterator(folder_.path())) {
            std::ifstream content(file.path());
            if (file.file_size() > kMostBytes || !Read(content, account)) {
                ORVA_LOGE("a profile of %ju bytes cannot be read", file.file_size());
                return "";
            }
        }
    }
    std::vector<std::pair<std::string, Spent>> slowest(account.begin(), account.end());
    std::stable_sort(slowest.begin(), slowest.end(), [](const auto& left, const auto& right) {
        return left.second.micros > right.second.micros;
    });
    slowest.resize(std::min(slowest.size(), kMostRows));
    Json table = Json::array();
    for (const auto& [name, spent] : slowest) {
        table.push_back({{"node", NameOf(name)},
                         {"operator", NameOf(spent.type)},
                         {"calls", spent.calls},
                         {"micros", spent.micros}});
    }
    return table.empty() ? "" : table.dump(-1, ' ', true, Json::error_handler_t::replace);
}

}  // namespace orva::reference
