// Serves the page of a board to this machine's browsers.
#ifndef VORN_ONU_PAGE_HTTP_SERVER_H
#define VORN_ONU_PAGE_HTTP_SERVER_H

#include <memory>
#include <string>

#include <nlohmann/json_fwd.hpp>

namespace vorn_onu::page {

// False where the tool was built without the HTTP library; nothing else of this may be used then.
bool canServe();

class HttpServer {
public:
    // Takes the port on 127.0.0.1 at once, 0 for any that is free. newBoard: the state of a board that nothing has been
    // done to. Throws std::runtime_error.
    HttpServer(const std::string& board, int port, nlohmann::json newBoard);
    ~HttpServer();  // ends all connections
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    // With the token: "http://127.0.0.1:8080/?token=...".
    std::string link() const;
    // From now on readers are answered, on threads that take no signals.
    void start();

private:
    class Site;
    std::unique_ptr<Site> site_;
};

}  // namespace vorn_onu::page

#endif
