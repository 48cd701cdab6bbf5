#include "running/state/FaultWords.h"

#include <cstdint>

#include <nlohmann/json.hpp>

namespace vorn_onu {

namespace {

using nlohmann::json;

std::string answersWords(std::uint64_t count, const std::string& what) {
    return (count == 1 ? "the next answer to the OLT is "
                       : "the next " + std::to_string(count) + " answers to the OLT are ") +
           what;
}

std::string messageFaultWords(const json& fault) {
    const auto number = [&fault](const char* key) { return fault.value(key, std::uint64_t{0}); };
    if (const auto count = number("drop"); count != 0) return answersWords(count, "not sent");
    if (const auto count = number("delay"); count != 0)
        return answersWords(count, "sent " + std::to_string(number("delayMs")) + " ms later");
    if (const auto count = number("duplicate"); count != 0) return answersWords(count, "sent twice");
    if (const auto count = number("damage"); count != 0) return answersWords(count, "damaged");
    return "MIB uploads have an entity of class " + std::to_string(number("unknownClass"));
}

}  // namespace

std::vector<std::string> faultWords(const json& faults) {
    std::vector<std::string> lines;
    for (const json& fault : faults) {
        if (fault.contains("omci")) {
            lines.push_back(messageFaultWords(fault["omci"]));
            continue;
        }
        const std::string which = fault.contains("call")
                                      ? "call number " + std::to_string(fault.value("call", std::uint64_t{0}))
                                      : "call " + std::to_string(fault.value("nth", 1)) + " of " +
                                            fault.value("function", "") + " from now on";
        lines.push_back(which + " fails with " + std::to_string(fault.value("code", 0)));
    }
    return lines;
}

}  // namespace vorn_onu
