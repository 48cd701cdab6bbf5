// Real packets: ports of the board that are TAP devices of the host. Frames that come out of a TAP enter the port,
// frames that leave at the port go into the TAP.
#ifndef VIRTUAL_ONU_TAPS_H
#define VIRTUAL_ONU_TAPS_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#if __has_include(<nlohmann/json_fwd.hpp>)
#include <nlohmann/json_fwd.hpp>
#ifndef VIRTUAL_ONU_HAS_JSON
#define VIRTUAL_ONU_HAS_JSON 1
#endif
#endif

#include "Export.h"

namespace virtual_onu {

constexpr std::size_t kMaxTaps = 64;

// One port as a TAP.
struct VIRTUAL_ONU_API TapRequest {
    std::string device;               // of the board: "sid0", "eth0", "veip0"; "" for a GEM port
    std::optional<unsigned> gemPort;  // its port id
    std::string interface;            // of the host
    std::string netns;                // a name below /run/netns, or a path; "" for the caller's own
    std::string port() const;         // "sid0", "gem 1001"
    std::string place() const;        // "tap0", "tap0 in customer"
};

namespace taps {
struct OpenTaps;
}

// TAPs that are open as long as the object lives. A TAP that is not there is made (which needs CAP_NET_ADMIN), set up,
// and gone with the last descriptor of it; one that is there is taken as it is. Until a board carries frames, the TAPs
// have no carrier.
class VIRTUAL_ONU_API Taps {
public:
    // std::runtime_error: one of them cannot be had, and why; then none is.
    explicit Taps(const std::vector<TapRequest>& requests);
    ~Taps();  // stops
    Taps(const Taps&) = delete;
    Taps& operator=(const Taps&) = delete;

    // From now on this process's board carries the frames, on a thread that takes no signals.
    void start();
    void stop();

    // For a board in another process: its descriptors, in the order that libc/program/ of that process expects. They
    // stay this object's.
    std::vector<int> descriptors() const;
    void setCarriers(bool on) const;  // whether such a board carries frames

#ifdef VIRTUAL_ONU_HAS_JSON
    // As "taps" in the board's state. Asks the host for what was lost in front of the TAPs, when no board does.
    nlohmann::json toJson() const;
#endif

private:
    std::unique_ptr<taps::OpenTaps> open_;
    struct Running;
    std::unique_ptr<Running> running_;
};

}  // namespace virtual_onu

#endif
