// Forwarding by G.988 as a daemon gets it: chosen, provisioned, changed, taken back, failing, restarted.
#include <functional>
#include <set>

#include <nlohmann/json.hpp>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "platform/vlanctl.h"
#include "src/forwarding/Changes.h"
#include "support/StdoutCapture.h"

nlohmann::json forwarding_tests::Forwarding::serving() {
    const auto json = onu().toJson();
    nlohmann::json kept;
    std::multiset<std::string> rules;
    std::set<std::string> hostMacs;
    for (const auto& device : json["network"]["devices"]) {
        auto& one = kept["devices"][device["name"].get<std::string>()] =
            nlohmann::json::array({device["master"], device["addresses"]});
        const auto mac = device["mac"].get<std::string>();  // the board's own count up
        if (mac.rfind(kHostMacs, 0) == 0) one.push_back(*hostMacs.insert(mac).first);
        const bool isMade = device["isBridge"] == true || device["realDevice"] != "";
        if (isMade) one.push_back(device["up"]);  // a LAN port that has been up stays so
    }
    kept["devices"]["gpondef"].push_back(onu().device("gpondef")->up);
    for (const auto& table : json["vlan"]["tables"])
        for (const auto& rule : table["rules"])
            rules.insert(table["device"].dump() + table["direction"].dump() + table["tags"].dump() +
                         rule["text"].dump());
    kept["rules"] = rules;
    kept["flows"] = json["vlan"]["flows"];
    for (const char* routing : {"ipRules", "ipRoutes"}) kept[routing] = json["network"][routing];
    for (const char* part : {"objects", "ingressQueue"}) kept["runner"][part] = json["runner"][part];
    // No command takes a host's flow out of the class.
    for (auto& object : kept["runner"]["objects"]) {
        auto left = nlohmann::json::array();
        for (auto& entry : object["entries"]) {
            const auto mac = entry["attribute"] == "flow" ? entry["key"].get<std::string>().substr(9, 17) : "";
            if (mac.empty() || hostMacs.count(mac) != 0) left.push_back(std::move(entry));
        }
        object["entries"] = std::move(left);
    }
    for (const auto& [pid, command] : onu().processes()) kept["processes"].push_back(command);
    kept["tconts"] = json["pon"]["tconts"];
    for (auto& tcont : kept["tconts"])
        for (auto& queue : tcont["queues"])
            for (const char* counter : {"frames", "octets"}) queue.erase(counter);
    for (const auto& gem : json["pon"]["gemPorts"])
        kept["gemPorts"][gem["portId"].dump()] = {gem["allocId"], gem["downstreamOnly"], gem["enabled"]};
    return kept;
}

void forwarding_tests::Forwarding::leaveOutDefaultBridge(nlohmann::json& board) {
    board["devices"].erase("br0");
    for (auto& device : board["devices"])
        if (device.front() == "br0") device.front() = "";
}

nlohmann::json forwarding_tests::Forwarding::defaults() {
    const nlohmann::json json = onu().toJson();
    nlohmann::json kept;
    for (const auto& table : json["vlan"]["tables"]) {
        auto& action = kept[table["device"].dump() + table["direction"].dump() + table["tags"].dump()];
        action = table.value("default", nlohmann::json());
        // One that was made last, and has gone, is as good as another.
        if (action.contains("device") && !onu().device(action["device"].get<std::string>())) action.erase("device");
    }
    return kept;
}

namespace {

using namespace forwarding_tests;
using namespace restart_tests;

// ---- the choice ----

TEST_F(Forwarding, IsChosenOnceAndBeforeTheHalIsInUse) {
    Daemon daemon(folder_);
    EXPECT_EQ(chosen(daemon), kContract);
    EXPECT_EQ(choose(daemon, 7), -1);
    EXPECT_EQ(choose(daemon, kG988), 0);
    EXPECT_EQ(choose(daemon, kContract), 0);
    EXPECT_EQ(choose(daemon, kG988), 0);
    daemon->vorn_omci_hal_init();
    EXPECT_EQ(choose(daemon, kContract), -1);
    EXPECT_EQ(chosen(daemon), kG988);
}

TEST_F(Forwarding, TheVariableIsForDaemonsThatChooseNothing) {
    setenv(VORN_HAL_FORWARDING_VARIABLE, "g988", 1);
    Daemon asVariable(folder_), chooses(folder_);
    EXPECT_EQ(chosen(asVariable), kG988);
    EXPECT_EQ(choose(chooses, kContract), 0);
    EXPECT_EQ(chosen(chooses), kContract);

    setenv(VORN_HAL_FORWARDING_VARIABLE, "G988", 1);
    Daemon misspelt(folder_);
    const std::string printed = printedBy([&] { misspelt->vorn_omci_hal_init(); });
    EXPECT_NE(printed.find("neither contract nor g988"), std::string::npos) << printed;
    EXPECT_EQ(chosen(misspelt), kContract);
}

// ---- services ----

// Multicast for a port and for the gateway, and a management host with an S-tag; or their removal.
std::vector<Operation> otherServices(bool come) {
    const IpHostProvision record = hostRecord(HostKind::Static);
    if (!come)
        return {noHost(record),       noPonSide(ponPort(1005, "", 5)), noPonSide(multicast(1004)),
                gateway(false, 1004), noPonSide(ponPort(1004, "", 0)), noGemPort(1004)};
    return {gemPort(1004), bridge(0), gateway(true, 1004), pon(multicast(1004)), bridge(5), host(record)};
}

TEST_F(ForwardedServices, WhatIsTakenBackLeavesNothing) {
    onu().reset();
    daemon()->vorn_omci_hal_configureBridge(9, 0);  // makes the default bridge
    BridgeServiceProvisioning other{};
    other.bridgeId = 9;
    daemon()->vorn_omci_hal_deprovisionAniSideBridge(&other);
    const auto asNew = serving();
    make(daemon(), 0, kProvisioning);
    ASSERT_EQ(ask(daemon(), tagging(20, 100)), 0);
    for (const Operation& operation : otherServices(true))
        EXPECT_EQ(operation.run(daemon().hal()), 0) << operation.name;
    EXPECT_GT(onu().ruleCount(), 0U);
    EXPECT_TRUE(onu().device("br5.6") && onu().device("veip0"));
    for (const Operation& operation : otherServices(false))
        EXPECT_EQ(operation.run(daemon().hal()), 0) << operation.name;
    make(daemon(), kProvisioning, internet().size());
    // The VEIP takes the default bridge's place.
    auto left = serving(), before = asNew;
    leaveOutDefaultBridge(left);
    leaveOutDefaultBridge(before);
    EXPECT_EQ(left, before) << nlohmann::json::diff(before, left).dump(1);
}

// Route, routed MAC address and that of the bridge are of the host that came last, until it goes.
TEST_F(ForwardedServices, TheHostBeforeHasAgainWhatTheLastOneTook) {
    const IpHostProvision first = hostRecord(HostKind::Static, 7), last = hostRecord(HostKind::Static);
    const auto restart = [this] {
        daemon_ = std::make_unique<Daemon>(folder_);
        choose(daemon(), kG988);
        ASSERT_GE(daemon().open(state()), 0);
    };
    ASSERT_EQ(daemon().open(state()), 0);
    make(daemon(), 0, kProvisioning);
    ASSERT_EQ(bridge(5).run(daemon().hal()), 0);
    ASSERT_EQ(host(first).run(daemon().hal()), 0);
    const auto before = serving();
    for (const bool restarts : {false, true}) {
        ASSERT_EQ(host(last).run(daemon().hal()), 0);
        EXPECT_NE(serving(), before);
        if (restarts) restart();
        EXPECT_EQ(noHost(last).run(daemon().hal()), 0);
        EXPECT_EQ(serving(), before) << restarts << nlohmann::json::diff(before, serving()).dump(1);
    }
    // Nobody asks for the last one again.
    ASSERT_EQ(host(last).run(daemon().hal()), 0);
    restart();
    make(daemon(), 0, kProvisioning);
    bridge(5).run(daemon().hal());
    host(first).run(daemon().hal());
    EXPECT_GT(daemon().settle(), 0);
    EXPECT_EQ(serving(), before) << nlohmann::json::diff(before, serving()).dump(1);
    // The first one goes first.
    ASSERT_EQ(host(last).run(daemon().hal()), 0);
    EXPECT_EQ(noHost(first).run(daemon().hal()), 0);
    EXPECT_EQ(onu().ipRoutes(), std::vector<std::string>{"default via 10.0.0.106 dev br5.6 table 12"});
}

// Whichever command of the last one is refused, and all behind it.
TEST_F(ForwardedServices, AHostThatCannotGiveTheRouteBackSaysSo) {
    ASSERT_EQ(bridge(5).run(daemon().hal()), 0);
    ASSERT_EQ(host(hostRecord(HostKind::Static, 7)).run(daemon().hal()), 0);
    const Operation last = host(hostRecord(HostKind::Static));
    std::string printed;
    int answer = -1;
    for (int first = 1; first <= 12 && answer != 0; ++first) {
        for (int command = first; command < first + 12; ++command) onu().failNext("system", command, 256);
        printed += printedBy([&] { answer = last.run(daemon().hal()); });
        onu().clearFaults();
    }
    EXPECT_EQ(answer, 0);
    EXPECT_NE(printed.find("the default route of another host cannot be made again"), std::string::npos) << printed;
}

TEST_F(ForwardedServices, AFileThatIsOpenedLateTakesOverWhatStands) {
    provision();
    ASSERT_EQ(daemon().open(state()), 0);
    daemon_ = std::make_unique<Daemon>(folder_);
    choose(daemon(), kG988);
    ASSERT_GT(daemon().open(state()), 0);
    ASSERT_EQ(ask(daemon(), tagging(20, 100)), 0);
    EXPECT_EQ(up(tagged(20)), "VID 100 p0, IPv4");
    ASSERT_EQ(ask(daemon(), deletion(tagging(20, 0))), 0);
    make(daemon(), kProvisioning, internet().size());
    EXPECT_EQ(onu().ruleCount(), 0U);
    EXPECT_TRUE(onu().gemPorts().empty());
}

TEST_F(ForwardedServices, ADeviceThatHasGoneIsForgottenWithItsPort) {
    provision();
    const auto& ports = *daemon().symbol<decltype(&m_BridgeIdToUniId)>("m_BridgeIdToUniId");
    ASSERT_EQ(ports.size(), 1U);
    ASSERT_EQ(vlanCtl_init(), 0);
    ASSERT_EQ(vlanCtl_deleteVlanInterface("sid0.3"), 0);
    vlanCtl_cleanup();
    auto record = service();
    EXPECT_EQ(daemon()->vorn_omci_hal_deprovisionUniSideBridge(&record), 0);
    EXPECT_TRUE(ports.empty());
}

// A port that is in the bridge already joins it again, and a second port goes with the bridge's UNI side.
TEST_F(ForwardedServices, ABridgeComesBackWithItsPorts) {
    provision();
    auto second = row(true);
    second.uniPort = 3;
    ASSERT_EQ(ask(daemon(), second), 0);
    auto record = service();
    ASSERT_EQ(daemon()->vorn_omci_hal_deprovisionAniSideBridge(&record), 0);
    EXPECT_EQ(up(Frame{}), "");
    ASSERT_EQ(daemon()->vorn_omci_hal_configureBridge(3, 0), 0);
    ASSERT_EQ(daemon()->vorn_omci_hal_configureAniTagRules(&record), 0);
    EXPECT_EQ(up(Frame{}), "VID 100 p0, IPv4");
    ASSERT_EQ(daemon()->vorn_omci_hal_deprovisionUniSideBridge(&record), 0);
    EXPECT_FALSE(onu().device("sid0.3") || onu().device("sid2.3"));
}

// ---- what is refused ----

struct BadInput {
    const char* name;
    std::function<int(VornHal&)> ask;
    const char* said;
};

template <typename Change>
std::function<int(VornHal&)> badRow(Change change) {
    auto record = tagging(20, 100);
    change(record);
    return asks(&VornHal::vorn_omci_hal_filter_flow_add, record);
}
UniDataProvisioning withEtherType(UniDataProvisioning record, std::uint16_t etherType) {
    record.etherType = etherType;
    return record;
}
template <typename Change>
std::function<int(VornHal&)> badPonPort(Change change) {
    auto record = service();
    change(record);
    return asks(&VornHal::vorn_omci_hal_configureAniTagRules, record);
}

template <typename Change>
std::function<int(VornHal&)> badHost(Change change) {
    auto record = hostRecord(HostKind::Static);
    change(record);
    return asks(&VornHal::vorn_omci_hal_provisionIpHost, record);
}

TEST_F(ForwardedServices, BadInputChangesNothing) {
    constexpr const char* kNull = "there is no record";
    using Row = UniDataProvisioning;
    using Pon = BridgeServiceProvisioning;
    const BadInput cases[] = {
        {"no such port", badRow([](Row& row) { row.uniPort = 0; }), "no UNI port 0"},
        {"no such port, away", badRow([](Row& row) { row.uniPort = row.addFlag = 0; }), "no UNI port 0"},
        {"no such bridge", badRow([](Row& row) { row.bridgeId = 77; }), "sid0.77 cannot be made"},
        {"filter's p-bits", badRow([](Row& row) { row.innerFilterPrio = 11; }), "filter has a reserved code"},
        {"filter's VID", badRow([](Row& row) { row.innerFilterVlanId = 5000; }), "filter has a reserved code"},
        {"filter's TPID", badRow([](Row& row) { row.innerFilterTpidDe = 8; }), "filter has a reserved code"},
        {"treatment's p-bits", badRow([](Row& row) { row.innerTreatmentPrio = 11; }), "treatment has a reserved code"},
        {"treatment's VID", badRow([](Row& row) { row.innerTreatmentVlanId = 4098; }), "treatment has a reserved code"},
        {"treatment's TPID", badRow([](Row& row) { row.innerTreatmentTpidDe = 260; }), "treatment has a reserved code"},
        {"tags to remove", badRow([](Row& row) { row.removeType = 256; }), "removes more than two tags"},
        {"EtherType", badRow([](Row& row) { row.etherType = 9; }), "no such EtherType"},
        {"filtered tags", badRow([](Row& row) { row.filterType = 7; }), "filters no more than two tags"},
        {"deleted row's EtherType",
         asks(&VornHal::vorn_omci_hal_filter_flow_add, withEtherType(deletion(row(true)), 7)), "no such EtherType"},
        {"downstream mode", badRow([](Row& row) { row.downstreamMode = 264; }), "downstream mode"},
        {"GEM port", badPonPort([](Pon& port) {
             port.pbitMap[5] = {77, 0};
         }),
         "GEM port is not known"},
        {"queue", badPonPort([](Pon& port) {
             port.pbitMap[0] = {kGemPort, 8};
         }),
         "queue above 7"},
        {"forward operation", badPonPort([](Pon& port) { port.forwardOperation = 0x22; }), "forward operation"},
        {"list", badPonPort([](Pon& port) { port.vlanTciFilterList[1] = 'x'; }), "list of its filter"},
        {"entries", badPonPort([](Pon& port) { port.numberOfEntries = 13; }), "list of its filter"},
        {"traffic model", badPonPort([](Pon& port) { port.trafficModel = 7; }), "no such traffic model"},
        {"bridge's port", asksForBridge(3, 9), "br3 or a device on it cannot be made"},
        {"VEIP without PON side", gateway(true, kGemPort).run, "gpon0.0 does not exist"},
        {"T-CONT", asks(&VornHal::vorn_omci_hal_tcont_set, TContProvisioning{1100, 256, 0}), "no T-CONT 256"},
        {"no alloc-id", asks(&VornHal::vorn_omci_hal_tcont_set, TContProvisioning{65535, 5, 0}), "no alloc-id 65535"},
        {"another's alloc-id", boundTcont(256).run, "alloc-id 256 is that of T-CONT 1"},
        {"GEM port's id", gemPort(65535).run, "no id 65535"},
        {"status of a GEM port", asks(&VornHal::vorn_omci_hal_set_gemPortStatus, XgemStatusRecord{77, 1}),
         "GEM port 77"},
        {"host's number", badHost([](IpHostProvision& host) { host.uniPort = 0; }), "no device of number 0"},
        {"host's address", badHost([](IpHostProvision& host) { host.ipAddress = "$(ls)"; }),
         "an address of the IP host"},
        {"host's bridge", badHost([](IpHostProvision&) {}), "br5, which does not exist"},
        {"null T-CONT", [](VornHal& hal) { return hal.vorn_omci_hal_tcont_set(nullptr, nullptr); }, kNull},
        {"null T-CONT, away", [](VornHal& hal) { return hal.vorn_omci_hal_tcont_reset(nullptr, nullptr); }, kNull},
        {"null GEM port", [](VornHal& hal) { return hal.vorn_omci_hal_gemflow_add(nullptr); }, kNull},
        {"null GEM port, away", [](VornHal& hal) { return hal.vorn_omci_hal_gemflow_del(nullptr); }, kNull},
        {"null status", [](VornHal& hal) { return hal.vorn_omci_hal_set_gemPortStatus(nullptr); }, kNull},
        {"null row", [](VornHal& hal) { return hal.vorn_omci_hal_filter_flow_add(nullptr); }, kNull},
        {"null PON port", [](VornHal& hal) { return hal.vorn_omci_hal_configureAniTagRules(nullptr); }, kNull},
        {"null p-bits", [](VornHal& hal) { return hal.vorn_omci_hal_unsetPbitData(nullptr); }, kNull},
        {"null PON side", [](VornHal& hal) { return hal.vorn_omci_hal_deprovisionAniSideBridge(nullptr); }, kNull},
        {"null UNI side", [](VornHal& hal) { return hal.vorn_omci_hal_deprovisionUniSideBridge(nullptr); }, kNull},
        {"null list", [](VornHal& hal) { return hal.vorn_omci_hal_veip_createRules(1, 0, 16, 1, nullptr, 2); }, kNull},
        {"null list, away", [](VornHal& hal) { return hal.vorn_omci_hal_veip_deleteRules(1, 0, 16, 1, nullptr, 2); },
         kNull},
        {"null host", [](VornHal& hal) { return hal.vorn_omci_hal_provisionIpHost(nullptr); }, kNull},
        {"null host, away", [](VornHal& hal) { return hal.vorn_omci_hal_deprovisionIpHost(nullptr); }, kNull},
    };
    provision();
    const auto before = serving();
    for (const BadInput& one : cases) {
        int result = 0;
        const std::string printed = printedBy([&] { result = one.ask(daemon().hal()); });
        EXPECT_EQ(result, -1) << one.name;
        const std::size_t at = printed.find("nothing is changed: ");
        EXPECT_TRUE(at != std::string::npos && printed.find(one.said, at) != std::string::npos)
            << one.name << ": " << printed;
        EXPECT_EQ(serving(), before) << one.name;
    }
    auto ofHost = tagging(20, 100);
    ofHost.uniPort = 5;
    EXPECT_EQ(ask(daemon(), ofHost), 0) << "an IP host has no rows";
    EXPECT_EQ(serving(), before);
    EXPECT_EQ(ask(daemon(), tagging(20, 100)), 0) << "nothing of them is in the way";
}

// ---- the state file ----

TEST_F(Forwarding, AFileOfTheOtherModeIsRefused) {
    for (const int forwarding : {kG988, kContract}) {
        startOver();
        {
            Daemon first(folder_);
            choose(first, forwarding);
            ASSERT_EQ(first.open(state()), 0);
            provision(first.hal());
        }
        const std::string file = contentOf(state());
        Daemon other(folder_);
        choose(other, forwarding == kG988 ? kContract : kG988);
        EXPECT_EQ(other.open(state()), -1);
        EXPECT_TRUE(saidThat(forwarding == kG988 ? "was made with forwarding by G.988, and the contract holds now"
                                                 : "was made with forwarding by the contract, and G.988 holds now"));
        EXPECT_EQ(contentOf(state()), file);
    }
}

TEST_F(Forwarding, TablesComeBackAndACleanDeviceHasNoRules) {
    ASSERT_EQ(std::system("brctl addbr brv"), 0);
    {
        Daemon first(folder_);
        choose(first, kG988);
        ASSERT_EQ(first.open(state()), 0);
        make(first, 0, kProvisioning);
        ASSERT_EQ(ask(first, tagging(20, 100)), 0);
        ASSERT_EQ(bridge(5).run(first.hal()), 0);
        ASSERT_EQ(host(hostRecord(HostKind::Shared)).run(first.hal()), 0);
    }
    const auto before = serving();
    {
        Daemon second(folder_);
        choose(second, kG988);
        ASSERT_GT(second.open(state()), 0);
        EXPECT_EQ(serving(), before);
        EXPECT_FALSE(saidThat("forgotten") || saidThat("not in the state") || saidThat("rules"));
        ASSERT_EQ(ask(second, deletion(row(true))), 0);
        EXPECT_EQ(up(Frame{}), "");
        EXPECT_EQ(up(tagged(20)), "VID 100 p0, IPv4") << "the other row";
        ASSERT_EQ(ask(second, row(true)), 0);
        EXPECT_EQ(serving(), before);
        // The shared bridge has the place of the host's own.
        ASSERT_EQ(bridge(5).run(second.hal()), 0);
        ASSERT_EQ(host(hostRecord(HostKind::Shared)).run(second.hal()), 0);
        EXPECT_EQ(serving(), before);
        onu().failNext("vlanCtl_deleteVlanInterface", 1, 5);
        EXPECT_EQ(noPonSide(ponPort(1005, "", 5)).run(second.hal()), -1);
        onu().clearFaults();
        EXPECT_EQ(serving(), before) << "back on the shared bridge";
    }
    // Somebody has taken a rule away: its table is filled again.
    const auto rules = onu().rules("sid0", 0, 1);
    vlanCtl_removeTagRule("sid0", 0, 1, rules.front().id);
    Daemon third(folder_);
    choose(third, kG988);
    ASSERT_GT(third.open(state()), 0);
    EXPECT_EQ(serving(), before);
    EXPECT_EQ(third.clean(), 0);
    EXPECT_EQ(onu().ruleCount(), 0U);
}

}  // namespace
