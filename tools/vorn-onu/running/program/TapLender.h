// Lends open TAPs to the process of a run whose board carries the frames: the one that began last to use a board of its
// own. When it has ended, the one before has them again.
#ifndef VORN_ONU_TAP_LENDER_H
#define VORN_ONU_TAP_LENDER_H

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "Taps.h"

namespace vorn_onu {

class TapLender {
public:
    // Listens at the path "taps" in the run's folder, on a thread that takes no signals. The TAPs live longer. Throws
    // std::runtime_error.
    TapLender(const virtual_onu::Taps& taps, const std::string& folder);
    ~TapLender();
    TapLender(const TapLender&) = delete;
    TapLender& operator=(const TapLender&) = delete;

private:
    struct Process {
        int connection = -1;
        std::int64_t since = 0;  // when it began to use its board, by the monotonic clock; 0 until it has said so
    };
    void serve();
    int holder() const;  // the connection of the process that has the TAPs, or -1
    static bool isGone(Process& process);
    void give(int connection) const;

    const virtual_onu::Taps& taps_;
    const std::vector<int> descriptors_;
    std::string path_;
    int listening_ = -1, ending_ = -1;
    std::vector<Process> processes_;  // the last one has the TAPs
    std::thread thread_;
};

}  // namespace vorn_onu

#endif
