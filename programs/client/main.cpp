/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <orva_platform/Runtime.h>
#include <CLI/CLI.hpp>

#include "client/commands/Commands.h"
#include "client/commands/HelpText.h"
#include "client/io/Output.h"
#include "client/io/Terminal.h"
#include "client/lib/ServiceError.h"
#include "describe/Describe.h"
#include "describe/NumberRange.h"

namespace {

constexpr int kFailure = 1;
constexpr int kUsage = 2;

// What CLI11 says of a word that is no command is only that one is missing.
int explain(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> rest = app.remaining();
    const bool noCommand = app.get_subcommands().empty();
    if (error.get_exit_code() == 0 || !noCommand || rest.empty()) {
        return app.exit(error) == 0 ? 0 : kUsage;
    }
    fprintf(stderr, "orva: there is no %s '%s'; the commands are",
            rest.front()[0] == '-' ? "option" : "command", rest.front().c_str());
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        fprintf(stderr, " %s", command->get_name().c_str());
    }
    fputs(" (see orva --help)\n", stderr);
    return kUsage;
}

// Errors speak of others' files, and in others' words.
int fail(const std::string& error) {
    fprintf(stderr, "orva: %s\n", orva::client::printable(error, "\n").c_str());
    return kFailure;
}

int runCommandLine(int argc, char** argv) {
    CLI::App app("Talks to the AI services that orva-host serves.", "orva");
    app.formatter(std::make_shared<orva::client::HelpText>());  // of the subcommands, too
    app.require_subcommand(1);
    app.fallthrough();
    app.footer("orva COMMAND --help shows a command's options, and an example.");
    app.set_version_flag("--version", ORVA_VERSION);
    // Commands run while the rest is parsed, so this must take effect as soon as it is read.
    app.add_option_function<std::string>("--socket-dir", orva_platform::setServiceDirectory,
                                         "Folder of the service sockets (default: "
                                         "$ORVA_SERVICE_DIR, then $XDG_RUNTIME_DIR/orva, then "
                                         "/tmp/orva-UID)");
    orva::client::Connection connection;
    app.add_option("--instance", connection.instance, "Instance of the service to talk to")
            ->capture_default_str();
    app.add_option("--timeout", connection.timeout,
                   "Seconds to wait for any one answer or result, 0 for ever (default: 10 where a "
                   "service is only asked for what it knows, for ever where it computes)")
            ->check(orva::describe::NumberRange(0.0, 1e6));
    orva::client::addList(&app, &connection);
    orva::client::addNodes(&app, &connection);
    orva::client::addPing(&app, &connection);
    orva::client::addRun(&app, &connection);
    orva::client::addFaces(&app, &connection);
    orva::client::addInfo(&app, &connection);
    orva::client::addCheck(&app, &connection);
    orva::client::addCompile(&app, &connection);
    orva::client::addPerf(&app, &connection);
    orva::client::addTop(&app, &connection);
    orva::client::addTrace(&app, &connection);
    orva::client::addDebug(&app, &connection);
    orva::describe::addDescribe(&app, ORVA_VERSION);

    try {
        app.parse(argc, argv);
        return 0;
    } catch (const CLI::ParseError& error) {
        return explain(app, error);
    } catch (const std::filesystem::filesystem_error& error) {
        return fail("cannot use " + error.path1().string() + ": " + error.code().message());
    } catch (const orva::client::ServiceError& error) {
        return fail(error.explained());
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}

}  // namespace

int main(int argc, char** argv) {
    orva::client::holdStandardStreams();
    std::signal(SIGPIPE, SIG_IGN);
    const int status = runCommandLine(argc, argv);
    orva_platform::stop();
    return orva::client::finishStandardOutput() || status != 0 ? status : kFailure;
}
