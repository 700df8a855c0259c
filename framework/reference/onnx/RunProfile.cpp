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

// Adds up the nodes' events, one at a time: an array of objects, whose member "args" is one, too.
class Account : public nlohmann::json_sax<Json> {
public:
    std::map<std::string, Spent> nodes;

    bool start_object(size_t) override {
        ++depth_;
        if (depth_ == 1) {
            event_ = {};
        }
        return true;
    }
    bool end_object() override {
        --depth_;
        if (depth_ == 0 && event_.category == "Node" && !event_.type.empty()) {
            Spent& node = nodes[event_.name];
            node.type = std::move(event_.type);
            ++node.calls;
            node.micros += event_.micros;
        }
        return true;
    }
    bool key(string_t& name) override {
        key_ = std::move(name);
        return true;
    }
    bool string(string_t& value) override {
        if (depth_ == 1 && key_ == "cat") {
            event_.category = std::move(value);
        } else if (depth_ == 1 && key_ == "name") {
            event_.name = std::move(value);
        } else if (depth_ == 2 && key_ == "op_name") {
            event_.type = std::move(value);
        }
        return true;
    }
    bool number_unsigned(number_unsigned_t value) override {
        if (depth_ == 1 && key_ == "dur") {
            event_.micros = value;
        }
        return true;
    }
    bool number_integer(number_integer_t) override { return true; }
    bool number_float(number_float_t, const string_t&) override { return true; }
    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool binary(binary_t&) override { return true; }
    bool start_array(size_t) override { return true; }
    bool end_array() override { return true; }
    bool parse_error(size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

private:
    struct Event {
        std::string category, name, type;
        uint64_t micros = 0;
    };
    int depth_ = 0;
    std::string key_;
    Event event_;
};

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
            if (file.file_size() > kMostBytes || !Json::sax_parse(content, &account)) {
                ORVA_LOGE("a profile of %ju bytes cannot be read", file.file_size());
                return "";
            }
        }
    }
    std::vector<std::pair<std::string, Spent>> slowest(account.nodes.begin(), account.nodes.end());
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
