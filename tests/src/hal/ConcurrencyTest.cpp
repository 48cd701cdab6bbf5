// The daemon provisions while the gateway asks, links come and go, and others read counters and use bridges: everything
// at once that may be. Meant for the thread sanitizer; what each thread achieves is checked as well.
#include <algorithm>
#include <atomic>
#include <deque>
#include <functional>
#include <thread>
#include <vector>

#include "BRCM/BCM968580/omci_brcm_hal.h"
#include "bridge/BridgeControl.h"
#include "device/Counters.h"
#include "hal/HALFactory.h"
#include "support/InternetService.h"
#include "support/OnuFixture.h"
#include "support/Wait.h"

namespace {

constexpr std::uint32_t kAskAgain = 0x10002251;
constexpr std::uint16_t kMulticastGemPort = 4000;
constexpr int kCycles = 12;

VornHal& hal() {
    return *HALFactory::getInstance()->CreateHALObject(0);
}

// One service with its port, announced to the gateway, and a multicast service beside it; then all of it taken back.
void provisionOnce() {
    const auto internet = internet_service::service();
    auto video = internet;
    video.gemPortId = video.pbitMap[0].first = kMulticastGemPort;
    video.isMulticast = video.multicastService = 1;
    UniDataProvisioning row = internet_service::row(3);
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

// Threads that each do their work again and again until stopped.
class Beside {
public:
    // turn gets the number of the turn, from 0.
    void start(std::function<void(int)> turn) {
        auto& count = turns_.emplace_back();
        threads_.emplace_back([this, &count, turn = std::move(turn)] {
            for (; !done_; ++count) turn(count);
        });
    }
    bool allHaveHad(int turns) const {
        return std::all_of(turns_.begin(), turns_.end(), [&](const auto& count) { return count >= turns; });
    }
    void stop() {
        done_ = true;
        for (auto& thread : threads_) thread.join();
        threads_.clear();
    }
    ~Beside() { stop(); }

private:
    std::atomic<bool> done_{false};
    std::deque<std::atomic<int>> turns_;
    std::vector<std::thread> threads_;
};

// What a thread that looks after counters does: three ways to ask, the interval's end among them.
void readCounters(int turn) {
    PmRequest request{};
    request.kind = kPmEthernet;
    request.interval = static_cast<decltype(request.interval)>(turn % 3);
    EthernetPmRecord record{};
    EXPECT_EQ(hal().vorn_omci_hal_pm_get(&request, &record), 0);
    IntfStats stats{};
    EXPECT_EQ(getIntfStats("eth0", &stats), 0);
}

void readIdentity(int) {
    unsigned char text[64] = {};
    hal().vorn_omci_hal_sn_get(text, sizeof text);
    hal().vorn_omci_hal_mac_get(text, sizeof text);
    EXPECT_FALSE(hal().vorn_hal_get_mac_ip_host().empty());
    int level = 0;
    hal().vorn_omci_hal_rx_laser_power_get(&level);
    hal().vorn_omci_hal_tx_laser_power_get(&level);
}

// Bridges of its own, through the control socket that the provisioning thread opens and closes all the time.
void useBridges(int) {
    ASSERT_EQ(br_init(), 0);
    EXPECT_EQ(br_add_bridge("lan"), 0);
    EXPECT_EQ(br_add_interface("lan", "eth1"), 0);
    br_bridge_info info{};
    EXPECT_EQ(br_get_bridge_info("lan", &info), 0);
    EXPECT_EQ(br_foreach_bridge([](const char*, void*) { return 0; }, nullptr, nullptr), 0);
    EXPECT_EQ(br_del_interface("lan", "eth1"), 0);
    EXPECT_EQ(br_del_bridge("lan"), 0);
    EXPECT_EQ(br_shutdown(), 0);
}

// Services that the gateway is notified of beside those of the provisioning thread.
void announce(int turn) {
    OMCI_SERVICE_MAP_ENTRY service{};
    service.vlanId = 1000 + turn % 7;
    auto* engine = EtherSwitchBcm380::getInstance();
    EXPECT_EQ(engine->omciServiceCreateMapEntry(&service), 1);
    EXPECT_EQ(engine->omciServiceDeleteMapEntry(0, service.ifName, service.vlanId, 0), 1);
    hal().vorn_hal_set_omci_action(turn % 2 == 0 ? 15 : 0);
}

TEST_F(Concurrency, SevenThreadsAtOnceDoNotDisturbOneAnother) {
    constexpr int kTurns = 30;
    onu().addGemPort(internet_service::kGemPort, 7);
    onu().addGemPort(kMulticastGemPort, 8);
    onu().addDevice("veip0");
    onu().writeFile("/var/mcpd.conf", "igmp-snooping-interfaces br0\n");
    StdoutCapture quiet;
    ASSERT_EQ(hal().vorn_omci_hal_init(), 0);
    ASSERT_NE(VornBrcmHal::createAlarmStatsThread(), 0);

    Beside beside;
    beside.start(readCounters);
    beside.start(readIdentity);
    beside.start(useBridges);
    beside.start(announce);
    beside.start([&](int turn) {
        OMCI_SERVICE_MAP_ENTRY request{};
        request.vlanId = turn % 2 == 0 ? 100 : 1000 + turn % 7;
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&request);
        onu().gatewaySends(kAskAgain, {bytes, bytes + sizeof request});
        std::this_thread::yield();
    });
    beside.start([&](int turn) {
        onu().setOperState("eth0", turn % 2 == 0 ? "up" : "down");
        onu().setOperState("eth1", turn % 2 == 0 ? "down" : "up");
        onu().advance(1000);
        std::this_thread::yield();
    });
    for (int cycle = 0; cycle < kCycles; ++cycle) provisionOnce();
    EXPECT_TRUE(becomesTrue([] {  // the monitor has seen a link change while multicast was on
        if (onu().readFile("/var/mcpd.conf") == "igmp-snooping-interfaces br0 br256 br257 \n") return true;
        provisionOnce();
        return false;
    }));
    EXPECT_TRUE(becomesTrue([&] { return beside.allHaveHad(kTurns); }));
    beside.stop();
    EXPECT_TRUE(becomesTrue([] { return !traced("cmsMem_free").empty(); })) << "no request of the gateway was read";

    EXPECT_EQ(EtherSwitchBcm380::getInstance()->omci_service_num_get(), 0);
    EXPECT_FALSE(onu().bridge("lan"));
    EXPECT_TRUE(members("br3").empty());
    EXPECT_EQ(members("br0").size(), 8u);
    for (const auto& table : onu().ruleTables())
        EXPECT_TRUE(table.device == "gpondef" || table.rules.empty()) << table.device;
}

}  // namespace
