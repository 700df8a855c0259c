/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "describe/Describe.h"

namespace orva::describe {

namespace {

std::string words(const std::vector<OptionText>& options) {
    std::string text;
    for (const OptionText& option : options) {
        for (const std::string& name : option.names) {
            text += (text.empty() ? "" : " ") + name;
        }
    }
    return text;
}

std::string choices(const OptionText& option) {
    std::string text;
    for (const std::string& choice : option.choices) {
        text += (text.empty() ? "" : " ") + choice;
    }
    return text;
}

std::string commandNames(const CommandText& program, const std::string& between) {
    std::string text;
    for (const CommandText& command : program.commands) {
        text += (text.empty() ? "" : between) + command.name;
    }
    return text;
}

// Within single quotes of a shell; `special` are characters that need a backslash besides.
std::string quoted(const std::string& text, const std::string& special = "") {
    std::string escaped;
    for (const char c : text) {
        if (c == '\'') {
            escaped += "'\\''";
        } else {
            escaped += (special.find(c) != std::string::npos ? "\\" : "") + std::string(1, c);
        }
    }
    return escaped;
}

std::string variable(const CommandText& program) {
    std::string name = "_" + program.name;
    for (char& c : name) {
        c = c == '-' ? '_' : c;
    }
    return name;
}

// The values of options that have a few: "*" for those of the program.
std::string bashChoices(const std::string& where, const std::vector<OptionText>& options) {
    std::string text;
    for (const OptionText& option : options) {
        for (const std::string& name : option.names) {
            if (!option.choices.empty()) {
                text.append("    ").append(where).append(":").append(name);
                text.append(") offer=\"").append(choices(option)).append("\" ;;\n");
            }
        }
    }
    return text;
}

// The options whose value is none of a few: a file's name, or something else.
std::string valueNames(const CommandText& program, bool isFile) {
    std::vector<OptionText> taking;
    const auto add = [&](const CommandText& command) {
        for (const OptionText& option : command.options) {
            if (option.takesValue && option.choices.empty() && option.takesFile == isFile) {
                taking.push_back(option);
            }
        }
    };
    add(program);
    for (const CommandText& command : program.commands) {
        add(command);
    }
    return words(taking);
}

// One option for zsh's _arguments: "--tensor[where tensors lie]:value:(shm ion)".
std::string zshOption(const OptionText& option) {
    std::string text;
    for (const std::string& name : option.names) {
        text += " \\\n        '*" + name + "[" + quoted(option.description, "[]:") + "]";
        if (option.takesValue) {
            text += ":value:" + (!option.choices.empty() ? "(" + quoted(choices(option)) + ")"
                                 : option.takesFile      ? "_files"
                                                         : " ");
        }
        text += "'";
    }
    return text;
}

std::string zshOptions(const CommandText& command) {
    std::string text;
    for (const OptionText& option : command.options) {
        text += zshOption(option);
    }
    return text;
}

// fish has a backslash within its single quotes.
std::string fishQuoted(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        escaped += (c == '\'' || c == '\\' ? "\\" : "") + std::string(1, c);
    }
    return escaped;
}

std::string fishOptions(const std::string& begin, const CommandText& command) {
    std::string text;
    for (const OptionText& option : command.options) {
        text += begin;
        for (const std::string& name : option.names) {
            text += name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1);
        }
        if (!option.choices.empty()) {
            text += " -x -a '" + choices(option) + "'";
        } else if (option.takesValue) {
            text += option.takesFile ? " -r -F" : " -x";
        }
        text += " -d '" + fishQuoted(option.description) + "'\n";
    }
    return text;
}

}  // namespace

std::string bashCompletions(const CommandText& program) {
    const std::string function = variable(program);
    const std::string commands = commandNames(program, "|");
    std::string text =
            "# Completions of " + program.name + " for bash.\n" + function +
            "() {\n"
            "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}\n"
            "    local command= offer= i\n"
            "    COMPREPLY=()\n";
    if (!commands.empty()) {
        text += "    for ((i = 1; i < COMP_CWORD; ++i)); do\n"
                "        case ${COMP_WORDS[i]} in " +
                commands +
                ") command=${COMP_WORDS[i]}; break ;; esac\n"
                "    done\n";
    }
    text += "    case $command:$before in\n" + bashChoices("*", program.options);
    for (const CommandText& command : program.commands) {
        text += bashChoices(command.name, command.options);
    }
    text += "    esac\n"
            "    if [[ -z $offer && \" " +
            valueNames(program, true) +
            " \" == *\" $before \"* ]]; then\n"
            "        return  # a file's name, by -o default\n"
            "    fi\n"
            "    if [[ -z $offer && \" " +
            valueNames(program, false) +
            " \" == *\" $before \"* ]]; then\n"
            "        compopt +o default 2>/dev/null || true\n"
            "        return\n"
            "    fi\n"
            "    if [[ -z $offer && $word == -* ]]; then\n"
            "        offer=\"" +
            words(program.options) +
            "\"\n"
            "        case $command in\n";
    for (const CommandText& command : program.commands) {
        text += "        " + command.name + ") offer+=\" " + words(command.options) + "\" ;;\n";
    }
    text += "        esac\n"
            "    elif [[ -z $offer && -z $command ]]; then\n"
            "        offer=\"" +
            commandNames(program, " ") +
            "\"\n"
            "    fi\n"
            "    [[ -z $offer ]] || mapfile -t COMPREPLY < <(compgen -W \"$offer\" -- \"$word\")\n"
            "}\n"
            "complete -o default -F " +
            function + " " + program.name + "\n";
    return text;
}

std::string zshCompletions(const CommandText& program) {
    std::string text = "#compdef " + program.name + "\n# Completions of " + program.name +
                       " for zsh.\nlocal curcontext=$curcontext context state line\n_arguments -C" +
                       zshOptions(program);
    if (program.commands.empty()) {
        return text + "\n";
    }
    text += " \\\n        '1:command:((";
    for (const CommandText& command : program.commands) {
        text += command.name + "\\:\"" + quoted(command.description, "\":\\") + "\" ";
    }
    text += "))' \\\n        '*::argument:->rest'\n[[ $state != rest ]] || case $words[1] in\n";
    for (const CommandText& command : program.commands) {
        text += command.name + ")\n    _arguments" + zshOptions(program) + zshOptions(command) +
                " \\\n        '*:file:_files' ;;\n";
    }
    return text + "esac\n";
}

std::string fishCompletions(const CommandText& program) {
    const std::string begin = "complete -c " + program.name;
    std::string text = "# Completions of " + program.name + " for fish.\n";
    text += fishOptions(begin, program);
    for (const CommandText& command : program.commands) {
        text += begin + " -n __fish_use_subcommand -f -a " + command.name + " -d '" +
                fishQuoted(command.description) + "'\n";
        text += fishOptions(begin + " -n '__fish_seen_subcommand_from " + command.name + "'",
                            command);
    }
    return text;
}

}  // namespace orva::describe
