// Any sequence of bridge services and tagging rows, with removals between. After every step the engine's rule map and
// the device's tables say the same; after the last removal nothing is recorded. Then, in the same sequence, any
// operation of the HAL with any arguments: from the first of these on only crashes, overruns and open descriptors are
// looked for, since some operations leave rules or records by contract.
#include <fuzzer/FuzzedDataProvider.h>

#include <set>
#include <string>

#include "EveryOperation.h"
#include "Fuzz.h"
#include "RuleAgreement.h"
#include "hal/ProvisioningRecords.h"

namespace {

constexpr unsigned kBridges = 3, kUniPorts = 6, kGemPorts = 4, kFirstGemPort = 1000;
constexpr int kMaxSteps = 40;

const std::set<std::string> kDevices = {"gpondef", "gpon0", "gpon1", "gpon2", "gpon0.0", "sid-1", "sid0",
                                        "sid1",    "sid2",  "sid3",  "sid4",  "br0",     "br1",   "br2"};

class Sequence {
public:
    explicit Sequence(FuzzedDataProvider& input) : input_(input) {}

    void run() {
        for (int step = 0; step < kMaxSteps && input_.remaining_bytes() > 0; ++step) {
            one();
            check();
        }
        takeDown();
    }

private:
    template <typename T>
    T number(T highest) {  // mostly within its usual range
        return input_.ConsumeProbability<float>() < 0.9F ? input_.ConsumeIntegralInRange<T>(0, highest)
                                                         : input_.ConsumeIntegral<T>();
    }
    std::uint16_t bridge() { return input_.ConsumeIntegralInRange<std::uint16_t>(0, kBridges - 1); }
    std::uint16_t uniPort() { return input_.ConsumeIntegralInRange<std::uint16_t>(0, kUniPorts); }
    std::uint16_t gemPort() {
        return static_cast<std::uint16_t>(kFirstGemPort + input_.ConsumeIntegralInRange<unsigned>(0, kGemPorts));
    }

    BridgeServiceProvisioning service() {
        BridgeServiceProvisioning r{};
        r.bridgeId = bridge();
        r.gemPortId = gemPort();
        const std::string list = input_.ConsumeRandomLengthString(sizeof r.vlanTciFilterList);
        list.copy(r.vlanTciFilterList, sizeof r.vlanTciFilterList);
        r.forwardOperation = number<std::uint8_t>(0x21);
        r.numberOfEntries = number<std::uint8_t>(12);
        r.trafficModel = number<std::uint8_t>(6);
        for (std::uint8_t n = number<std::uint8_t>(8); n > 0 && r.pbitMap.size() < 8; --n)
            r.pbitMap[input_.ConsumeIntegralInRange<std::uint8_t>(0, 9)] = {gemPort(), number<std::uint16_t>(7)};
        r.protocolNumber = number<std::uint8_t>(2);
        r.isMulticast = r.multicastService = input_.ConsumeBool();
        for (auto* tpid : {&r.inputTpid, &r.outputTpid}) *tpid = input_.ConsumeIntegral<std::uint16_t>();
        r.dsMode = number<std::uint16_t>(8);
        r.filterTagCount = number<std::uint16_t>(2);
        r.tagTreatment = number<std::uint16_t>(6);
        r.etherTypeFilter = number<std::uint16_t>(6);
        r.removeType = number<std::uint16_t>(3);
        for (auto* code : {&r.outerTpidFilter, &r.innerTpidFilter, &r.outerTpidAction, &r.innerTpidAction})
            *code = number<std::uint16_t>(7);
        for (auto* vid : {&r.outerVlanIdFilter, &r.innerVlanIdFilter, &r.outerVlanIdAction, &r.innerVlanIdAction})
            *vid = number<std::uint16_t>(4097);
        for (auto* prio :
             {&r.outerVlanPrioFilter, &r.innerVlanPrioFilter, &r.outerVlanPrioAction, &r.innerVlanPrioAction})
            *prio = number<std::uint16_t>(15);
        r.restoreVlanFlows = input_.ConsumeBool();
        return r;
    }

    UniDataProvisioning row() {
        UniDataProvisioning r{};
        r.addFlag = 1;
        r.hasTagRules = input_.ConsumeBool();
        r.bridgeId = bridge();
        r.uniPort = uniPort();
        for (auto* tpid : {&r.inputTpid, &r.outputTpid}) *tpid = input_.ConsumeIntegral<std::uint16_t>();
        r.downstreamMode = number<std::uint16_t>(8);
        r.filterType = number<std::uint16_t>(2);
        r.tagAction = number<std::uint16_t>(6);
        r.etherType = number<std::uint16_t>(6);
        r.removeType = number<std::uint16_t>(3);
        for (auto* code :
             {&r.outerFilterTpidDe, &r.innerFilterTpidDe, &r.outerTreatmentTpidDe, &r.innerTreatmentTpidDe})
            *code = number<std::uint16_t>(7);
        for (auto* vid : {&r.outerFilterVlanId, &r.innerFilterVlanId, &r.outerTreatmentVlanId, &r.innerTreatmentVlanId})
            *vid = number<std::uint16_t>(8191);
        for (auto* prio : {&r.outerFilterPrio, &r.innerFilterPrio, &r.outerTreatmentPrio, &r.innerTreatmentPrio})
            *prio = number<std::uint8_t>(15);
        return r;
    }

    void one() {
        const int kind = input_.ConsumeIntegralInRange<int>(0, 15);
        if (kind > 9) {
            any_ = true;
            return anyOperation(input_);
        }
        if (kind < 2) {
            engine().configureBridge(bridge(), kind == 0 ? std::uint16_t{0} : uniPort(), false);
        } else if (kind == 4 || kind == 5) {
            const auto record = row();
            engine().configureUniInterface(&record);
            engine().configureUniTagRules(&record);
        } else if (kind == 9) {
            const std::uint16_t port = uniPort(), id = bridge();
            engine().deConfigureUniTagRules(port, id);
            engine().deConfigureUniInterface(port, id);
        } else {
            const auto record = service();
            if (kind < 4) engine().configureAniTagRules(&record);
            if (kind == 6) engine().unsetPbitData(&record);
            if (kind == 7) engine().deprovisionAniSideBridge(&record);
            if (kind == 8) engine().deprovisionUniSideBridge(&record);
        }
    }

    static bool isFull(const std::string& device) {
        for (const auto& [key, entry] : m_VLAN_RULE_MAP_ENTRY)
            if (key.ifName == device && entry->nbrOfNewRules == kMaxVlanRules) return true;
        return false;
    }

    // A rule is in both places, unless its entry was full or its device has gone.
    void check() {
        FUZZ_EXPECT(onu().openDescriptors() == 0);
        if (any_) return;
        for (const auto& name : kDevices)
            if (!onu().deviceExists(name)) gone_.insert(name);
        const auto agreement = fault_sweep::compareRules();
        for (const auto& rule : agreement.onlyOnDevice) {
            if (!isFull(rule.device)) std::fprintf(stderr, "only on the device: %s\n", rule.text().c_str());
            FUZZ_EXPECT(isFull(rule.device));
        }
        for (const auto& rule : agreement.onlyInMap) {
            if (gone_.count(rule.device) == 0) std::fprintf(stderr, "only in the map: %s\n", rule.text().c_str());
            FUZZ_EXPECT(gone_.count(rule.device) != 0);
        }
    }

    // The library's maps outlive the input: the next one must not meet this one's services.
    void takeDown() const {
        if (any_) {
            forgetServices();
            return;
        }
        BridgeServiceProvisioning none{};
        for (std::uint8_t pbit = 0; pbit < 8; ++pbit) none.pbitMap[pbit] = {65535, 0};
        for (std::uint16_t id = 0; id < kBridges; ++id) {
            none.bridgeId = id;
            for (std::uint16_t port = 0; port <= kUniPorts; ++port) {
                engine().deConfigureUniTagRules(port, id);
                engine().deConfigureUniInterface(port, id);
            }
            engine().unsetPbitData(&none);
            engine().deprovisionAniSideBridge(&none);
        }
        while (!m_VLAN_RULE_MAP_ENTRY.empty()) {
            const vlanRuleKey key = m_VLAN_RULE_MAP_ENTRY.begin()->first;
            engine().deleteVlanRuleMapEntry(key.ifName.c_str(), key.phyId);
            FUZZ_EXPECT(m_VLAN_RULE_MAP_ENTRY.count(key) == 0);
        }
        FUZZ_EXPECT(onu().openDescriptors() == 0);
    }

    FuzzedDataProvider& input_;
    std::set<std::string> gone_;
    bool any_ = false;  // an operation with any arguments was among the steps
};

}  // namespace

int LLVMFuzzerInitialize(int*, char***) {
    silence();
    answerForTheGateway();
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    onu().reset();
    for (unsigned n = 0; n < kGemPorts; ++n) onu().addGemPort(kFirstGemPort + n, 1 + n);  // the last one is unknown
    FuzzedDataProvider input(data, size);
    Sequence(input).run();
    return 0;
}
