// The tool as an ONU at a Unix socket, and the OLT's end of it.
#ifndef TESTS_OMCI_SERVICES_SOCKET_LINE_H
#define TESTS_OMCI_SERVICES_SOCKET_LINE_H

#include <sys/types.h>

#include <string>

#include "omci/olt/Line.h"

class SocketLine : public olt::Line {
public:
    // Starts "vorn-onu omci --listen" with a socket and a file of its state in a folder of its own.
    SocketLine();
    ~SocketLine() override;
    SocketLine(const SocketLine&) = delete;
    SocketLine& operator=(const SocketLine&) = delete;

    std::optional<omci::Message> exchange(const omci::Message& request) override;
    // Ends the ONU with SIGTERM; its exit code, -1 when it ended otherwise.
    int end();
    // What the ONU has written about itself when it ended, and what it has shown.
    std::string state() const;
    std::string shown() const;
    bool socketExists() const;

private:
    std::string folder_;
    pid_t onu_ = -1;
    int socket_ = -1;
};

#endif
