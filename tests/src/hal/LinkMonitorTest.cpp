// The link monitor and the multicast proxy's configuration that follows the links.
#include <pthread.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>

#include "BRCM/BCM968580/omci_brcm_hal.h"
#include "support/OnuFixture.h"
#include "support/Wait.h"

namespace {

class LinkMonitor : public OnuFixture {
protected:
    void SetUp() override {
        OnuFixture::SetUp();
        onu().writeFile("/var/mcpd.conf", "igmp-snooping-interfaces br0\n");
    }
    static std::size_t count(const std::string& part) { return traced(part).size(); }
};

TEST_F(LinkMonitor, EachChangeIsNoticedOnceAndRewritesTheProxyWhileMulticastIsOn) {
    const std::string change10G = "\n updStatestate not matching 10G\n",
                      change1G = "\n updStatestate not matching 1G\n";
    const struct {
        const char *eth1, *eth0;
        int multicast;
        std::string printed;
        std::size_t reloads;
        int state10G, state1G;
    } passes[] = {
        {"up", "up", 0, change10G + change1G, 0, 3, 3},  // the first look always counts as a change
        {"up", "up", 1, "", 0, 3, 3},
        {"down", "up", 0, change10G, 0, 5, 3},
        {"down", "unknown", 1, "", 0, 5, 3},
        {"dormant", "up", 1, change10G, 1, 3, 3},
        {"down", "down", 2, change10G + change1G, 2, 5, 5},
    };
    for (const auto& pass : passes) {
        SCOPED_TRACE(std::string(pass.eth1) + " " + pass.eth0 + " " + std::to_string(pass.multicast));
        onu().setOperState("eth1", pass.eth1);
        onu().setOperState("eth0", pass.eth0);
        EtherSwitchBcm380::multicastEnable = pass.multicast;
        onu().clearTrace();
        const auto slept = onu().slept();
        const std::string printed = printedBy([] { VornBrcmHal::updateStatus(); });
        EXPECT_EQ(count("mcpctl reload"), pass.reloads);
        EXPECT_EQ(onu().slept() - slept, 1000 * pass.reloads) << "the link's own changes get a second each";
        EXPECT_EQ(VornBrcmHal::operStatus, pass.state10G);
        EXPECT_EQ(VornBrcmHal::operStatus1G, pass.state1G);
        if (pass.reloads == 0) {
            EXPECT_EQ(printed, pass.printed);
        }
    }
}

TEST_F(LinkMonitor, ALinkThatCannotBeReadCountsAsUp) {
    onu().denyFile("/sys/class/net/eth1/operstate");
    onu().removeDevice("eth0");
    EthernetLinkStatus status10G = ETHERNET_LINK_DOWN, status1G = ETHERNET_LINK_DOWN;
    EXPECT_EQ(printedBy([&] {
                  EXPECT_EQ(VornBrcmHal::getBcmPmOperStatus(status10G), 0);
                  EXPECT_EQ(VornBrcmHal::getBcmPmOperStatus1G(status1G), 0);
              }),
              "couldnt read eth1 filecouldnt read eth0 file");
    EXPECT_EQ(streamedBy([&] { VornBrcmHal::getBcmPmOperStatus(status10G); }), "couldnt read eth1 file");
    EXPECT_EQ(status10G, ETHERNET_LINK_UP);
    EXPECT_EQ(status1G, ETHERNET_LINK_UP);
}

TEST_F(LinkMonitor, TheThreadFollowsALinkThatFlaps) {
    // One more look at the links: the thread waits for the next second when it is through.
    const auto waits = [] { return count("select("); };
    const auto secondPasses = [&] {
        const std::size_t before = waits();
        onu().advance(1000);
        return becomesTrue([&] { return waits() > before; });
    };
    onu().setOperState("eth1", "up");
    EtherSwitchBcm380::multicastEnable = 1;
    EXPECT_EQ(printedBy([] { EXPECT_NE(VornBrcmHal::createAlarmStatsThread(), 0); }), "Alarms Thread \n");
    ASSERT_TRUE(becomesTrue([&] { return waits() == 1; }));
    bool named = false;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm"), name);
        named = named || name == "AlarmStatsMon";
    }
    EXPECT_TRUE(named);

    std::size_t reloads = 2;  // one for each link at the first look
    for (const char* state : {"up", "down", "up"}) {
        onu().setOperState("eth1", state);
        ASSERT_TRUE(secondPasses());
        EXPECT_EQ(count("mcpctl reload"), reloads++) << state;
    }
    ASSERT_TRUE(secondPasses());
    EXPECT_EQ(count("mcpctl reload"), 4u) << "nothing has changed";
    EXPECT_GE(count("PM Timer TIMED OUT"), 4u);
}

TEST_F(LinkMonitor, WhoStartsItLearnsThatThereIsNoThread) {
    pthread_attr_t usual, endless;
    pthread_getattr_default_np(&usual);
    pthread_attr_init(&endless);
    pthread_attr_setstacksize(&endless, SIZE_MAX & ~std::size_t{0xFFFFFF});  // a stack that no process can have
    ASSERT_EQ(pthread_setattr_default_np(&endless), 0);
    int answer = -1, reason = 0;
    const std::string printed = printedBy([&] {
        answer = VornBrcmHal::createAlarmStatsThread();
        reason = errno;
    });
    pthread_setattr_default_np(&usual);
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(reason, EAGAIN);
    EXPECT_EQ(printed, "Alarms Thread \nAlaram Status Changes : pthread_create returns: 11\n");
}

}  // namespace
