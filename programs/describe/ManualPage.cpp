/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <algorithm>

#include "describe/Describe.h"

namespace orva::describe {

namespace {

// Text as it is: what the formatter takes for its own is escaped.
std::string plain(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '\\':
            escaped += "\\e";
            break;
        case '-':
            escaped += "\\-";
            break;
        case '\'':
            escaped += "\\(aq";
            break;
        case '.':
            escaped += "\\&.";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string sentence(const std::string& text) {
    return plain(text) + (text.empty() || text.back() == '.' ? "" : "\\&.");
}

std::string joined(const std::vector<std::string>& words, const std::string& between) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : between) + word;
    }
    return text;
}

std::string optionsOf(const std::vector<OptionText>& options) {
    std::string text;
    for (const OptionText& option : options) {
        text += ".TP\n.B " + plain(joined(option.names, ", "));
        if (option.takesValue) {
            text += " \\fI" +
                    plain(option.choices.empty() ? "VALUE" : joined(option.choices, " | ")) +
                    "\\fR";
        }
        text += "\n" + sentence(option.description);
        if (option.takesValue && !option.usual.empty()) {
            text += "\nDefault: " + plain(option.usual) + "\\&.";
        }
        text += "\n";
    }
    return text;
}

// Examples stay line by line.
std::string footerOf(const CommandText& command) {
    return command.footer.empty() ? "" : ".PP\n.nf\n" + plain(command.footer) + "\n.fi\n";
}

std::string synopsis(const std::string& program, const CommandText& command) {
    std::string text = ".B " + plain(program) + "\n[\\fIOPTIONS\\fR]";
    for (const OptionText& argument : command.arguments) {
        text += " \\fI" +
                plain(joined(argument.names, " ").empty() ? "ARGUMENT"
                                                          : joined(argument.names, " ")) +
                "\\fR...";
    }
    return text + (command.commands.empty() ? "\n" : " \\fICOMMAND\\fR\n");
}

}  // namespace

std::string manualPage(const CommandText& program, const std::string& version) {
    std::string text = ".TH " + upper(program.name) + " 1 \"\" \"orva " + version +
                       "\" \"User commands\"\n" + ".SH NAME\n" + plain(program.name) + " \\- " +
                       plain(program.description) + "\n.SH SYNOPSIS\n" +
                       synopsis(program.name, program) + ".SH DESCRIPTION\n" +
                       sentence(program.description) + "\n" + footerOf(program) + ".SH OPTIONS\n" +
                       optionsOf(program.options);
    if (!program.commands.empty()) {
        text += ".SH COMMANDS\n";
    }
    for (const CommandText& command : program.commands) {
        const std::string name = program.name + " " + command.name;
        text += ".SS " + plain(name) + "\n" + sentence(command.description) + "\n.PP\n" +
                synopsis(name, command) + optionsOf(command.arguments) +
                optionsOf(command.options) + footerOf(command);
    }
    return text +
           ".SH EXIT STATUS\n0 for success, 1 for a failure, whose cause is on the standard error, "
           "2 for a mistake in the command line\\&.\n";
}

}  // namespace orva::describe
