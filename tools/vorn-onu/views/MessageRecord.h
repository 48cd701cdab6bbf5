// A message with what came of it as JSON that is sent to somebody else, and read back there.
#ifndef VORN_ONU_MESSAGE_RECORD_H
#define VORN_ONU_MESSAGE_RECORD_H

#include <nlohmann/json_fwd.hpp>

#include "living/Playing.h"

namespace vorn_onu {

// playedJson() with the bytes of the messages, the time and the latency.
nlohmann::json messageRecord(const Played& played);
// What a line of a log is made of. Throws std::exception for what is no record.
Played playedOf(const nlohmann::json& record);

}  // namespace vorn_onu

#endif
