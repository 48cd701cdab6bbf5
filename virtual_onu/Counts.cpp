#include "Counts.h"

#include <array>
#include <cerrno>
#include <map>

#include "Core.h"
#include "VirtualOnu.h"

namespace virtual_onu {

namespace {

constexpr std::array<const char*, kFrameFates> kFateNames = {
    "forwarded", "link_down", "no_rule", "rule", "no_bridge", "bridge", "too_long", "no_gem_port", "no_queue", "loop"};

struct Counted {
    std::uint64_t calls = 0, failures = 0;
};
struct AllCounts {
    std::map<std::string, Counted> calls;
    std::array<std::array<std::uint64_t, kFrameFates>, 2> frames{};  // by direction, upstream the second
};
// Never destroyed, as all that the core has.
AllCounts& allCounts() {
    static AllCounts& all = *new AllCounts;
    return all;
}

}  // namespace

// No status is a partition's number, the bytes that were read, an event or its absence, the answer that a GEM port is
// there already, and that there is none of this id or index: the library asks for both.
bool isFailedCall(const std::string& name, long result) {
    constexpr long kGemPortExists = 258;
    constexpr long kNoSuchGemPort = ENOENT;
    return result != 0 && name != "devCtl_getBootedImagePartition" && name != "cmsPsp_get" &&
           name != "cmsMsg_receiveWithTimeout" && !(name == "gponCtl_configGemPort" && result == kGemPortExists) &&
           !(name == "gponCtl_getGemPort" && result == kNoSuchGemPort);
}

namespace counts {

void call(const std::string& name, long result) {
    Counted& one = allCounts().calls[name];
    ++one.calls;
    if (isFailedCall(name, result)) ++one.failures;
}

void frames(bool upstream, FrameFate fate, std::uint32_t number) {
    allCounts().frames[upstream ? 1 : 0][static_cast<std::size_t>(fate)] += number;
}

void reset() {
    allCounts() = AllCounts{};
}

}  // namespace counts

std::vector<CallCount> VirtualOnu::callCounts() const {
    const DeviceAccess lock(deviceMutex());
    std::vector<CallCount> result;
    for (const auto& [name, counted] : allCounts().calls) result.push_back({name, counted.calls, counted.failures});
    return result;
}

std::vector<FrameCount> VirtualOnu::frameCounts() const {
    const DeviceAccess lock(deviceMutex());
    std::vector<FrameCount> result;
    for (const bool upstream : {true, false})
        for (std::size_t fate = 0; fate < kFrameFates; ++fate)
            result.push_back({upstream, kFateNames[fate], allCounts().frames[upstream ? 1 : 0][fate]});
    return result;
}

}  // namespace virtual_onu
