// Frames as a pcapng file for Wireshark: one interface a port, direction and comment at each frame.
#ifndef VORN_ONU_CAPTURE_H
#define VORN_ONU_CAPTURE_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace vorn_onu {

class Capture {
public:
    enum class Direction : std::uint8_t { In = 1, Out = 2 };  // as the ONU's port sees the frame

    // Interfaces appear in the file in the order of their first frame.
    void add(const std::string& port, Direction direction, const std::vector<std::uint8_t>& frame,
             const std::string& comment);
    bool empty() const { return frames_.empty(); }
    // The whole file. Frames are one millisecond apart, from the epoch on: a capture of the same scenario is the same
    // file.
    std::vector<std::uint8_t> bytes() const;
    // False when the file cannot be written.
    bool write(const std::string& path) const;

private:
    struct Captured {
        std::uint32_t interface;
        Direction direction;
        std::vector<std::uint8_t> frame;
        std::string comment;
    };
    std::vector<std::string> interfaces_;
    std::map<std::string, std::uint32_t> interfaceNumbers_;
    std::vector<Captured> frames_;
};

}  // namespace vorn_onu

#endif
