// The management IP host: what is run, in which order, and what must never reach a shell.
#include "support/InternetService.h"
#include "support/OnuFixture.h"

namespace {

using Lines = std::vector<std::string>;

constexpr const char* kMac = "00:1a:2b:3c:4d:5e";
constexpr const char* kFirstMac = "/proc/driver/i2c/first_mac";

class IpHost : public OnuFixture {
protected:
    void SetUp() override {
        OnuFixture::SetUp();
        EtherSwitchBcm380::numServices = 0;
        engine().iPhost_Stag = 65535;
        engine().configureBridge(3, 0, false);
    }

    static IpHostProvision record() {
        IpHostProvision rec = internet_service::ipHost(2);
        rec.macAddress = kMac;
        return rec;
    }
};

Lines hostFlow(const std::string& mac) {
    return {
        "bs /b/c ip_class routed_mac[0]=" + mac,
        "bs /bdmf/new ingress_class/dir=ds,index=10,cfg={type=flow,fields=dst_mac,prty=10}",
        "bs /bdmf/attr/add ingress_class/dir=ds,index=10 flow string key={dst_mac=" + mac + "},result={action=host}",
        "iq addkey --dstmac " + mac + " --prio 1"};
}

TEST_F(IpHost, JoinsTheSharedBridgeInsteadOfItsOwn) {
    for (const bool isStatic : {true, false}) {
        auto rec = record();
        rec.useSharedBridge = 1;
        EtherSwitchBcm380::numServices = 1;
        const Lines run = commandsOf(
            [&] { isStatic ? engine().provisionIpHostStatic(&rec) : engine().provisionIpHostDynamic(&rec); });
        Lines expected = hostFlow(kMac);
        expected.insert(expected.end(),
                        {"ifconfig br3 down 2>/dev/null", "brctl delbr br3", "brctl addif brv gpon3.3"});
        EXPECT_EQ(run, expected);
    }
    EXPECT_FALSE(onu().deviceExists("br3") || onu().deviceExists("br3.2"));
}

TEST_F(IpHost, GoesOnWhenItsBridgeIsMissing) {
    auto rec = record();
    rec.bridgeId = 9;
    EXPECT_TRUE(engine().provisionIpHostStatic(&rec));
    EXPECT_EQ(traced("Failed to configure UNI Vlan and update to Bridge!!!").size(), 1u);
    EXPECT_EQ(onu().shellCommands().back().text,
              "ip route replace default via 10.0.0.1 dev br9.2 table 12 2>/dev/null");
    EXPECT_TRUE(onu().packetFrames().empty());
    const std::string printed = printedBy([&] { engine().provisionIpHostDynamic(&rec); });
    EXPECT_TRUE(contains(printed, "Failed to configure UNI Vlan and update to Bridge!!!"));
}

TEST_F(IpHost, TakesTheBoardsFirstMacAndElseTheRecords) {
    const struct {
        const char* file;
        const char* record;
        const char* routed;
    } cases[] = {
        {"02:aa:bb:cc:dd:ee\nnext", kMac, "02:aa:bb:cc:dd:ee"},
        {"02:aa:bb:cc:dd:ee:99", kMac, "02:aa:bb:cc:dd:ee"},
        {"2:a:b:c:d:e\n", kMac, "2:a:b:c:d:e"},
        {"\n02:aa:bb:cc:dd:ee\n", kMac, kMac},
        {"   \n", kMac, kMac},
        {"", kMac, kMac},
    };
    const auto address = record();
    for (const auto& c : cases) {
        onu().writeFile(kFirstMac, c.file);
        auto rec = address;
        rec.macAddress = c.record;
        EtherSwitchBcm380::numServices = 1;
        const Lines run = commandsOf([&] { engine().provisionIpHostDynamic(&rec); });
        ASSERT_GE(run.size(), 4u);
        EXPECT_EQ(Lines(run.begin(), run.begin() + 4), hostFlow(c.routed)) << c.file;
    }
}

TEST_F(IpHost, EndsOnlyADhcpClientOnRemoval) {
    struct Case {
        int pid;
        const char* process;
        std::vector<int> killed;
    };
    const auto rec = record();
    // The client of another device whose name begins alike may come first in the list, on a line of any length.
    const char* const client = "dhcpc -i br3.2 -B -l 3600";
    for (const Case& c : {Case{124, "ping -I br3.2 10.0.0.1", {}}, Case{124, client, {124}}, Case{0, client, {}}}) {
        onu().reset();
        onu().addProcess(122, "dhcpc -i br3.20 -B -l 3600");
        onu().addProcess(123, "dhcpc -i br3.21 " + std::string(1500, 'x') + " br3.21");
        onu().addProcess(c.pid, c.process);
        onu().addProcess(125, client);
        const std::string printed = printedBy([&] { engine().deprovisionIpHost(&rec); });
        EXPECT_EQ(onu().killedProcesses(), c.killed) << c.process;
        EXPECT_EQ(printed.find("killing process pid=124") != std::string::npos, !c.killed.empty());
    }
}

TEST_F(IpHost, RefusesTextsThatAShellWouldReadAndChangesNothing) {
    const std::pair<const char*, std::string IpHostProvision::*> fields[] = {
        {"ipAddress", &IpHostProvision::ipAddress},
        {"subnetMask", &IpHostProvision::subnetMask},
        {"gateway", &IpHostProvision::gateway},
        {"macAddress", &IpHostProvision::macAddress}};
    const std::string before = onu().stateText();
    const auto refuses = [&](const IpHostProvision& rec, const std::string& field, bool removalToo) {
        for (int operation = 0; operation < (removalToo ? 5 : 4); ++operation) {
            onu().clearTrace();
            bool done = true;
            if (operation == 0) done = engine().provisionIpHostStatic(&rec);
            if (operation == 1) done = engine().provisionIpHostDynamic(&rec);
            if (operation == 2) done = engine().activateIpv4InterfaceStatic("br3.2", "br3", &rec);
            if (operation == 3) done = engine().activateIpv4InterfaceDynamic("br3.2", "br3", &rec);
            if (operation == 4) done = engine().deprovisionIpHost(&rec);
            EXPECT_FALSE(done) << field << operation;
            EXPECT_EQ(traced(field).size(), 1u) << field << operation;
        }
    };
    for (const auto& [field, text] : fields) {
        for (const std::string& hostile :
             {std::string("10.0.0.5; reboot"), std::string("$(reboot)"), std::string("1 2"), std::string("1\n2"),
              std::string("10.0.0.5\0`reboot`", 17), std::string(1100, '1'), std::string(18, '1'),
              std::string(46, ':')}) {
            auto rec = record();
            rec.*text = hostile;
            refuses(rec, field, true);
        }
    }
    onu().writeFile(kFirstMac, "0;reboot\n");
    refuses(record(), "first MAC", false);
    EXPECT_TRUE(onu().shellCommands().empty());
    EXPECT_EQ(onu().stateText(), before);
    EXPECT_EQ(EtherSwitchBcm380::numServices, 0);
}

TEST_F(IpHost, SendsOneArpRequestAndNoneFromADeviceThatIsMissing) {
    const unsigned char mac[6] = {0, 1, 2, 3, 4, 5};
    engine().sendArp("br9.9", "10.0.0.5", "10.0.0.1", mac);
    onu().failNext("bind", 1, 13);
    engine().sendArp("br3", "10.0.0.5", "10.0.0.1", mac);
    EXPECT_TRUE(onu().packetFrames().empty());
    engine().sendArp("br3", "10.0.0.5", "10.0.0.1", mac);
    engine().sendArp("br3", "", nullptr, mac);
    std::vector<std::uint8_t> request = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0, 1, 2, 3, 4,  5, 8, 6,
                                         0,    1,    8,    0,    6,    4,    0, 1, 0, 1, 2,  3, 4, 5,
                                         10,   0,    0,    5,    0,    0,    0, 0, 0, 0, 10, 0, 0, 1};
    request.resize(60);
    std::vector<std::uint8_t> withoutAddresses(request.begin(), request.begin() + 28);
    withoutAddresses.resize(60);
    EXPECT_EQ(onu().packetFrames(), (std::vector<std::vector<std::uint8_t>>{request, withoutAddresses}));
}

}  // namespace
