/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>
#include <chrono>
#include <cstddef>
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
// as if it had died; zero (the default) waits for ever. Calls that it makes in between count, too,
// and so does what is called back from inside those; see docs/peers.md. Concerns peers that come
// from here on.
void setReplyLimit(std::chrono::milliseconds limit);

// What one peer, which is a process, may have of this one at once. Who meets a bound is refused
// that, with a line in the log; nobody else notices. Concerns peers that come from here on.
struct PeerLimits {
    size_t connections = 64;
    size_t channels = 64;       // That it calls on, each for one call at a time.
    size_t calls = 0;           // Served at once, if it is a client; further ones wait. 0: three
                                // quarters of the pool, and not all of it.
    size_t objects = 4096;      // Of its own, held here.
    size_t descriptors = 4096;  // In its calls under way.
    size_t callbacks = 32;      // Calls to it at once; further ones wait.
};
void setPeerLimits(const PeerLimits& limits);

// For a thread that holds what others wait for, such as a lock, while it calls a client. From
// deferAnswer on, its next call to a client is waited for 50 ms, and no longer than
// until the client calls from inside it; then it returns as if the client had answered that it is
// done, with no results. awaitAnswer, which comes when nothing is held any more, waits for the
// answer and serves what the client calls meanwhile, in the limits of any call. A client that takes
// 20 ms to make room for such a call is cut off.
void deferAnswer();
void awaitAnswer();

// How many threads may stand in for those of the pool that are blocked while calls wait; 0 by
// default. Set it before the pool starts. With stand-ins, more calls may run at once than the pool
// has threads, though not for one peer.
void setStandIns(size_t most);

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
// longer than two seconds loses its connections, but is waited for as long as the patience lasts.
// True, and the runtime can be used again; false when calls are under way still: then all that is
// left to the process is to exit without its destructors. Not to be called from a thread of the
// pool.
bool stop(std::chrono::milliseconds patience = std::chrono::milliseconds::max());

// Makes joinRpcThreadpool return, at once, so that the thread that joined can call stop(). Safe in
// a signal handler.
void requestStop();

// What the runtime holds, for tests and dumps.
struct Counts {
    size_t peers;     // Processes connected to this one or by it.
    size_t channels;  // Conversations open on them.
    size_t threads;   // Threads of the pool.
    size_t exports;   // Local objects that peers hold.
    size_t proxies;   // Remote objects held here.
};
Counts counts();

}  // namespace orva_platform
