// The engine's own state, map by map: a daemon that opens the file has what the one before it had.
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "src/restart/Services.h"

namespace restart_tests {
namespace {

std::string tagText(const VlanTagFilter_t& tag) {
    return std::to_string(tag.prio) + "/" + std::to_string(tag.vlanId) + "/" + std::to_string(tag.tpid_de);
}

std::string rulesText(std::uint32_t count, const VLAN_RULE_INFO* rules) {
    std::string text;
    for (std::uint32_t i = 0; i < count; ++i) {
        const VLAN_RULE_INFO& rule = rules[i];
        text += " [" + std::to_string(rule.dir) + " " + std::to_string(rule.nbrOfTags) + " " +
                std::to_string(rule.tagRuleId) + " " + tagText(rule.outer) + " " + tagText(rule.inner) + " " +
                std::to_string(rule.etherType) + "]";
    }
    return text;
}

constexpr std::size_t kVariables = 12;

class EngineState : public ServicesFixture {
protected:
    // What the process would look up: a line for each entry, with the variable's name.
    static std::vector<std::string> stateOf(Daemon& daemon) {
        std::vector<std::string> lines;
        const auto add = [&lines](const char* variable, const std::string& text) {
            lines.push_back(std::string(variable) + ": " + text);
        };
#define VARIABLE(name) (*daemon.symbol<decltype(&(name))>(#name))
        for (const auto& [bridge, port] : VARIABLE(m_BridgeIdToUniId))
            add("m_BridgeIdToUniId", std::to_string(bridge) + " = " + std::to_string(port));
        for (const auto& [key, entry] : VARIABLE(m_VLAN_RULE_MAP_ENTRY))
            add("m_VLAN_RULE_MAP_ENTRY", key.ifName + " " + std::to_string(key.phyId) + " = " + entry->ifName + " " +
                                             std::to_string(entry->phyId) +
                                             rulesText(entry->nbrOfNewRules, entry->newRules) + " old" +
                                             rulesText(entry->nbrOfOldRules, entry->oldRules));
        for (const auto& [port, index] : VARIABLE(tGemPortMap))
            add("tGemPortMap", std::to_string(port) + " = " + std::to_string(index));
        for (const auto& [port, queues] : VARIABLE(gemPortPbitToQMap))
            for (const auto& [queue, pbits] : queues)
                for (const unsigned pbit : pbits)
                    add("gemPortPbitToQMap",
                        std::to_string(port) + " " + std::to_string(queue) + " " + std::to_string(pbit));
        for (unsigned pbit = 0; pbit < 8; ++pbit)
            add("pbit", std::to_string(pbit) + " = " + std::to_string(VARIABLE(xgemPortIdForPbit)[pbit]) + " " +
                            std::to_string(VARIABLE(xgemUpstremQueueForPbit)[pbit]));
        for (const auto& [port, mark] : VARIABLE(m_dscpConfigInfo))
            add("m_dscpConfigInfo", std::to_string(port) + " = " + std::to_string(int{mark}));
        for (const auto& [port, mark] : VARIABLE(m_cTagConfigInfo))
            add("m_cTagConfigInfo", std::to_string(port) + " = " + std::to_string(int{mark}));
        for (const auto& [key, entry] : VARIABLE(m_SERVICE_MAP_ENTRY)) {
            const auto* const bytes = reinterpret_cast<const char*>(&*entry);
            add("m_SERVICE_MAP_ENTRY", key.ifName + " " + std::to_string(key.vlanId) + " " + std::to_string(key.pbits) +
                                           " = " + std::string(bytes, sizeof(OMCI_SERVICE_MAP_ENTRY)));
        }
        add("protocolNumber", std::to_string(VARIABLE(protocolNumber)));
        add("m_aniTagRuleId", std::to_string(VARIABLE(m_aniTagRuleId)));
        add("mcastGemPortId", std::to_string(VARIABLE(mcastGemPortId)));
        add("mcastGemPortIndex", std::to_string(VARIABLE(mcastGemPortIndex)));
#undef VARIABLE
        return lines;
    }
};

// Services of every kind, then removals: a life a call.
TEST_F(EngineState, ComesBackPartByPart) {
    Calls calls = callsOf({{0, 100}, {1, 110, Kind::Dscp}, {2, 120, Kind::Multicast}, {4, 130}, {7, 140, Kind::Veip}});
    for (std::size_t i = kProvisioning; i < internet().size(); ++i) calls.push_back(internet()[i].make);
    startOver();
    BridgeServiceProvisioning igmp = Service{4, 130}.record();
    igmp.protocolNumber = 2;
    calls.push_back(asks(&VornHal::vorn_omci_hal_configureAniTagRules, igmp));
    const BridgeServiceProvisioning group = Service{2, 120, Kind::Multicast}.record();
    calls.push_back(asks(&VornHal::vorn_omci_hal_deprovisionAniSideBridge, group));
    Daemon firstEver(folder_);
    std::vector<std::string> before = stateOf(firstEver);
    const std::set<std::string> fresh(before.begin(), before.end());
    std::set<std::string> changed;
    for (std::size_t i = 0; i < calls.size() && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        Daemon daemon(folder_);
        onu().clearTrace();
        ASSERT_GE(daemon.open(state()), 0);
        EXPECT_LE(said().size(), 1U) << "the device is as the file has it: " << testing::PrintToString(said());
        EXPECT_EQ(stateOf(daemon), before);
        calls[i](daemon.hal());
        before = stateOf(daemon);
        for (const std::string& line : before)
            if (fresh.count(line) == 0) changed.insert(line.substr(0, line.find(':')));
    }
    EXPECT_EQ(changed.size(), kVariables) << testing::PrintToString(changed) << "each variable had something to lose";
}

}  // namespace
}  // namespace restart_tests
