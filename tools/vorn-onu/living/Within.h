// Expectations that get time: looked at again and again, so that a board is free for others in between.
#ifndef VORN_ONU_WITHIN_H
#define VORN_ONU_WITHIN_H

#include <atomic>
#include <string>

#include "living/LineSocket.h"
#include "living/LiveBoard.h"

namespace vorn_onu::living {

// The reply to a request; a step {"expect": ..., "within": milliseconds} is put to the board as often as it takes. Ends
// early when the client has left, or over is set.
std::string askWithin(LiveBoard& board, const Json& request, const LineSocket& client, const std::atomic<bool>& over);

}  // namespace vorn_onu::living

#endif
