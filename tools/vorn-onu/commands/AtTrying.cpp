#include "commands/AtTrying.h"

#include <nlohmann/json.hpp>

namespace vorn_onu {

std::string callText(const nlohmann::json& entry) {
    return entry.value("name", "") + "(" + entry.value("arguments", "") +
           ") = " + std::to_string(entry.value("result", 0L)) +
           (entry.value("injected", false) ? "  (a fault that was asked for)" : "");
}

}  // namespace vorn_onu
