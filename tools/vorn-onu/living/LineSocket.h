// Lines over a stream socket, with an end to every wait. Calls only what a preloaded virtual ONU leaves alone, so that
// it can be used inside of a program too.
#ifndef VORN_ONU_LINE_SOCKET_H
#define VORN_ONU_LINE_SOCKET_H

#include <cstddef>
#include <string>

namespace vorn_onu::living {

enum class Got { Line, Nothing, Closed, TooLong };

constexpr int kForever = -1;

class LineSocket {
public:
    // Takes the descriptor over. Longer lines are refused.
    LineSocket(int descriptor, std::size_t longest);
    ~LineSocket();
    LineSocket(const LineSocket&) = delete;
    LineSocket& operator=(const LineSocket&) = delete;

    int descriptor() const { return descriptor_; }
    bool hasPart() const { return !buffer_.empty(); }  // of a line, or a line
    // The next line without its end. Waits so many milliseconds; Nothing when it has not come by then.
    Got read(std::string& line, int waitMs);
    // False when the other side does not take it within this time; the socket is of no use then.
    bool write(const std::string& line, int waitMs);
    // Waits so long for the other side to close the connection. One that has only said that it sends no more is there.
    bool hasLeft(int waitMs) const;
    void shutDown();                    // wakes up whoever waits on it, on both sides
    void letGo() { descriptor_ = -1; }  // without closing it: the number is somebody else's by now

private:
    bool take(std::string& line);

    int descriptor_;
    std::size_t longest_;
    std::string buffer_;
    std::size_t looked_ = 0;  // there is no line end before
};

// Connected to the socket at this path, -1 with errno otherwise.
int connectTo(const std::string& path);

}  // namespace vorn_onu::living

#endif
