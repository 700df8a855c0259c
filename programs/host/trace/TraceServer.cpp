/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "orva-host"

#include "TraceServer.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <filesystem>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <log/log.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

namespace orva::host {

using android::AutoMutex;
using android::base::unique_fd;

namespace {

constexpr size_t kMostReaders = 8;
constexpr size_t kMostRequestBytes = 4096;
// Of lines that wait for one reader.
constexpr size_t kMostWaitingBytes = size_t{4} << 20;
constexpr char kPrefix[] = "trace-";

unique_fd orThrow(int descriptor, const char* what) {
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return unique_fd(descriptor);
}

// Whoever served there and was killed leaves its socket behind.
void removeStale(const std::string& folder) {
    const std::string prefix = kPrefix;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename();
        if (name.compare(0, prefix.size(), prefix) == 0) {
            int pid = 0;  // Stays so for what is no number, or too large.
            std::from_chars(name.data() + prefix.size(), name.data() + name.size(), pid);
            if (pid > 0 && kill(pid, 0) != 0 && errno == ESRCH) {
                std::filesystem::remove(entry.path(), error);
            }
        }
    }
}

std::string eventLine(const char* event, nlohmann::ordered_json more) {
    nlohmann::ordered_json line = {{"event", event}};
    line.update(more);
    return line.dump() + "\n";
}

}  // namespace

// Of the server's own thread, but for what a comment gives to all.
class TraceServer::Reader {
public:
    explicit Reader(unique_fd socket) : socket_(std::move(socket)) {}

    int socket() const { return socket_; }
    bool hasMoreToSend() const { return sent_ < sending_.size(); }

    // These three with the server's lock held, from any thread.
    bool hasAsked() const { return clients_.has_value(); }
    bool wants(pid_t client) const {
        return clients_ && (clients_->empty() || clients_->count(client) != 0);
    }
    // False when more waits already; then there is nobody to wake up.
    bool add(const std::string& line) {
        const bool first = waiting_.empty() && lost_ == 0;
        // Once one is lost, all are until those before it are on their way: so it is said in its
        // place.
        if (lost_ != 0 || waiting_.size() + line.size() > kMostWaitingBytes) {
            ++lost_;
        } else {
            waiting_ += line;
            waiting_ += '\n';
        }
        return first;
    }

    // With the server's lock held.
    void ask(std::set<pid_t> clients) {
        clients_ = std::move(clients);
        sending_ = eventLine("watching", {{"host", getpid()}});
    }
    void answer(const std::string& line) { sending_ = line + "\n"; }
    // With the server's lock held.
    void take() {
        if (hasMoreToSend() || (waiting_.empty() && lost_ == 0)) {
            return;
        }
        sending_.clear();
        sending_.swap(waiting_);
        sent_ = 0;
        if (lost_ != 0) {
            sending_ += eventLine("lost", {{"count", std::exchange(lost_, 0)}});
        }
    }

    // The request, once it is there; empty before, and afterwards. Throws std::exception when it is
    // none, or the reader has gone.
    std::optional<nlohmann::ordered_json> receive() {
        char bytes[kMostRequestBytes];
        const ssize_t size = recv(socket_, bytes, sizeof bytes, MSG_DONTWAIT);
        if (size == 0 || (size < 0 && errno != EAGAIN)) {
            throw std::runtime_error("gone");
        }
        request_.append(bytes, static_cast<size_t>(std::max<ssize_t>(size, 0)));
        const size_t end = request_.find('\n');
        if (request_.size() > kMostRequestBytes) {
            throw std::runtime_error("a request that is too long");
        }
        if (end == std::string::npos || std::exchange(received_, true)) {
            return std::nullopt;
        }
        return nlohmann::ordered_json::parse(request_.substr(0, end));
    }

    // False when the reader has gone.
    bool send() {
        while (hasMoreToSend()) {
            const ssize_t size = ::send(socket_, sending_.data() + sent_, sending_.size() - sent_,
                                        MSG_DONTWAIT | MSG_NOSIGNAL);
            if (size < 0) {
                return errno == EAGAIN || errno == EINTR;
            }
            sent_ += static_cast<size_t>(size);
        }
        return true;
    }

private:
    const unique_fd socket_;
    std::string request_;
    bool received_ = false;
    std::string sending_;
    size_t sent_ = 0;
    std::optional<std::set<pid_t>> clients_;
    std::string waiting_;
    size_t lost_ = 0;
};

TraceServer::TraceServer(const std::string& folder, std::function<void(bool)> watched,
                         Answer answer)
        : watched_(std::move(watched)),
          answer_(std::move(answer)),
          folder_(orThrow(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC), folder.c_str())),
          file_(kPrefix + std::to_string(getpid())),
          listening_(orThrow(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0),
                             "cannot make a socket")),
          wakeUp_(orThrow(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "cannot make an event")) {
    removeStale(folder);
    unlinkat(folder_, file_.c_str(), 0);
    // The folder's path may be longer than a socket's can be.
    sockaddr_un address = {AF_UNIX, {}};
    const std::string path = "/proc/self/fd/" + std::to_string(folder_.get()) + "/" + file_;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (bind(listening_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        fchmodat(folder_, file_.c_str(), S_IRUSR | S_IWUSR, 0) != 0 ||
        listen(listening_, static_cast<int>(kMostReaders)) != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot serve " + file_);
    }
}

void TraceServer::start() {
    thread_ = std::thread([this] { run(); });
}

TraceServer::~TraceServer() {
    {
        const AutoMutex lock(mutex_);
        stopping_ = true;
    }
    wake();
    if (thread_.joinable()) {
        thread_.join();
    }
    unlinkat(folder_, file_.c_str(), 0);
}

bool TraceServer::isWanted(pid_t client) {
    const AutoMutex lock(mutex_);
    return std::any_of(readers_.begin(), readers_.end(),
                       [client](const auto& reader) { return reader->wants(client); });
}

void TraceServer::publish(pid_t client, const std::string& line) {
    bool first = false;
    {
        const AutoMutex lock(mutex_);
        for (const auto& reader : readers_) {
            first |= reader->wants(client) && reader->add(line);
        }
    }
    if (first) {
        wake();
    }
}

void TraceServer::wake() const {
    eventfd_write(wakeUp_, 1);
}

void TraceServer::run() {
    bool isWatched = false;
    for (;;) {
        std::vector<pollfd> polled = {{wakeUp_.get(), POLLIN, 0}, {listening_.get(), POLLIN, 0}};
        {
            const AutoMutex lock(mutex_);
            if (stopping_) {
                break;
            }
            for (const auto& reader : readers_) {
                reader->take();
                polled.push_back(
                        {reader->socket(),
                         static_cast<short>(POLLIN | (reader->hasMoreToSend() ? POLLOUT : 0)), 0});
            }
        }
        if (poll(polled.data(), polled.size(), -1) < 0 && errno != EINTR) {
            ALOGE("tracing ends: %s", strerror(errno));
            break;
        }
        eventfd_t count = 0;
        eventfd_read(wakeUp_, &count);
        // Readers come and go on this thread alone, so those of above are those of now.
        std::set<int> gone;
        for (size_t i = 2; i < polled.size(); ++i) {
            Reader* reader = nullptr;
            {
                const AutoMutex lock(mutex_);
                reader = readers_[i - 2].get();
            }
            if (polled[i].revents != 0 && !serve(reader, polled[i].revents)) {
                gone.insert(polled[i].fd);
            }
        }
        if ((polled[1].revents & POLLIN) != 0) {
            acceptOne();
        }
        bool hasAsked = false;
        {
            const AutoMutex lock(mutex_);
            readers_.erase(std::remove_if(readers_.begin(), readers_.end(),
                                          [&gone](const auto& reader) {
                                              return gone.count(reader->socket()) != 0;
                                          }),
                           readers_.end());
            hasAsked = std::any_of(readers_.begin(), readers_.end(),
                                   [](const auto& reader) { return reader->hasAsked(); });
        }
        if (hasAsked != isWatched) {
            isWatched = hasAsked;
            watched_(isWatched);
        }
    }
    watched_(false);
    const AutoMutex lock(mutex_);
    readers_.clear();
}

bool TraceServer::serve(Reader* reader, short ready) {
    if ((ready & (POLLIN | POLLHUP | POLLERR)) != 0) {
        try {
            if (const auto request = reader->receive()) {
                if (request->is_string()) {
                    reader->answer(answer_(*request));
                } else {
                    auto clients = request->get<std::set<pid_t>>();
                    const AutoMutex lock(mutex_);
                    reader->ask(std::move(clients));
                }
            }
        } catch (const std::exception&) {
            return false;  // It sees the end of the file.
        }
    }
    return reader->send();
}

void TraceServer::acceptOne() {
    unique_fd socket(accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    ucred peer = {};
    socklen_t size = sizeof peer;
    if (socket < 0 || getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 ||
        peer.uid != geteuid()) {
        return;
    }
    const AutoMutex lock(mutex_);
    if (readers_.size() < kMostReaders) {
        readers_.push_back(std::make_unique<Reader>(std::move(socket)));
        return;
    }
    const std::string refusal = eventLine(
            "refused",
            {{"reason", std::to_string(kMostReaders) + " are watching this host already"}});
    if (send(socket, refusal.data(), refusal.size(), MSG_DONTWAIT | MSG_NOSIGNAL) < 0) {
        // It sees the end of the file.
    }
}

}  // namespace orva::host
