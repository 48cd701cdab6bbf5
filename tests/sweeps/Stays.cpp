#include "Stays.h"

#include <algorithm>
#include <map>
#include <regex>
#include <string_view>

namespace fault_sweep {

namespace {

enum class Kind {
    Made,       // once there, it is never missing again
    Board,      // takes the place of another line
    OfService,  // likewise; a service that was refused has less of these
};

// Of a line of the state text.
struct Pattern : std::regex {
    Pattern(const char* text) : std::regex(text) {}  // NOLINT(google-explicit-constructor): the tables' first word
};

// Without a fault: what is never taken back.
struct Remainder {
    Pattern line;
    const char* operation;  // that a scenario has where the line is, "" for any
    Kind kind;
    const char* why;
};

const std::vector<Remainder>& remainders() {
    static const std::vector<Remainder> rows = {
        {"bridge br0 (up|stp off forward-delay 0|port sid[0-7])", "", Kind::Made,
         "the default bridge is made once, with all LAN ports"},
        {"device sid[0-7] down mtu 1500", "", Kind::Board, "the default bridge takes the LAN ports"},
        {"device sid[0-7] (up|down) mtu 1500 in br0", "", Kind::Board,
         "the default bridge has the LAN ports, and one that had a service stays up"},
        {"device sid[0-7] up mtu 1500", "vorn_omci_hal_veip_createRules", Kind::Board,
         "the VEIP takes the default bridge's place, and a port that had a service stays up"},
        {R"(default (sid[0-7]) (rx|tx) [0-2]: drop \1\.\d+)", "", Kind::OfService,
         "default actions of LAN ports are never taken back"},
        {R"(default gpondef rx [0-2]: drop gpon\d+)", "", Kind::OfService,
         "default actions of the PON device are never taken back"},
        {R"(rule gpondef rx [0-2]: rxdev=gpon\d+ gem=\d+)", "", Kind::OfService,
         "rules of the PON device are never taken back"},
        {R"(rule gpon0 (rx|tx) [12]: (rx|tx)dev=gpon0\.0 .*)", "vorn_omci_hal_veip_createRules", Kind::OfService,
         "a p-bit that a record does not name keeps the GEM port of the service before"},
        {"runner vlan_action/dir=ds,index=124", "vorn_omci_hal_filter_flow_add", Kind::OfService,
         "the DSCP shortcut's downstream action is never taken back"},
        {R"((device (br\d+)\.\d+ up mtu 1500 on \2 multicast|address br\d+\.\d+ .*|ip rule .*|ip route .*|)"
         R"(bridge brv (?:up|stp off forward-delay 1500)|default (br\d+) (rx|tx) [0-2]: drop \3\.\d+))",
         "vorn_omci_hal_provisionIpHost", Kind::OfService,
         "a management host leaves its device, addresses, routes, the shared bridge"},
        {R"(record br\d+ (rx|tx) [0-2])", "vorn_omci_hal_provisionIpHost", Kind::OfService,
         "record of a rule whose device was deleted before its rules"},
        {R"(record gpon0\.0 (rx|tx) [0-3])", "vorn_omci_hal_veip_createRules", Kind::OfService,
         "record of a rule whose device was deleted before its rules"},
        {R"(pon admin-state \d)", "vorn_omci_hal_gponctl_state_set", Kind::Board, "what is not a service"},
        {"device eth[01] (up|down) mtu 1500", "setEthernetUniStatus", Kind::Board, "what is not a service"},
    };
    return rows;
}

enum class Recovery {
    Reprovisioned,  // what was left over; provisioning again makes it right
    None,           // provisioning again does not make it right either
};

// The engine ignores the results of most calls, undoes nothing that it has made, and takes a device that exists as
// whole. So what a failed call leaves behind depends on the call. {1} in it is the first group of the line.
struct Difference {
    Pattern line;
    const char* failedCall;
    const char* operation;  // as above
    const char* why;
    Recovery recovery = Recovery::Reprovisioned;
};

constexpr const char* kVeip = "vorn_omci_hal_veip_createRules";
// The calls that make the VEIP and what it depends on.
constexpr const char* kMakesVeip =
    R"re(vlanCtl_(init|setIfSuffix|setRealDevMode)\(.*|vlanCtl_createVlanInterface\("gpon0", .*|)re"
    R"re(vlanCtl_createVlanInterfaceByName\(("gpondef", "gpon0"|"gpon0\.0", "veip0").*|)re"
    R"re(ioctl\(SIOCGIFINDEX, "(br0|gpon0|gpon0\.0|veip0)".*|ioctl\(SIOCBRADDBR, "br0"\).*)re";

const std::vector<Difference>& differs() {
    static const std::vector<Difference> rows = {
        // the default bridge and its ports
        {"(?:device|bridge br0 port) (sid[0-7])(?: (?:up|down) mtu 1500(?: in br0)?)?",
         R"re(ioctl\(SIOCGIFINDEX, "(br0|{1})".*|ioctl\(SIOCBRADDIF, "br0"\).*)re", "",
         "a LAN port that did not join the default bridge at first never does", Recovery::None},
        {"device (sid[0-7]) (up|down) mtu 1500( in br0)?",
         R"(ioctl\(SIOCBRADDBR, "br[1-9]\d*"\).*|ioctl\(SIOCGIFINDEX, "br[1-9]\d*".*|)"
         R"(ioctl\(SIOCSIFFLAGS, "{1}".*)",
         "", "a LAN port comes up with its service, and stays up"},
        {"bridge br0 .*|device sid[0-7] (up|down) mtu 1500( in br0)?", R"(ioctl\(SIOCBRADDBR, "br0"\).*)", "",
         "the default bridge is made with the next bridge"},
        {"bridge br0 (up|down)", R"(ioctl\(SIOCSIFFLAGS, "br0".*)", "", "the default bridge is made once, up or not",
         Recovery::None},
        {"bridge br0 stp off forward-delay (0|1500)", R"(open\("/sys/class/net/br0/bridge/forward_delay"\).*)", "",
         "the default bridge is made once, with its delay or not", Recovery::None},
        {"bridge br0 .*|device sid[0-7] (up|down) mtu 1500( in br0)?",
         R"(ioctl\(SIOC(BRDELBR|SIFFLAGS|GIFINDEX), "br0".*)", kVeip,
         "the VEIP did not take the default bridge's place", Recovery::None},
        {"bridge br0 .*|device sid[0-7] (up|down) mtu 1500( in br0)?", kMakesVeip, kVeip,
         "without a VEIP its next service takes the default bridge again"},
        // the PON side
        {R"(default gpon(\d+) (rx|tx) [0-2]: (drop|pass) gpon\1\.\1)",
         R"(vlanCtl_init\(\).*|vlanCtl_deleteVlanInterface\("gpon{1}(\.{1})?"\).*|)"
         R"(ioctl\(SIOCGIFINDEX, "gpon{1}(\.{1})?".*)",
         "", "a PON side that was deleted by halves stays as it is", Recovery::None},
        {R"(default gpon0\.0 (rx|tx) [0-3]: drop veip0)",
         R"(vlanCtl_init\(\).*|vlanCtl_deleteVlanInterface\("gpon0\.0"\).*|ioctl\(SIOCGIFINDEX, "gpon0\.0".*)", kVeip,
         "a PON side that was deleted by halves stays as it is"},
        {R"(device gpon(\d+) (up|down) mtu 1500 on gpondef multicast)",
         R"(vlanCtl_(init|setIfSuffix)\(.*|vlanCtl_setRealDevMode\("gpondef".*|)"
         R"(ioctl\(SIOCGIFINDEX, "gpon{1}(\.{1})?".*|vlanCtl_createVlanInterface\("gpon{1}".*|)"
         R"(vlanCtl_createVlanInterfaceByName\("gpondef", "gpon{1}".*|)"
         R"(vlanCtl_deleteVlanInterface\("gpon{1}(\.{1})?"\).*)",
         "", "a PON side that was made or deleted by halves stays as it is", Recovery::None},
        {R"(device gpon(\d+)\.\1 up mtu 1500 on gpon\1 multicast)",
         R"(vlanCtl_init\(\).*|vlanCtl_deleteVlanInterface\("gpon{1}\.{1}"\).*|)"
         R"(ioctl\(SIOCGIFINDEX, "gpon{1}\.{1}".*)",
         "", "a PON side that was deleted by halves stays as it is"},
        {R"(device gpon(\d+)\.v\1 down mtu 1500 on gpon\1 multicast)", R"(vlanCtl_setIfSuffix\("\."\).*)", "",
         "a device that got another name than it was to have is never found again"},
        {R"(default gpondef rx [0-2]: drop gpon\d+)",
         R"(vlanCtl_init\(\).*|ioctl\(SIOCBRADDBR, "br[1-9]\d*"\).*|)"
         R"(vlanCtl_createVlanInterfaceByName\("gpondef", "gpon\d+".*|)"
         R"(vlanCtl_setDefaultAction\("gpondef", .*)",
         "", "the PON device's default actions are those of the service that came last"},
        {R"(default (sid[0-7]) (rx|tx) [0-2]: drop \1\.\d+)",
         R"re(ioctl\(SIOCBRADDBR, "br[1-9]\d*"\).*|ioctl\(SIOCGIFINDEX, "(br[1-9]\d*|{1})".*|)re"
         R"re(vlanCtl_(init|setIfSuffix)\(.*|vlanCtl_(setDefaultAction|setRealDevMode)\("{1}", .*|)re"
         R"re(vlanCtl_createVlanInterfaceByName\("{1}", .*)re",
         "", "a LAN port's default actions are those of the service that came last"},
        {"device gpondef (up|down) mtu 1500", R"(system\("ifconfig gpondef .*)", "",
         "the PON device goes up and down with the first and the last GEM port alone", Recovery::None},
        {"device gpondef (up|down) mtu 1500", R"(gponCtl_deconfigGemPort\(.*)", "",
         "the PON device goes up and down with the first and the last GEM port alone", Recovery::None},
        {R"(gem (\d+) .*)", R"(gponCtl_deconfigGemPort\(\d+, {1}\).*)", "",
         "a GEM port that the driver does not give up counts as removed", Recovery::None},
        {R"(tcont (\d+) .*)", R"((tmctl_portTmUninit\(\d+, {1}\)|gponCtl_deconfigTcontAllocId\({1}, ).*)", "",
         "a T-CONT that the driver does not give up counts as removed"},
        {R"(queue (\d+)\.(\d+) .*)", R"(tmctl_delQueueCfg\(\d+, {1}, {2}\).*)", "",
         "a queue that the driver does not give up counts as removed"},
        // rules
        {R"(rule gpon\d+ (rx|tx) [0-2]: .*)", R"(gponCtl_(configGemPort|getGemPort)\(.*)", "",
         "a GEM port's index is recorded once; rules under another index go with their device only", Recovery::None},
        {R"(unrecorded gpon(\d+) (rx|tx) [0-2])",
         R"(vlanCtl_initTagRule\(\).*|)"
         R"(vlanCtl_(setReceiveVlanDevice|filterOnTxVlanDevice)\("gpon{1}\.{1}"\).*)",
         "", "the engine records none of its default pass rules, whatever is in them"},
        {"rule gpondef rx [0-2]: .*", R"(vlanCtl_initTagRule\(\).*)", "",
         "a rule that could not be begun again has what the one before it had"},
        {R"(rule gpon0\.0 (rx|tx) [0-3]: (rx|tx)dev=veip0)", R"(ioctl\(SIOCGIFINDEX, "gpon0\.0".*)", kVeip,
         "the VEIP's rules go when their device is found"},
        {R"(rule gpondef rx [0-2]: rxdev=gpon\d+ gem=\d+)", R"(gponCtl_(configGemPort|getGemPort)\(.*)", "",
         "rules of the PON device are never taken back, whatever is in them"},
        {R"(rule gpondef rx [0-2]: gem=\d+)", R"(vlanCtl_setReceiveVlanDevice\("gpon\d+"\).*)", "",
         "a rule is inserted without what its filter refused"},
        {"rule gpondef rx [0-2]: any", R"(vlanCtl_setReceiveVlanDevice\("gpon\d+"\).*|vlanCtl_filterOnSkbMarkPort\(.*)",
         "", "a rule is inserted without what its filter refused"},
        {R"(rule gpondef rx [0-2]: rxdev=gpon\d+)", R"(vlanCtl_filterOnSkbMarkPort\(.*)", "",
         "a rule is inserted without what its filter refused"},
        {R"(record (gpon\d+) (rx|tx) [0-2])", R"(gponCtl_(configGemPort|getGemPort)\(.*|ioctl\(SIOCGIFINDEX, "{1}".*)",
         "", "record of a rule whose device was deleted before its rules"},
        {"record gpon0 (rx|tx) [0-2]", R"(ioctl\(SIOCGIFINDEX, "veip0".*)", kVeip,
         "record of a rule whose device was deleted before its rules"},
        // the gateway's side
        {R"(device veip0\.([1-8]) down mtu 1500 on veip0)",
         R"(vlanCtl_deleteVlanInterface\("veip0\.{1}"\).*|ioctl\(SIOCGIFINDEX, "veip0\.{1}".*)", kVeip,
         "sub-devices, which the gateway side makes, go with the VEIP alone"},
        {R"(device veip0\.[1-8] down mtu 1500 on veip0)", kMakesVeip, kVeip,
         "sub-devices, which the gateway side makes, go with the VEIP alone"},
        // the management host, the board
        {"bridge brv (up|down|stp off forward-delay 1500)", R"(system\("(ifconfig brv up|brctl addbr brv).*)",
         "vorn_omci_hal_provisionIpHost", "results of shell commands are not looked at"},
        {R"(device (br(\d+)\.\d+) (up|down) mtu 1500 on br\2 multicast)",
         R"(ioctl\(SIOCSIFFLAGS, "{1}".*|system\("ifconfig {1} .*)", "vorn_omci_hal_provisionIpHost",
         "results of shell commands are not looked at"},
        {R"(ingress-queue key --dstmac (\S+) .*)", R"(system\("iq remkey --dstmac {1}.*)",
         "vorn_omci_hal_provisionIpHost", "results of shell commands are not looked at"},
        {"ingress-queue keymask .*", R"(system\("iq remkeymask .*)", "vorn_omci_hal_provisionIpHost",
         "results of shell commands are not looked at"},
        {R"(runner ingress_class/dir=ds,index=(\d+))", R"(system\("bs /b/d ingress_class/dir=ds,index={1}.*)",
         "vorn_omci_hal_provisionIpHost", "results of shell commands are not looked at"},
        {"device (eth[01]) (up|down) mtu 1500", R"(system\("ifconfig {1} (up|down).*)", "setEthernetUniStatus",
         "what is not a service"},
        {R"(pon admin-state \d)", R"(gponCtl_startAdminState\(.*|cmsPsp_get\("linkState".*)",
         "vorn_omci_hal_gponctl_state_set", "what is not a service"},
        {"device (sid[0-7]) (up|down) mtu 1500( in br0)?", R"re(system\("ifconfig {1} (up|down)"\).*)re", "",
         "a board's command, not the engine's"},
        // leaves
        {R"(leave (br\d+) ((?:gpon|sid)\d+)(\.\d+))",
         R"re(ioctl\(SIOCGIFINDEX, "({1}|{2}|{2}{3})".*|ioctl\(SIOCBRDELIF, "{1}"\).*)re", "",
         "a leave is asked for when device and bridge were found"},
    };
    return rows;
}

bool has(const RunHistory& now, const char* operation) {
    return *operation == '\0' || now.operations.count(operation) != 0;
}

std::string escapedForRegex(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (std::string_view("\\^$.|?*+()[]{}").find(c) != std::string_view::npos) escaped += '\\';
        escaped += c;
    }
    return escaped;
}

// The pattern with {n} replaced by the groups of the line. A run asks for the same few again and again.
const std::regex& withGroups(std::string pattern, const std::smatch& groups) {
    static std::map<std::string, std::regex> known;
    for (std::size_t n = 1; n < groups.size(); ++n) {
        const std::string name = "{" + std::to_string(n) + "}", text = escapedForRegex(groups[n]);
        for (auto at = pattern.find(name); at != std::string::npos; at = pattern.find(name, at + text.size()))
            pattern.replace(at, name.size(), text);
    }
    auto found = known.find(pattern);
    if (found == known.end()) found = known.emplace(pattern, std::regex(pattern)).first;
    return found->second;
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

std::size_t Refusals::countOf(const std::string& ruleLine) const {
    return static_cast<std::size_t>(std::count_if(ruleRemovals.begin(), ruleRemovals.end(), [&](const RulePlace& rule) {
        const std::string start = "rule " + rule.table() + ": ";
        return ruleLine.compare(0, start.size(), start) == 0;
    }));
}

void compileStays() {
    remainders();
    differs();
}

std::optional<std::string> whyItRemains(const std::string& line, const RunHistory& now, bool missing) {
    for (const auto& row : remainders())
        if ((!missing || row.kind != Kind::Made) && has(now, row.operation) && std::regex_match(line, row.line))
            return row.why;
    return std::nullopt;
}

bool mayBeLess(const std::string& line) {
    return std::any_of(remainders().begin(), remainders().end(), [&](const Remainder& row) {
        return row.kind == Kind::OfService && std::regex_match(line, row.line);
    });
}

std::optional<std::string> whyItDiffers(const std::string& line, const RunHistory& now, bool again) {
    std::smatch groups;
    for (const auto& row : differs()) {
        if (again && row.recovery != Recovery::None) continue;
        if (!has(now, row.operation) || !std::regex_match(line, groups, row.line)) continue;
        const std::regex& failedCall = withGroups(row.failedCall, groups);
        for (const auto& call : now.failedCalls)
            if (std::regex_match(call, failedCall)) return row.why;
    }
    return std::nullopt;
}

bool maybeRecordedTwice(const RulePlace& rule, const std::vector<std::string>& failedCalls) {
    return rule.device == "gpon0.0" && std::any_of(failedCalls.begin(), failedCalls.end(), [](const std::string& call) {
               return call.rfind("vlanCtl_insertTagRule(\"gpon0.0\"", 0) == 0;
           });
}

}  // namespace fault_sweep
