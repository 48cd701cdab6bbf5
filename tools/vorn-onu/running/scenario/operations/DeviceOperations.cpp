// The exported functions that a daemon calls beside the HAL object.
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/omci_brcm_hal.h"
#include "bridge/BridgeControl.h"
#include "device/Counters.h"
#include "device/EthernetUni.h"
#include "running/scenario/operations/OperationArguments.h"
#include "running/scenario/operations/Operations.h"
#include "xpon/OnuXponHalAdapterBCM.h"

namespace vorn_onu {

namespace {

// Arguments of the four Ethernet UNI functions together; each uses some of them.
struct UniArguments {
    std::uint16_t uniInstance, speed;
    std::uint8_t duplex, adminState, wantSpeed;
};

Field uniInstance() {
    return field("uniInstance", &UniArguments::uniInstance, Numbers{}, required(),
                 "Ethernet UNI: 1 is eth1, 2 is eth0");
}

std::vector<Operation> uniOperations() {
    using U = UniArguments;
    return {
        operation<U>("updateEthernetUniSpeed", "sets speed and duplex of an Ethernet UNI", kChanges,
                     {uniInstance(), field("speed", &U::speed, Numbers{}, required(), "speed, in the PHY's encoding"),
                      field("duplex", &U::duplex, Numbers{0, 255}, required(), "duplex, in the PHY's encoding")},
                     {},
                     [](VornHal&, U& a) {
                         updateEthernetUniSpeed(a.uniInstance, a.speed, a.duplex);
                         return Outcome{};
                     }),
        operation<U>("setEthernetUniStatus", "brings an Ethernet UNI up or down", kChanges,
                     {uniInstance(), field("adminState", &U::adminState, kFlag, required(), "true up, false down")}, {},
                     [](VornHal&, U& a) {
                         setEthernetUniStatus(a.uniInstance, a.adminState);
                         return Outcome{};
                     }),
        operation<U>("getEthernetUniOperState", "0 the link is up, 1 it is not", kQuery, {uniInstance()}, {},
                     [](VornHal&, U& a) {
                         return Outcome{getEthernetUniOperState(a.uniInstance), Json::object()};
                     }),
        operation<U>("getEthernetUniConfig", "configured speed or duplex", kQuery,
                     {uniInstance(), field("wantSpeed", &U::wantSpeed, Numbers{0, 1, {}, true}, required(),
                                           "true the speed, false the duplex")},
                     {},
                     [](VornHal&, U& a) {
                         return Outcome{getEthernetUniConfig(a.uniInstance, a.wantSpeed != 0), Json::object()};
                     }),
    };
}

Operation interfaceCounters() {
    struct Arguments {
        std::string interface;
    };
    return operation<Arguments>(
        "getIntfStats", "absolute counters of a network device", kQuery,
        {field("interface", &Arguments::interface, required(), "name of the device")},
        {"rxOctets", "rxFrames", "rxErrors", "rxDiscards", "txOctets", "txFrames", "txErrors", "txDiscards"},
        [](VornHal&, Arguments& a) {
            IntfStats s{};
            const int result = getIntfStats(a.interface.c_str(), &s);
            return Outcome{result, countersJson(s)};
        });
}

Operation portIsolation() {
    struct Arguments {
        std::string bridge, port;
        bool isolated;
    };
    return operation<Arguments>(
        "br_set_port_isolated", "lets nothing pass between isolated ports of a bridge; 0 or an errno value", kChanges,
        {field("bridge", &Arguments::bridge, required(), "name of the bridge"),
         field("port", &Arguments::port, required(), "name of its port"),
         field("isolated", &Arguments::isolated, kFlag, required(), "true on, false off")},
        {}, [](VornHal&, Arguments& a) {
            const int error = br_set_port_isolated(a.bridge.c_str(), a.port.c_str(), a.isolated ? 1 : 0);
            return Outcome{error, Json::object()};
        });
}

Operation bridgeAgeing() {
    struct Arguments {
        std::string bridge;
        std::uint32_t seconds, microseconds;
    };
    return operation<Arguments>(
        "br_set_ageing_time", "how long a bridge knows an address that it does not hear; 0 or an errno value", kChanges,
        {field("bridge", &Arguments::bridge, required(), "name of the bridge"),
         field("seconds", &Arguments::seconds, Numbers{0, 0x7FFFFFFF}, required(),
               "300 is a bridge's own; with 0 it knows none"),
         field("microseconds", &Arguments::microseconds, Numbers{0, 999999}, otherwise(0), "beside the seconds")},
        {}, [](VornHal&, Arguments& a) {
            timeval time{static_cast<time_t>(a.seconds), static_cast<suseconds_t>(a.microseconds)};
            return Outcome{br_set_ageing_time(a.bridge.c_str(), &time), Json::object()};
        });
}

Operation gemPortCounter() {
    return operation<GalEthPMHistoryData_t>(
        "getGalEthPmHistDataME", "discarded frames of a GEM port", kQuery,
        {field("gemPortId", &GalEthPMHistoryData_t::gemPortId, Numbers{}, required(), "GEM port id")},
        {"discardedFrames"}, [](VornHal&, GalEthPMHistoryData_t& data) {
            const int result = OnuXponHalAdapterBCM::getInstance()->getGalEthPmHistDataME(&data);
            return Outcome{result, {{"discardedFrames", data.discardedFrames}}};
        });
}

Operation hostServiceTag() {
    struct Arguments {
        std::uint16_t vid;
    };
    return operation<Arguments>(
        "EtherSwitchBcm380::iPhost_Stag", "service tag that the management host's frames carry", kChanges,
        {field("vid", &Arguments::vid, Numbers{0, 65535, {{"none", 65535}}}, required(), "VID, or none")}, {},
        [](VornHal&, Arguments& a) {
            EtherSwitchBcm380::getInstance()->iPhost_Stag = a.vid;
            return Outcome{};
        });
}

}  // namespace

std::vector<Operation> deviceOperations() {
    std::vector<Operation> rows = uniOperations();
    rows.push_back(interfaceCounters());
    rows.push_back(portIsolation());
    rows.push_back(bridgeAgeing());
    rows.push_back(gemPortCounter());
    rows.push_back(hostServiceTag());
    rows.push_back(operation<NoArguments>("VornBrcmHal::createAlarmStatsThread", "starts the link monitor", kChanges,
                                          {}, {}, [](VornHal&, NoArguments&) {
                                              VornBrcmHal::createAlarmStatsThread();
                                              return Outcome{};
                                          }));
    return rows;
}

}  // namespace vorn_onu
