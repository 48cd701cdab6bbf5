// The gateway link: what goes over the bus, how long the daemon waits, and what the service map keeps.
#include <algorithm>
#include <chrono>
#include <thread>

#include "support/OnuFixture.h"
#include "support/Wait.h"

using virtual_onu::GatewayMode;

namespace {

constexpr std::uint32_t kDown = 0x10002250, kAsk = 0x10002251, kState = 0x10002254;
constexpr const char* kTimeOutLine = "\nsendServiceInfoMsg: pthread_cond_timedwait timed out!!!";

using Bytes = std::vector<std::uint8_t>;

class Gateway : public OnuFixture {
protected:
    void SetUp() override {
        OnuFixture::SetUp();
        onu().setGateway(GatewayMode::Answers, 100);
        ASSERT_EQ(engine().omcid_initCms(), 0);
        ASSERT_TRUE(called("cmsTmr_getTimeToNextEvent", 1)) << "the listener has not announced the application";
    }

    static OMCI_SERVICE_MAP_ENTRY service(const std::string& name, int vlanId, int pbits, int gemPortIndex = 7) {
        OMCI_SERVICE_MAP_ENTRY entry{};
        std::copy_n(name.c_str(), std::min(name.size() + 1, sizeof entry.ifName), entry.ifName);
        entry.vlanId = vlanId;
        entry.pbits = pbits;
        entry.gemPortIndex = gemPortIndex;
        entry.serviceStatus = 1;
        return entry;
    }

    static void ask(const OMCI_SERVICE_MAP_ENTRY& entry, std::size_t size = sizeof(OMCI_SERVICE_MAP_ENTRY)) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&entry);
        onu().gatewaySends(kAsk, Bytes(bytes, bytes + size));
    }

    static bool called(const char* function, long times) {
        return becomesTrue([function, times] {
            const auto trace = onu().trace();
            return std::count_if(trace.begin(), trace.end(),
                                 [function](const auto& entry) { return entry.name == function; }) >= times;
        });
    }
};

TEST_F(Gateway, HearsOnceThatTheApplicationIsUp) {
    const Bytes indication = {0x00, 0x37, 0x00, 0x10, 60, 0, 0, 0, 21, 0, 0, 0, 1, 0, 0, 0, 0, 0,
                              0,    0,    0,    0,    0,  0, 0, 0, 0,  0, 4, 0, 0, 0, 0, 0, 0, 0};
    ASSERT_EQ(onu().sentMessages().size(), 1u);
    EXPECT_EQ(onu().sentMessages()[0].raw, indication);
}

TEST_F(Gateway, GetsAServiceAsNinetyTwoBytes) {
    auto entry = service("veip0", 0x0102, -2, 0x0304);
    entry.gemPortId = 0x0506;
    entry.serviceType = 1;
    EXPECT_EQ(engine().sendServiceInfoMsg(&entry), 0);

    Bytes expected(92, 0);
    const auto put = [&expected](std::size_t offset, const Bytes& bytes) {
        std::copy(bytes.begin(), bytes.end(), expected.begin() + static_cast<std::ptrdiff_t>(offset));
    };
    put(0, {0x54, 0x22, 0x00, 0x10, 60, 0, 0, 0, 21, 0, 0, 0, 2, 0});  // type, source, destination, flags
    put(28, {60});                                                     // payload length
    put(32, {'v', 'e', 'i', 'p', '0'});
    put(64, {0xFE, 0xFF, 0xFF, 0xFF, 0x02, 0x01});  // p-bits, VLAN id
    put(73, {1});                                   // status
    put(76, {0x04, 0x03, 0, 0, 0x06, 0x05});        // GEM index and port
    put(88, {1});                                   // kind
    EXPECT_EQ(onu().sentMessages().back().raw, expected);
}

// Either type of answer ends the wait.
TEST_F(Gateway, TellsAServiceThatGoesDownByStatusAndActionCode) {
    const std::tuple<int, std::uint8_t, std::uint32_t> cases[] = {
        {15, 0, kDown}, {15, 1, kState}, {14, 0, kState}, {0, 1, kState}};
    for (const auto& [action, status, type] : cases) {
        engine().setOmciAction(action);
        auto entry = service("veip0", 10, 3);
        entry.serviceStatus = status;
        const std::string printed = printedBy([&entry] { engine().sendServiceInfoMsg(&entry); });
        EXPECT_EQ(onu().sentMessages().back().type, type) << action << " " << int{status};
        EXPECT_TRUE(contains(printed, "\nWaiting for RG response\nRecived response from RG")) << printed;
    }
}

TEST_F(Gateway, CostsOneSecondAndATimeOutLineWhenItIsSilentEvenAfterAFailedSend) {
    onu().setGateway(GatewayMode::Silent);
    onu().failNext("cmsMsg_send", 1, 9);
    const auto entry = service("veip0", 10, 3);
    const auto start = std::chrono::steady_clock::now();
    int result = 0;
    const std::string printed = printedBy([&] { result = engine().sendServiceInfoMsg(&entry); });
    EXPECT_EQ(result, 9);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(990));
    EXPECT_EQ(
        printed,
        "===> sendServiceInfoMsg, gemPortIndex=7, pbits=3, vlanId=10, ifName=veip0, serviceType=0, serviceStatus=1\n"
        "Send CMS_MSG_OMCI_GPON_WAN_SERVICE_STATUS_CHANGE failed, ret=9\nWaiting for RG response" +
            std::string(kTimeOutLine) + "\nRecived response from RG");
}

// Guards against a lock held across the wait: listener and daemon would wait for each other.
TEST_F(Gateway, MayAskWhileTheDaemonWaitsForIt) {
    onu().setGateway(GatewayMode::Silent);
    auto known = service("veip0", 10, 3);
    ASSERT_EQ(engine().omciServiceCreateMapEntry(&known), 1);
    auto other = service("veip0", 20, 5);
    std::thread daemon([&other] { engine().sendServiceInfoMsg(&other); });
    EXPECT_TRUE(becomesTrue([] { return onu().sentMessages().size() == 2; }));
    ask(known);
    EXPECT_TRUE(becomesTrue([] { return onu().sentMessages().size() == 3; }));
    daemon.join();
    EXPECT_EQ(serviceOf(onu().sentMessages()[2]).vlanId, 10) << "the listener answers from the map";
}

TEST_F(Gateway, GetsTheStoredServiceWhoseNameFillsItsFieldUnterminated) {
    const std::string name(32, 'x');
    auto stored = service(name, 10, 3, 42);
    ASSERT_EQ(engine().omciServiceCreateMapEntry(&stored), 1);
    auto asked = stored;
    asked.gemPortIndex = 1;  // not part of the key
    StdoutCapture capture;
    ask(asked);
    ASSERT_TRUE(becomesTrue([] { return onu().sentMessages().size() == 2; }));
    EXPECT_EQ(serviceOf(onu().sentMessages()[1]).gemPortIndex, 42);
    const std::string line =
        "\nhandleWanServiceStatusUpdate : pService->l2Ifname=" + name + " PhyId=1 VlanId=10 pbits=3\n";
    EXPECT_NE(capture.stop().find(line), std::string::npos);
}

TEST_F(Gateway, IsNotAnsweredOnUnknownServicesAndMessagesOrShortOnes) {
    auto known = service("veip0", 10, 3);
    ASSERT_EQ(engine().omciServiceCreateMapEntry(&known), 1);
    onu().clearTrace();
    StdoutCapture capture;
    ask(service("veip0", 10, 4));
    onu().gatewaySends(0x1234, {});
    ask(known, 59);
    onu().gatewaySends(kAsk, {}, 0);
    EXPECT_TRUE(called("cmsMem_free", 4)) << "every message is freed";
    const std::string printed = capture.stop();
    EXPECT_TRUE(
        contains(printed, "findOmciServiceMapEntry: Entry NOT Found for ifName: veip0 phyId: 7 vlanId 10 pbit 4\n "));
    EXPECT_TRUE(contains(printed, "Invalid message type (1234)"));
    EXPECT_EQ(onu().sentMessages().size(), 1u);
    EXPECT_EQ(traced("too short").size(), 2u);
}

TEST(ServiceMap, KeepsTheFirstOfTwoServicesWithTheSameKey) {
    auto& engine = *EtherSwitchBcm380::getInstance();
    OMCI_SERVICE_MAP_ENTRY entry{};
    entry.pbits = entry.vlanId = -2;
    for (const int gemIndex : {7, 8}) {
        entry.gemPortIndex = gemIndex;
        EXPECT_EQ(engine.omciServiceCreateMapEntry(&entry), 1);
        EXPECT_EQ(engine.omci_service_num_get(), 1);
        EXPECT_EQ(engine.allocOmciServiceMapEntry(&entry), nullptr);
    }
    OMCI_SERVICE_MAP_ENTRY* found = nullptr;
    ASSERT_EQ(engine.findOmciServiceMapEntry("", 0, 65534, 65534, &found), 1) << "-2 is kept as 65534";
    EXPECT_EQ(found->gemPortIndex, 7);
    entry.pbits = 65536 + 65534;
    EXPECT_EQ(engine.omciServiceCreateMapEntry(&entry), 1);
    EXPECT_EQ(engine.omci_service_num_get(), 1) << "the key has the low halves only";
}

TEST(ServiceMap, DeletesByKeyWhateverTheGemIndex) {
    auto& engine = *EtherSwitchBcm380::getInstance();
    OMCI_SERVICE_MAP_ENTRY entry{"veip0", 3, 10, 0, 1, 0, 7, 100, 0, 0};
    engine.omciServiceCreateMapEntry(&entry);
    OMCI_SERVICE_MAP_ENTRY* found = nullptr;
    EXPECT_EQ(engine.omciServiceDeleteMapEntry(7, "veip0", 10, 4), 0);
    EXPECT_EQ(engine.omciServiceDeleteMapEntry(99, "veip0", 65536 + 10, 3), 1);
    EXPECT_EQ(engine.findOmciServiceMapEntry("veip0", 7, 10, 3, &found), 0);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(engine.omciServiceDeleteMapEntry(99, "veip0", 10, 3), 0);
    EXPECT_EQ(engine.omci_service_num_get(), 0);
}

TEST(ServiceMap, OrdersByNameThenVlanThenPbits) {
    const std::vector<serviceKey> ascending = {{"veip0", 1, 7}, {"veip0", 2, 0}, {"veip0", 2, 1}, {"veip0.1", 0, 0}};
    for (std::size_t a = 0; a < ascending.size(); ++a) {
        for (std::size_t b = 0; b < ascending.size(); ++b) EXPECT_EQ(ascending[a] < ascending[b], a < b) << a << b;
    }
}

}  // namespace
