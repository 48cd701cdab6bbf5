// cpp-httplib's server with limits that the library does not have: on what a request may bring and how long it may take
// to come, and on connections that wait. Any user of the machine can connect; none may take its memory, or the page
// from the others.
#ifndef VORN_ONU_LIMITED_SERVER_H
#define VORN_ONU_LIMITED_SERVER_H

#include <httplib.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "OwnThread.h"
#include "running/io/Pause.h"

namespace vorn_onu::page {

// Reads from one connection. A request that is longer than allowed, or slower, ends as a connection that was closed.
class LimitedStream : public httplib::Stream {
public:
    LimitedStream(socket_t socket, std::size_t maxBytes, std::chrono::milliseconds time)
        : socket_(socket), left_(maxBytes), end_(Clock::now() + time) {}

    bool is_readable() const override { return next_ < filled_ || waitFor(POLLIN, untilEnd()); }
    bool is_writable() const override { return waitFor(POLLOUT, kWriteMs) && !hasGone(); }
    ssize_t read(char* to, std::size_t size) override {
        if (next_ == filled_ && !receive()) return -1;
        const std::size_t count = std::min(size, filled_ - next_);
        std::memcpy(to, buffer_.data() + next_, count);
        next_ += count;
        return static_cast<ssize_t>(count);
    }
    ssize_t write(const char* from, std::size_t size) override {
        if (!waitFor(POLLOUT, kWriteMs)) return -1;
        return send(socket_, from, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    }
    void get_remote_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
    void get_local_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
    socket_t socket() const override { return socket_; }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr int kWriteMs = 5000;

    int untilEnd() const {
        const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(end_ - Clock::now()).count();
        return static_cast<int>(std::max<long>(rest, 0));
    }
    bool waitFor(short event, int milliseconds) const {
        pollfd one{socket_, event, 0};
        return poll(&one, 1, milliseconds) > 0;
    }
    bool hasGone() const {
        char byte = 0;
        return recv(socket_, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
    }
    bool receive() {
        if (left_ == 0 || !waitFor(POLLIN, untilEnd())) return false;
        const ssize_t got = recv(socket_, buffer_.data(), std::min(left_, buffer_.size()), 0);
        if (got <= 0) return false;
        next_ = 0;
        filled_ = static_cast<std::size_t>(got);
        left_ -= filled_;
        return true;
    }

    const socket_t socket_;
    std::size_t left_;
    const Clock::time_point end_;
    std::array<char, 4096> buffer_{};
    std::size_t next_ = 0, filled_ = 0;
};

// Threads for requests. Of the connections that wait for one there are at most so many; the next is closed.
// The library's own pool ends the program where the system has not so many threads; this one throws std::runtime_error.
class BoundedPool : public httplib::TaskQueue {
public:
    BoundedPool(std::size_t threads, std::size_t maxWaiting) : maxWaiting_(maxWaiting) {
        try {
            while (threads_.size() < threads) threads_.push_back(virtual_onu::startThread([this] { serve(); }));
        } catch (...) {
            BoundedPool::shutdown();
            throw;
        }
    }
    ~BoundedPool() override { BoundedPool::shutdown(); }
    BoundedPool(const BoundedPool&) = delete;
    BoundedPool& operator=(const BoundedPool&) = delete;
    void enqueue(std::function<void()> work) override {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (waiting_.size() < maxWaiting_) {
                waiting_.push_back(std::move(work));
                came_.notify_one();
                return;
            }
        }
        refuses() = true;
        work();
        refuses() = false;
    }
    // What waits is done.
    void shutdown() override {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            over_ = true;
        }
        came_.notify_all();
        for (std::thread& one : threads_) one.join();
        threads_.clear();
    }

    // Whether this thread closes a connection instead of serving it.
    static bool& refuses() {
        thread_local bool refuses = false;
        return refuses;
    }

private:
    void serve() {
        std::unique_lock<std::mutex> lock(mutex_);
        while (true) {
            came_.wait(lock, [this] { return over_ || !waiting_.empty(); });
            if (waiting_.empty()) return;
            const std::function<void()> work = std::move(waiting_.front());
            waiting_.pop_front();
            lock.unlock();
            work();
            lock.lock();
        }
    }

    const std::size_t maxWaiting_;
    std::vector<std::thread> threads_;
    std::mutex mutex_;  // guards what follows
    std::condition_variable came_;
    std::deque<std::function<void()>> waiting_;
    bool over_ = false;
};

class LimitedServer : public httplib::Server {
public:
    // maxBytes: of a request's head and body together; time: for all of them to come. The answer may take longer.
    LimitedServer(std::size_t maxBytes, std::chrono::milliseconds time) : maxBytes_(maxBytes), time_(time) {}
    ~LimitedServer() override { end(); }
    LimitedServer(const LimitedServer&) = delete;
    LimitedServer& operator=(const LimitedServer&) = delete;

    // Serves the port that is bound, on threads of its own. Throws std::runtime_error where the system has none.
    void begin(std::size_t threads, std::size_t maxWaiting) {
        auto pool = std::make_unique<BoundedPool>(threads, maxWaiting);
        new_task_queue = [taken = pool.get()] { return taken; };
        listening_ = virtual_onu::startThread([this] { listen_after_bind(); });
        static_cast<void>(pool.release());  // the listening thread deletes it
        // A server that is stopped before it listens would never end.
        while (!is_running()) pause(std::chrono::milliseconds(1));
    }
    void end() {
        stop();
        if (listening_.joinable()) listening_.join();
    }

private:
    bool process_and_close_socket(socket_t socket) override {
        bool good = !BoundedPool::refuses();
        if (good) {
            LimitedStream stream(socket, maxBytes_, time_);
            bool closed = false;
            good = process_request(stream, true, closed, nullptr);
        }
        ::shutdown(socket, SHUT_WR);
        if (good) drain(socket);
        ::close(socket);
        return good;
    }
    // A connection that is closed with unread bytes is reset, and with it the answer may be lost.
    static void drain(socket_t socket) {
        constexpr int kMaxBuffers = 64, kWaitMs = 100;
        std::array<char, 4096> buffer{};
        pollfd one{socket, POLLIN, 0};
        for (int i = 0; i < kMaxBuffers && poll(&one, 1, kWaitMs) > 0; ++i)
            if (recv(socket, buffer.data(), buffer.size(), MSG_DONTWAIT) <= 0) return;
    }

    const std::size_t maxBytes_;
    const std::chrono::milliseconds time_;
    std::thread listening_;
};

}  // namespace vorn_onu::page

#endif
