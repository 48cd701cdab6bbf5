#include <functional>

#include "device/EthernetUni.h"
#include "support/OnuFixture.h"

namespace {

using EthernetUni = OnuFixture;
using virtual_onu::CallKind;

// act while this function of the device kit answers the error.
std::function<void()> failing(const char* function, int error, void (*act)()) {
    return [=] {
        virtual_onu::VirtualOnu::instance().failNext(function, 1, error);
        act();
    };
}

// clang-format off
const struct {
    const char* what;
    std::function<void()> act;
    const char* printed;
    std::vector<std::string> calls;  // platform calls and shell commands
} kCases[] = {
    {"speed of UNI 1", [] { updateEthernetUniSpeed(1, 100, 2); },
     "\nIn updateEthernetUniSpeed: uniInstance(1) speed(100) duplex(2)\n"
     "updateEthernetUniSpeed: Succesfully set speed and duplex\n", {"bcm_phy_mode_set(0, 4, 100, 2) = 0"}},
    {"speed of UNI 2", [] { updateEthernetUniSpeed(2, 65535, 255); },
     "\nIn updateEthernetUniSpeed: uniInstance(2) speed(65535) duplex(255)\n"
     "updateEthernetUniSpeed: Succesfully set speed and duplex\n", {"bcm_phy_mode_set(0, 0, 65535, 255) = 0"}},
    {"speed refused", failing("bcm_phy_mode_set", -4, [] { updateEthernetUniSpeed(1, 10, 1); }),
     "\nIn updateEthernetUniSpeed: uniInstance(1) speed(10) duplex(1)\n"
     "updateEthernetUniSpeed: Unable to set the speed and duplex retVal(-4)\n", {"bcm_phy_mode_set(0, 4, 10, 1) = -4"}},
    {"speed of no UNI", [] { updateEthernetUniSpeed(3, 10, 1); },
     "\nIn updateEthernetUniSpeed: uniInstance(3) speed(10) duplex(1)\n"
     "updateEthernetUniSpeed: Invalid uniInstance(3)\n", {}},
    {"UNI 2 up", [] { setEthernetUniStatus(2, 9); },
     "\nIn setEthernetUniStatus: uniInstance(2) admin state(9) \n"
     "setEthernetUniStatus: Succesfully set eth0 link status:9\n", {R"(system("ifconfig eth0 up") = 0)"}},
    {"UNI 1 down", [] { setEthernetUniStatus(1, 0); },
     "\nIn setEthernetUniStatus: uniInstance(1) admin state(0) \n"
     "setEthernetUniStatus: Succesfully set eth1 link status:0\n", {R"(system("ifconfig eth1 down") = 0)"}},
    {"no UNI up", [] { setEthernetUniStatus(0, 1); },
     "\nIn setEthernetUniStatus: uniInstance(0) admin state(1) \n"
     "ERROR: setEthernetUniStatus: Invalid uniInstance(0)\n", {}},
    {"link up", [] { EXPECT_EQ(getEthernetUniOperState(1), 0); }, "", {"bcm_get_linkstatus(0, 4, 0) = 0"}},
    {"link down", [] { EXPECT_EQ(getEthernetUniOperState(2), 1); }, "", {"bcm_get_linkstatus(0, 0, 0) = 0"}},
    {"link not known", failing("bcm_get_linkstatus", -7, [] { EXPECT_EQ(getEthernetUniOperState(1), 1); }),
     "bcm_get_linkstatus: FAILED error(-7)\n", {"bcm_get_linkstatus(0, 4, 0) = -7"}},
    {"link of no UNI", [] { EXPECT_EQ(getEthernetUniOperState(3), 1); },
     "getEthernetUniOperState: Invalid uniInstance(3)\n", {}},
    {"configured speed", [] { EXPECT_EQ(getEthernetUniConfig(1, true), 2500); },
     "getEthernetUniConfig: LAN4 speed(2500) and duplex(1)\n", {"bcm_phy_mode_get(0, 4) = 0"}},
    {"configured duplex", [] { EXPECT_EQ(getEthernetUniConfig(2, false), 2); },
     "getEthernetUniConfig: LAN0 speed(100) and duplex(2)\n", {"bcm_phy_mode_get(0, 0) = 0"}},
    {"configuration not known", failing("bcm_phy_mode_get", 5, [] { EXPECT_EQ(getEthernetUniConfig(2, true), 0); }),
     "ERROR: getEthernetUniConfig: bcm_phy_mode_get() failed on LAN0 retVal(5) \n", {"bcm_phy_mode_get(0, 0) = 5"}},
    {"configuration of no UNI", [] { EXPECT_EQ(getEthernetUniConfig(3, true), 0); },
     "ERROR: getEthernetUniConfig: Invalid uniInstance(3)\n", {}},
};
// clang-format on

TEST_F(EthernetUni, EachInstanceReachesItsPhyAndDeviceAndNoOther) {
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.what);
        onu().reset();
        onu().setPhy(4, true, 2500, 1);
        onu().setPhy(0, false, 100, 2);
        EXPECT_EQ(printedBy(c.act), c.printed);
        std::vector<std::string> calls;
        for (const auto& entry : onu().trace()) {
            if (entry.kind == CallKind::Platform || entry.kind == CallKind::Shell) calls.push_back(entry.text());
        }
        EXPECT_EQ(calls, c.calls);
    }
}

}  // namespace
