// The tool as an ONU at a socket, and the OLT's end of it.
#ifndef TESTS_OMCI_SERVICES_SOCKET_LINE_H
#define TESTS_OMCI_SERVICES_SOCKET_LINE_H

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "omci/olt/Line.h"
#include "support/Process.h"

class SocketLine : public olt::Line {
public:
    enum class Kind { kUnix, kUdp };
    // Starts "vorn-onu omci --listen" with a socket and a file of its state in a folder of its own, and more words; one
    // that begins with "+" is a file there.
    explicit SocketLine(Kind kind = Kind::kUnix, const std::vector<std::string>& more = {});
    ~SocketLine() override;
    SocketLine(const SocketLine&) = delete;
    SocketLine& operator=(const SocketLine&) = delete;

    std::optional<omci::Message> exchange(const omci::Message& request) override;
    // A datagram as it is.
    void sendBytes(const omci::Bytes& datagram);
    // The next one that comes, as it is; empty when none does.
    omci::Bytes receiveBytes();
    // What the ONU tells by itself: what came meanwhile, or comes; empty when nothing does.
    std::optional<omci::Message> autonomous();
    // Ends the ONU with SIGTERM; its exit code.
    int end() { return onu_->end(); }
    std::string path(const std::string& name) const { return folder_.file(name); }
    // What the ONU has written about itself when it ended, and what it has shown.
    std::string state() const { return contentOf(path("state.json")); }
    std::string shown() const { return onu_->output(); }

private:
    void connectUnix();
    void connectUdp();
    std::optional<omci::Message> receive();
    std::deque<omci::Message> autonomous_;
    const ScratchDirectory folder_;
    std::unique_ptr<BackgroundProgram> onu_;
    int socket_ = -1;
};

#endif
