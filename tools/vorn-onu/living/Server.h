// Answers whoever speaks to a board's socket, and tells those who listen what happens.
#ifndef VORN_ONU_SERVER_H
#define VORN_ONU_SERVER_H

#include <atomic>
#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "living/BoardSocket.h"
#include "living/LineSocket.h"
#include "living/LiveBoard.h"
#include "living/News.h"
#include "living/Protocol.h"

namespace vorn_onu::living {

constexpr std::size_t kMaxClients = 64;

class Server {
public:
    // The name is taken at once, so that it can be refused before anything runs; clients wait until answer(). taps: the
    // options of real packets, for those who ask. Throws std::runtime_error.
    explicit Server(const std::string& name, std::vector<std::string> taps = {})
        : socket_(name), taps_(std::move(taps)) {}
    ~Server() { stop("the board is gone"); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // Starts the first of the threads, which take no signals. The board lives longer than the server. Throws
    // std::runtime_error.
    void start(LiveBoard& board);
    // From now on clients are answered.
    void answer();
    // Listeners get the reason; everybody is disconnected.
    void stop(const std::string& why);

    const std::string& name() const { return socket_.name(); }
    const std::string& path() const { return socket_.path(); }

private:
    struct Client {
        explicit Client(int descriptor) : socket(descriptor, kMaxRequestLength) {}
        LineSocket socket;
        Listening listening;
        std::thread thread;
        std::atomic<bool> gone{false};
    };
    void acceptClients();
    void take(int descriptor);
    static void sayBusy(LineSocket& socket, const std::string& why);
    void serve(Client& client);
    bool answer(Client& client, const std::string& line);
    std::string replyTo(Client& client, const Json& request);
    std::string subscribed(Client& client, const Json& request);
    std::string greeting();
    void forgetGone();

    BoardSocket socket_;
    LiveBoard* board_ = nullptr;
    std::unique_ptr<News> news_;
    std::mutex mutex_;  // guards clients_
    std::list<Client> clients_;
    std::thread accepting_;
    int wake_ = -1;  // readable when it is over
    std::atomic<bool> answers_{false}, over_{false};
    std::string why_;
    std::string started_;
    std::vector<std::string> taps_;
};

}  // namespace vorn_onu::living

#endif
