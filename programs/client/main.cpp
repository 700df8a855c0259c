/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

#include <orva_platform/Runtime.h>
#include <CLI/CLI.hpp>

#include "client/commands/Commands.h"

namespace {

constexpr int kFailure = 1;
constexpr int kUsage = 2;

int runCommandLine(int argc, char** argv) {
    CLI::App app("Talks to the AI services that orva-host serves.", "orva");
    app.require_subcommand(1);
    app.fallthrough();
    app.set_version_flag("--version", ORVA_VERSION);
    // Commands run while the rest is parsed, so this must take effect as soon as it is read.
    app.add_option_function<std::string>("--socket-dir", orva_platform::setServiceDirectory,
                                         "Folder of the service sockets (default: "
                                         "$ORVA_SERVICE_DIR, then $XDG_RUNTIME_DIR/orva, then "
                                         "/tmp/orva-UID)");
    orva::client::Connection connection;
    app.add_option("--instance", connection.instance, "Instance of the service to talk to")
            ->capture_default_str();
    orva::client::addList(&app);
    orva::client::addPing(&app, &connection);
    orva::client::addRun(&app, &connection);
    orva::client::addFaces(&app, &connection);

    try {
        app.parse(argc, argv);
        return 0;
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsage;
    } catch (const std::exception& error) {
        fprintf(stderr, "orva: %s\n", error.what());
        return kFailure;
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    const int status = runCommandLine(argc, argv);
    orva_platform::stop();
    return status;
}
