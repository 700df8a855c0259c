/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace orva::host {

// What a call was given and has answered, with names, of the pointers that generated code passes to
// an observer. A peer's texts are cut, and so are its lists, so that the whole has a bound; a
// tensor's record is read only of a memory file, which keeps nobody waiting. Methods that are not
// the services' own have no members. From any thread.
nlohmann::ordered_json argumentsOf(const std::string& interface, const std::string& method,
                                   const std::vector<void*>& pointers);
nlohmann::ordered_json resultsOf(const std::string& interface, const std::string& method,
                                 const std::vector<void*>& pointers);

}  // namespace orva::host
