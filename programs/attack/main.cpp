/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <cstdio>
#include <string>

#include <android/log.h>
#include <orva_platform/Runtime.h>
#include <CLI/CLI.hpp>

#include "Attack.h"

// Exit codes: 0, the attack was made; 1, it could not be made, or the host did what it must not;
// 2, a mistake in the command line; 77, this machine has not what it needs.

namespace {

constexpr int kFailure = 1;
constexpr int kUsage = 2;
constexpr int kUnavailable = 77;

int run(const orva::attack::Attack& attack, std::chrono::seconds length) {
    try {
        attack.run(length);
        return 0;
    } catch (const orva::attack::Unavailable& reason) {
        fprintf(stderr, "orva-attack: %s is not possible here: %s\n", attack.name, reason.what());
        return kUnavailable;
    } catch (const std::exception& error) {
        fprintf(stderr, "orva-attack: %s: %s\n", attack.name, error.what());
        return kFailure;
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::string folder;
    int64_t seconds = 3;
    bool list = false;
    CLI::App app("Misbehaves as a client of a running orva-host, to see that nobody else notices.",
                 "orva-attack");
    app.add_flag("--list", list, "List the attacks");
    app.add_option("--socket-dir", folder, "Folder of the service sockets");
    app.add_option("--seconds", seconds, "How long an attack lasts that has no end of its own")
            ->check(CLI::Range(1, 3600))
            ->capture_default_str();
    app.set_version_flag("--version", ORVA_VERSION);
    for (const auto& attack : orva::attack::attacks()) {
        app.add_subcommand(attack.name, attack.what);
    }
    app.require_subcommand(0, 1);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsage;
    }
    // What the host refuses is no news.
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    if (!folder.empty()) {
        orva_platform::setServiceDirectory(folder);
    }
    for (const auto& attack : orva::attack::attacks()) {
        if (list) {
            printf("%-24s %s\n", attack.name, attack.what);
        } else if (app.got_subcommand(attack.name)) {
            return run(attack, std::chrono::seconds(seconds));
        }
    }
    if (!list) {
        fprintf(stderr, "orva-attack: no attack is named; --list lists them\n");
        return kUsage;
    }
    return 0;
}
