#include "running/program/KeptBoard.h"

#include <nlohmann/json.hpp>

#include "VirtualOnu.h"

namespace vorn_onu {

nlohmann::json boardAndCalls(const nlohmann::json& program) {
    nlohmann::json all = virtual_onu::VirtualOnu::instance().toJson();
    if (!program.is_object()) return all;
    for (const char* place : {"/trace", "/calls", "/bus/sent", "/shell/commands", "/shell/killed", "/runner/remarks",
                              "/network/packetFrames", "/files/openDescriptors"}) {
        const nlohmann::json::json_pointer pointer(place);
        if (program.contains(pointer)) all[pointer] = program.at(pointer);
    }
    return all;
}

}  // namespace vorn_onu
