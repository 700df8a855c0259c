/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "describe/CommandText.h"

#include <algorithm>

namespace orva::describe {

namespace {

// A value of a few is shown as "TEXT:{shm,ion}", or "INT:value in {warn->5,error->6} OR {5,6}".
std::vector<std::string> choicesIn(const std::string& type) {
    std::vector<std::string> choices;
    const size_t open = type.find('{');
    const size_t close = type.find('}', open);
    if (open == std::string::npos || close == std::string::npos) {
        return choices;
    }
    size_t begin = open + 1;
    while (begin < close) {
        const size_t end = std::min(type.find(',', begin), close);
        const std::string choice = type.substr(begin, end - begin);
        choices.push_back(choice.substr(0, choice.find("->")));
        begin = end + 1;
    }
    return choices;
}

OptionText textOf(const CLI::Option& option, const std::vector<std::string>& ofMachine) {
    OptionText text;
    for (const std::string& name : option.get_snames()) {
        text.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        text.names.push_back("--" + name);
    }
    text.takesValue = option.get_items_expected_max() > 0;
    const std::string type = option.get_type_name();
    text.choices = choicesIn(type);
    text.takesFile = text.takesValue && text.choices.empty() && type.rfind("TEXT", 0) == 0;
    const bool differs =
            std::any_of(ofMachine.begin(), ofMachine.end(),
                        [&option](const std::string& name) { return option.check_name(name); });
    text.usual = differs ? "" : option.get_default_str();
    text.description = option.get_description();
    return text;
}

}  // namespace

CommandText textOf(const CLI::App& app, const std::vector<std::string>& ofMachine) {
    CommandText text = {app.get_name(), app.get_description(), app.get_footer(), {}, {}, {}};
    for (const CLI::Option* option : app.get_options()) {
        // Without a group it is not for people.
        if (!option->get_group().empty()) {
            auto& where = option->get_positional() ? text.arguments : text.options;
            where.push_back(textOf(*option, ofMachine));
        }
    }
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        text.commands.push_back(textOf(*command, ofMachine));
    }
    return text;
}

}  // namespace orva::describe
