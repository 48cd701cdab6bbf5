// Where boards that run are found: a socket for each below the user's runtime directory, named for the board.
#ifndef VORN_ONU_BOARD_SOCKET_H
#define VORN_ONU_BOARD_SOCKET_H

#include <string>
#include <vector>

namespace vorn_onu::living {

// "" for a name that a board can have, else why not.
std::string problemOfName(const std::string& name);
std::string socketPath(const std::string& name);
std::vector<std::string> knownNames();  // of all sockets, also of boards that have gone without a word

// A listening socket under a name, for as long as the object lives. The name goes to one run at a time; what a run has
// left that was killed is replaced.
class BoardSocket {
public:
    // Throws std::runtime_error: a bad name, one that is taken, a directory that is not the user's alone.
    explicit BoardSocket(const std::string& name);
    ~BoardSocket();
    BoardSocket(const BoardSocket&) = delete;
    BoardSocket& operator=(const BoardSocket&) = delete;

    const std::string& name() const { return name_; }
    const std::string& path() const { return path_; }
    int descriptor() const { return socket_; }

private:
    void lock();
    void listen();

    std::string name_, path_, lockPath_;
    int lock_ = -1, socket_ = -1;
};

}  // namespace vorn_onu::living

#endif
