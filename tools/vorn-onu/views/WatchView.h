// A board that runs, on one screen: services, ports, counters with their rates, the last calls, warnings.
#ifndef VORN_ONU_WATCH_VIEW_H
#define VORN_ONU_WATCH_VIEW_H

#include <cstddef>
#include <string>
#include <vector>

#include "running/io/HeldJson.h"

namespace vorn_onu {

// What is known of the board.
struct Watched {
    std::string title;               // "lab: exec ./my-omci-daemon"
    std::string problem;             // why nothing new comes; "" while it does
    Held<nlohmann::json> device;     // its state; null before the first one. The trace has its failed calls
    Held<nlohmann::json> counters;   // the reply to "counters"; null before the first one
    Held<nlohmann::json> before;     // the one before
    double seconds = 0;              // between the two; 0 where there is none before
    std::vector<std::string> calls;  // the last ones, the latest at the end
};

// What the reader wants to see of it.
struct WatchChoice {
    std::string filter;        // lines that hold it alone
    bool isTyping = false;     // the filter
    bool byTraffic = false;    // ports and GEM ports with the most frames a second first
    std::size_t scrolled = 0;  // so many lines of each part
};

// Lines for a window of this size, painted where colour is set. What is scrolled further than the lines go is taken
// back.
std::vector<std::string> watchLines(const Watched& watched, WatchChoice& choice, std::size_t rows, std::size_t columns,
                                    bool colour);

}  // namespace vorn_onu

#endif
