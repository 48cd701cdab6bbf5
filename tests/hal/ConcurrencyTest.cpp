// The daemon provisions while the gateway asks and links come and go: three threads of the library at once, as on a
// busy ONU. Meant for the thread sanitizer; what each thread achieves is checked as well.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <thread>

#include "BRCM/BCM968580/omci_brcm_hal.h"
#include "hal/HALFactory.h"
#include "hal/ProvisioningRecords.h"
#include "support/BusWait.h"
#include "support/OnuFixture.h"

namespace {

constexpr std::uint32_t kAsk = 0x10002251;
constexpr std::uint16_t kGemPort = 1000, kMulticastGemPort = 4000;
constexpr int kCycles = 12;

VornHal& hal() {
    return *HALFactory::getInstance()->CreateHALObject(0);
}

BridgeServiceProvisioning service(std::uint16_t bridgeId, std::uint16_t gemPort, bool multicast) {
    BridgeServiceProvisioning record{};
    record.bridgeId = bridgeId;
    record.gemPortId = gemPort;
    std::snprintf(record.vlanTciFilterList, sizeof record.vlanTciFilterList, "0064");
    record.forwardOperation = 4;
    record.numberOfEntries = 1;
    record.trafficModel = 2;
    record.pbitMap[0] = {gemPort, 2};
    record.isMulticast = record.multicastService = multicast;
    return record;
}

// One service with its port, announced to the gateway, and a multicast service beside it; then all of it taken back.
void provisionOnce() {
    const auto internet = service(3, kGemPort, false);
    const auto video = service(3, kMulticastGemPort, true);
    UniDataProvisioning row{1, 1, 3, 3, 0x8100, 0x8100, 0, 0, 1, 0, 0, 4096, 15, 0, 4096, 15, 0, 4, 0, 15, 4, 100, 0};
    hal().vorn_omci_hal_configureBridge(3, 0);
    hal().vorn_omci_hal_configureAniTagRules(&internet);
    hal().vorn_omci_hal_filter_flow_add(&row);
    hal().vorn_omci_hal_configureAniTagRules(&video);
    OMCI_SERVICE_MAP_ENTRY announced{};
    announced.vlanId = 100;
    auto* engine = EtherSwitchBcm380::getInstance();
    engine->omciServiceCreateMapEntry(&announced);
    hal().vorn_hal_set_omci_action(15);
    engine->omciServiceDeleteMapEntry(0, announced.ifName, 100, 0);
    hal().vorn_hal_set_omci_action(0);

    row.addFlag = 0;
    hal().vorn_omci_hal_filter_flow_add(&row);
    hal().vorn_omci_hal_unsetPbitData(&internet);
    hal().vorn_omci_hal_deprovisionAniSideBridge(&video);
    hal().vorn_omci_hal_deprovisionAniSideBridge(&internet);
}

class Concurrency : public OnuFixture {
protected:
    // The monitor thread goes on and reads its files meanwhile: none of them stays open.
    void TearDown() override {
        EXPECT_TRUE(becomesTrue([] { return onu().openDescriptors() == 0; })) << "a device file was left open";
    }
};

TEST_F(Concurrency, ProvisioningGatewayRequestsAndLinkChangesDoNotDisturbOneAnother) {
    onu().addGemPort(kGemPort, 7);
    onu().addGemPort(kMulticastGemPort, 8);
    onu().writeFile("/var/mcpd.conf", "igmp-snooping-interfaces br0\n");
    StdoutCapture quiet;
    ASSERT_EQ(hal().vorn_omci_hal_init(), 0);
    ASSERT_NE(VornBrcmHal::createAlarmStatsThread(), 0);

    std::atomic<bool> done{false};
    std::atomic<int> asked{0};
    std::thread gateway([&] {
        OMCI_SERVICE_MAP_ENTRY request{};
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&request);
        while (!done) {
            request.vlanId = asked % 2 == 0 ? 100 : 200;  // there at times, and never there
            onu().gatewaySends(kAsk, {bytes, bytes + sizeof request});
            const int sent = ++asked;
            becomesTrue([&] { return done || onu().trace().size() > static_cast<std::size_t>(sent); });
        }
    });
    std::thread links([&] {
        for (bool up = false; !done; up = !up) {
            onu().setOperState("eth0", up ? "up" : "down");
            onu().setOperState("eth1", up ? "down" : "up");
            onu().advance(1000);
            std::this_thread::yield();
        }
    });
    for (int cycle = 0; cycle < kCycles; ++cycle) provisionOnce();
    EXPECT_TRUE(becomesTrue([] {  // the monitor has seen a link change while multicast was on
        const auto file = onu().readFile("/var/mcpd.conf");
        if (file == "igmp-snooping-interfaces br0 br256 br257 \n") return true;
        provisionOnce();
        return false;
    }));
    done = true;
    gateway.join();
    links.join();
    EXPECT_TRUE(becomesTrue([&] {
        const auto trace = onu().trace();
        return std::count_if(trace.begin(), trace.end(), [](const auto& e) { return e.name == "cmsMem_free"; }) >=
               std::min(asked.load(), 1);
    }));
    EXPECT_EQ(EtherSwitchBcm380::getInstance()->omci_service_num_get(), 0);
    for (const auto& table : onu().ruleTables())
        EXPECT_TRUE(table.device == "gpondef" || table.rules.empty()) << table.device;
}

}  // namespace
