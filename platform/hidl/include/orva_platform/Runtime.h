/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

// What a program on Linux decides about the HIDL runtime. A device has none of this, so only
// programs and tests include it, never the product.
namespace orva_platform {

// Where services are found and registered. In order: the path given here, $ORVA_SERVICE_DIR,
// $XDG_RUNTIME_DIR/orva, /tmp/orva-<uid>. Set it before the first service is asked for. The folder
// is made with mode 0700 when it is missing, and refused when it is another user's or others may
// write to it.
void setServiceDirectory(const std::string& path);
std::string serviceDirectory();

// How long a peer may take to answer a call of ours, or to read what we send, before it is cut off
// as if it had died; zero (the default) waits for ever. Concerns connections made from here on.
void setReplyLimit(std::chrono::milliseconds limit);

// What is done when a process that connected to this one, or was connected to, has gone: called
// with its number, on a thread of the pool, after the recipients of its objects' deaths have been
// told. One at a time for one process; an empty function for nothing, as by default.
void onPeerGone(std::function<void(pid_t)> act);

// One registered instance, as the directory shows it.
struct ServiceEntry {
    std::string interface;  // "vendor.selkat.hardware.ai@2.1::IAIService"
    std::string instance;   // "default"
    pid_t pid;              // Who serves it.
};

// Every instance that a living process serves, sorted by name.
std::vector<ServiceEntry> listServices();

// Takes this process's services out of the directory, waits for calls under way, ends all
// connections, joins the pool's threads and makes joinRpcThreadpool return. A call that takes
// longer than two seconds loses its connections, but is waited for. Safe to call again; not to be
// called from a thread of the pool. The runtime can be used again afterwards.
void stop();

// Makes a joined pool return, so that the thread that joined can call stop(); if that thread is
// serving a call, at its end. Safe in a signal handler.
void requestStop();

// What the runtime holds, for tests and dumps.
struct Counts {
    size_t links;     // Connected processes, in both directions.
    size_t channels;  // Conversations open on them.
    size_t threads;   // Threads of the pool.
    size_t exports;   // Local objects that peers hold.
    size_t proxies;   // Remote objects held here.
};
Counts counts();

}  // namespace orva_platform
