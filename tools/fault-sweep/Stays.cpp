#include "Stays.h"

#include <algorithm>
#include <regex>

namespace fault_sweep {

namespace {

// The engine ignores the results of most calls, undoes nothing that it has made, and takes a device that exists as
// whole. So what a failed call leaves behind depends on the call.
struct Stay {
    std::regex failedCall;
    std::regex line;
    const char* why;
};

const std::vector<Stay>& stays() {
    static const std::vector<Stay> rows = {
        {std::regex(".*"), std::regex("(bridge br0|device sid[0-7]) .*"),
         "the default bridge is made once, and a UNI port stays up"},
        {std::regex(".*"), std::regex("default (sid[0-7]|gpondef) .*"),
         "default actions of UNI ports and of the PON device are never taken back"},
        {std::regex(".*"), std::regex("rule gpondef .*"), "drop rules of the PON device are never taken back"},
        {std::regex(".*"), std::regex("runner vlan_action/dir=ds,index=124"),
         "the DSCP shortcut's downstream action is never taken back"},
        {std::regex(".*"), std::regex("rule gpon0\\.0 .*"),
         "a multicast service's rows on the VEIP's side are never taken back"},
        {std::regex(".*"),
         std::regex("(device br[0-9]+\\.[0-9]+|address br[0-9]+\\.[0-9]+|ip rule|ip route|"
                    "bridge brv|ingress-queue key) .*"),
         "a management host leaves its device, addresses and routes, the shared bridge, the key of the board's MAC"},
        {std::regex(".*"), std::regex("pon admin-state .*|device eth[01] .*"), "what is not a service"},
        {std::regex("(ioctl\\(SIOCGIFINDEX|vlanCtl_(init|setIfSuffix|setRealDevMode|createVlanInterface|"
                    "deleteVlanInterface)\\().*"),
         std::regex("(device|default) gpon[0-9]+[. ].*"),
         "a PON side that was made or deleted by halves stands as it is"},
        {std::regex("gponCtl_(configGemPort|getGemPort)\\(.*"), std::regex("rule gpon[0-9]+ .*"),
         "a GEM port's index is recorded once; rules under another index go with their device only"},
        {std::regex("gponCtl_deconfigGemPort\\(.*"), std::regex("(gem|device gpondef) .*"),
         "a GEM port that the driver does not give up counts as removed"},
        {std::regex("system\\(.*gpondef.*"), std::regex("device gpondef .*"),
         "the PON device goes up and down with the first and the last GEM port alone"},
        {std::regex(".*veip0.*|.*gpon0.*"), std::regex("device veip0 .*"),
         "the VEIP goes with the last service, if its device is found and given up then"},
        {std::regex(".+"), std::regex("device veip0\\.[1-8] .*"),
         "sub-devices, which the gateway side makes, go with the VEIP alone"},
        {std::regex("system\\(\"(bs|iq|ifconfig|brctl|ip) .*"),
         std::regex("(runner|ingress-queue|address|ip rule|ip route|bridge|device) .*"),
         "results of shell commands are not looked at"},
        {std::regex("(tmctl_portTmUninit|gponCtl_deconfigTcontAllocId)\\(.*"), std::regex("tcont .*"),
         "a T-CONT that the driver does not give up counts as removed"},
    };
    return rows;
}

}  // namespace

Refusals Refusals::of(const std::vector<std::string>& trace) {
    static const std::string name = "vlanCtl_removeTagRule";
    static const std::regex removal(name + R"re(\("([^"]*)", (\d+), (\d+), (\d+)\) = (-?\d+))re");
    Refusals refusals;
    for (const auto& call : trace) {
        if (call.compare(0, name.size(), name) != 0) continue;
        std::smatch parts;
        if (!std::regex_match(call, parts, removal) || parts[5] == "0") continue;
        refusals.ruleRemovals.push_back({parts[1], static_cast<unsigned>(std::stoul(parts[2])),
                                         static_cast<unsigned>(std::stoul(parts[3])),
                                         static_cast<std::uint32_t>(std::stoul(parts[4]))});
    }
    return refusals;
}

bool Refusals::refused(const RulePlace& rule) const {
    return std::any_of(ruleRemovals.begin(), ruleRemovals.end(),
                       [&](const RulePlace& other) { return !(rule < other) && !(other < rule); });
}

std::optional<std::string> whyItDiffers(const std::string& line, const std::string& failedCall,
                                        const Refusals& refusals) {
    for (const auto& row : stays())
        if (std::regex_match(failedCall, row.failedCall) && std::regex_match(line, row.line)) return row.why;
    if (line.rfind("rule ", 0) == 0 && !refusals.ruleRemovals.empty()) return "rule whose removal the device refused";
    return std::nullopt;
}

bool maybeRecordedTwice(const RulePlace& rule, const std::string& failedCall) {
    return rule.device == "gpon0.0" && failedCall.rfind("vlanCtl_insertTagRule(\"gpon0.0\"", 0) == 0;
}

}  // namespace fault_sweep
