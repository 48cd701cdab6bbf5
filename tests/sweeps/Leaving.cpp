#include "Leaving.h"

#include <algorithm>
#include <map>
#include <regex>

namespace fault_sweep {

std::vector<std::string> leavesLeftOut(const std::vector<std::string>& trace) {
    static const std::regex membership(R"re(ioctl\(SIOCBR(ADD|DEL)IF, "([^"]*)", "([^"]*)"\) = (-?\d+))re");
    static const std::regex bridgeDeletion(R"re((?:ioctl\(SIOCBRDELBR, "|system\("brctl delbr )([^" ]*).*\) = 0)re");
    static const std::regex deletion(R"re(vlanCtl_deleteVlanInterface\("([^"]*)"\) = -?\d+)re");
    std::vector<std::string> leftOut;
    std::map<std::string, std::string> bridgeOf;
    std::smatch parts;
    for (const auto& call : trace) {
        // Most calls are none of these, and a look at their first letters is cheaper than a pattern.
        if (call.compare(0, 11, "ioctl(SIOCB") != 0 && call.compare(0, 12, "system(\"brct") != 0 &&
            call.compare(0, 14, "vlanCtl_delete") != 0)
            continue;
        if (std::regex_match(call, parts, membership)) {
            if (parts[1] == "DEL")
                bridgeOf.erase(parts[3]);  // asked for, whatever came of it
            else if (parts[4] == "0")
                bridgeOf[parts[3]] = parts[2];
        } else if (std::regex_match(call, parts, bridgeDeletion)) {
            for (auto member = bridgeOf.begin(); member != bridgeOf.end();)
                member = member->second == parts[1] ? bridgeOf.erase(member) : std::next(member);
        } else if (std::regex_match(call, parts, deletion)) {
            const auto member = bridgeOf.find(parts[1]);
            if (member == bridgeOf.end()) continue;
            leftOut.push_back("leave " + member->second + " " + member->first);
            bridgeOf.erase(member);
        }
    }
    std::sort(leftOut.begin(), leftOut.end());
    leftOut.erase(std::unique(leftOut.begin(), leftOut.end()), leftOut.end());
    return leftOut;
}

}  // namespace fault_sweep
