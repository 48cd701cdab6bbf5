// What G.988 says of a frame, written from the standard's text and from nothing else: no rule, no planner. Of the
// library it takes the values of the tables alone.
#ifndef TESTS_G988_STANDARD_MODEL_H
#define TESTS_G988_STANDARD_MODEL_H

#include <optional>
#include <vector>

#include "BRCM/BCM968580/DATA/g988/Tables.h"
#include "VirtualOnu.h"

namespace standard {

using virtual_onu::Frame;

// Rows are tried in this order, and no two are equal in it.
std::vector<unsigned> orderOf(const g988::TaggingRow& row);

struct Up {
    unsigned gemIndex = 0, queue = 0;
    Frame frame;
    bool operator==(const Up& other) const {
        return gemIndex == other.gemIndex && queue == other.queue && frame == other.frame;
    }
};

// What becomes of a frame that comes in at UNI port 0, and of one that comes down; nothing when it is dropped.
std::optional<Up> up(const g988::Tables& tables, const Frame& frame);
std::optional<Frame> down(const g988::Tables& tables, unsigned gemIndex, const Frame& frame);

}  // namespace standard

#endif
