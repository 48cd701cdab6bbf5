#include "running/state/MessageText.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "BRCM/BCM968580/DATA/EngineRecords.h"

namespace vorn_onu {

namespace {

constexpr std::uint32_t kApplicationUp = 0x10003700;
constexpr std::uint32_t kServiceStatus = 0x10002254;
constexpr std::uint32_t kServiceStatusOnRemoval = 0x10002250;

}  // namespace

std::string messageText(std::uint32_t type, const std::vector<std::uint8_t>& payload) {
    if (type == kApplicationUp) return "application up";
    OMCI_SERVICE_MAP_ENTRY entry{};
    if ((type == kServiceStatus || type == kServiceStatusOnRemoval) && payload.size() == sizeof entry) {
        std::memcpy(&entry, payload.data(), sizeof entry);
        entry.ifName[sizeof entry.ifName - 1] = '\0';
        std::string text = std::string("service ") + (entry.serviceStatus != 0 ? "up " : "down ") + entry.ifName;
        text += " vlan " + std::to_string(entry.vlanId) + " pbits " + std::to_string(entry.pbits);
        text += " gem " + std::to_string(entry.gemPortId) + " index " + std::to_string(entry.gemPortIndex);
        text += " type " + std::to_string(entry.serviceType);
        return type == kServiceStatus ? text : text + " on removal";
    }
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "message 0x%08x of %zu bytes", type, payload.size());
    return text.data();
}

}  // namespace vorn_onu
