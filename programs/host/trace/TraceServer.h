/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <android-base/unique_fd.h>
#include <utils/Mutex.h>

namespace orva::host {

// Hands lines to whoever connects to a socket, "trace-PID" in the folder of the services: this
// user's processes, and a few at once. Each first sends one line, the clients' process ids that it
// wants to hear of, as a JSON array; [] is for all. A reader that is too slow loses lines, and is
// told how many; nobody waits for it. Who sends a question instead, as a JSON string, gets one
// line, and watches nothing.
class TraceServer {
public:
    // The line to a question, without its end; throws std::exception where there is none. Called on
    // the server's own thread.
    using Answer = std::function<std::string(const std::string& question)>;

    // `watched` is told whether there is anybody to publish for, on the server's own thread, and
    // with false on its destruction. Throws std::system_error when the socket cannot be made.
    // Serves nobody before start().
    TraceServer(const std::string& folder, std::function<void(bool)> watched, Answer answer);
    // Everybody who reads gets the end of the file.
    ~TraceServer();
    TraceServer(const TraceServer&) = delete;
    TraceServer& operator=(const TraceServer&) = delete;

    void start();

    // Whether anybody wants to hear of a client. From any thread, as is publish().
    bool isWanted(pid_t client);
    // A line, without its end, that is about a client.
    void publish(pid_t client, const std::string& line);

private:
    class Reader;

    void run();
    void acceptOne();
    // What a reader's socket is ready for; false when the reader has gone.
    bool serve(Reader* reader, short ready);
    void wake() const;

    const std::function<void(bool)> watched_;
    const Answer answer_;
    android::base::unique_fd folder_;
    std::string file_;
    android::base::unique_fd listening_;
    android::base::unique_fd wakeUp_;
    android::Mutex mutex_;
    bool stopping_ GUARDED_BY(mutex_) = false;
    std::vector<std::unique_ptr<Reader>> readers_ GUARDED_BY(mutex_);
    std::thread thread_;
};

}  // namespace orva::host
