#include <cstring>

#include "device/Counters.h"
#include "support/OnuFixture.h"

namespace {

constexpr const char* kKeys[] = {"rx_bytes",   "rx_packets", "rx_errors",  "rx_dropped", "tx_bytes",
                                 "tx_packets", "tx_errors",  "tx_dropped", "multicast"};

class Counters : public OnuFixture {
protected:
    void SetUp() override {
        OnuFixture::SetUp();
        onu().addDevice("veip0");
        count("veip0", 1);
    }
    // Counter number n is at n times factor; the kernel's come first, in the order of kKeys, then the split's six.
    static void count(const char* device, std::uint64_t factor) {
        std::uint64_t n = 0;
        for (const char* key : kKeys) onu().setStatistic(device, key, ++n * factor);
        // As many frames as the split adds up to.
        onu().setStatistic(device, "rx_packets", 33 * factor);
        onu().setStatistic(device, "tx_packets", 42 * factor);
        std::string line = std::string("  ") + device + ":";
        for (int column = 0; column < 6; ++column) line += " " + std::to_string(++n * factor);
        onu().writeFile("/proc/net/dev_extstats", "frames by destination\nveip: 0 0 0 0 0 0\n" + line + " 99 99\n");
    }
    static int ask(std::uint8_t interval, EthernetPmRecord* record) {
        PmRequest request{kPmEthernet, interval, 0xFF};
        return vorn_omci_pm_get(&request, record);
    }
    static int askOf(std::uint8_t reader, std::uint8_t interval, EthernetPmReaderRecord* record) {
        PmRequest request{kPmEthernetOfReader, interval, reader};
        return vorn_omci_pm_get(&request, record);
    }
};

std::vector<std::uint64_t> numbers(const EthernetPmRecord& record) {
    std::vector<std::uint64_t> all(sizeof record / sizeof(std::uint64_t));
    std::memcpy(all.data(), &record, sizeof record);
    return all;
}

std::vector<std::uint64_t> times(std::uint64_t factor) {
    std::vector<std::uint64_t> all{1, 33, 10, 11, 3, 4, 5, 42, 13, 14, 7, 8};
    for (auto& number : all) number *= factor;
    return all;
}

TEST_F(Counters, ComeFromTheKernelAndTheSplitFile) {
    IntfStats stats{};
    ASSERT_EQ(getIntfStats("veip0", &stats), 0);
    const IntfStats want{1, 33, 3, 4, 10, 11, 12, 5, 42, 7, 8, 13, 14, 15, kIntfStatsSplitFull, 0};
    EXPECT_EQ(std::memcmp(&stats, &want, sizeof want), 0);

    onu().setStatistic("veip0", "rx_bytes", UINT64_MAX);
    ASSERT_EQ(getIntfStats("veip0", &stats), 0);
    EXPECT_EQ(stats.rxOctets, UINT64_MAX);
}

TEST_F(Counters, WithoutASplitOnlyTheKernelsMulticastCounterIsKnown) {
    const char* contents[] = {
        nullptr,  // there is no such file
        "",
        "veip0\n",
        "veip0: 1 2 3 4 5\n",
        "veip0: 1 2 3 4 5 x\n",
        "veip0: 1 2 3 4 5 -6\n",
        "veip0: 1 2 3 4 5 99999999999999999999\n",
        "veip0: 10 11 13 13 14 15\n",  // one frame more than were received
        "veip0: 10 11 12 13 14 16\n",
        "veip0: 18446744073709551615 1 33 13 14 15\n",
        "bytes packets errs drop fifo frame\nveip0: 1 2 3 4 5 6\n",
        "face|bytes multicast|bytes multicast\nveip0: 1 2 3 4\n",
        "multicast multicast multicast broadcast unicast unicast\nveip0: 1 2 3 4 5 6\n",
        "multicast broadcast unicast multicast broadcast unicast\nveip0: 1 2 3 4 5 6 7 8\n",  // which is which?
        "rx_multicast_bytes rx_bcast rx_ucast tx_mcast tx_bcast tx_ucast\nveip0: 10 11 12 13 14 15\n",
        "veip00: 1 2 3 4 5 6\nxveip0: 1 2 3 4 5 6\n:veip0: 1 2 3 4 5 6\n",
    };
    const IntfStats want{1, 33, 3, 4, 9, 0, 0, 5, 42, 7, 8, 0, 0, 0, kIntfStatsSplitNone, 0};
    for (const char* content : contents) {
        onu().removeFile("/proc/net/dev_extstats");
        if (content != nullptr) onu().writeFile("/proc/net/dev_extstats", content);
        IntfStats stats{};
        ASSERT_EQ(getIntfStats("veip0", &stats), 0);
        EXPECT_EQ(std::memcmp(&stats, &want, sizeof want), 0) << (content == nullptr ? "no file" : content);
    }
}

TEST_F(Counters, TheSplitsColumnsAreThoseOfTheHeadings) {
    const IntfStats want{1, 33, 3, 4, 10, 11, 12, 5, 42, 7, 8, 13, 14, 15, kIntfStatsSplitFull, 0};
    for (const char* content :
         {"Inter-| Receive | Transmit\n face |bytes multicast unicast broadcast|bytes unicast multicast broadcast\n"
          " veip0: 100000 10 12 11 200000 15 13 14\n",
          "Inter-| Transmit | Receive\n face |tx_ucast tx_mcast tx_bcast|rx_ucast rx_mcast rx_bcast\n"
          " veip0: 15 13 14 12 10 11\n",
          "interface tx_ucast rx_bcast rx_ucast tx_mcast tx_bcast rx_mcast\nveip0: 15 11 12 13 14 10\n",
          "Multicast Broadcast Unicast Multicast Broadcast Unicast Errors\nveip0:10 11 12 13 14 15 0\n"}) {
        onu().writeFile("/proc/net/dev_extstats", content);
        IntfStats stats{};
        ASSERT_EQ(getIntfStats("veip0", &stats), 0);
        EXPECT_EQ(std::memcmp(&stats, &want, sizeof want), 0) << content;
    }
}

TEST_F(Counters, OfWhatIsNoDeviceLeaveTheResult) {
    IntfStats stats{};
    std::memset(&stats, 0xA5, sizeof stats);
    const IntfStats before = stats;
    for (const char* name :
         {static_cast<const char*>(nullptr), "", ".", "..", "veip9", "../net/veip0", "veip0/.", "a-name-of-sixteen"}) {
        EXPECT_EQ(getIntfStats(name, &stats), -1) << (name == nullptr ? "null" : name);
    }
    onu().writeFile("/sys/class/net/veip0/statistics/tx_dropped", "4");
    onu().denyFile("/sys/class/net/veip0/statistics/tx_dropped");
    EXPECT_EQ(getIntfStats("veip0", &stats), -1) << "the last counter cannot be read";
    EXPECT_EQ(std::memcmp(&stats, &before, sizeof stats), 0);
    EXPECT_EQ(getIntfStats("veip0", nullptr), -1);
}

TEST_F(Counters, OfAnIntervalStartFromItsBeginning) {
    EthernetPmRecord record{};
    ASSERT_EQ(ask(kPmAbsolute, &record), 0);
    EXPECT_EQ(numbers(record), times(1));
    ASSERT_EQ(ask(kPmInterval, &record), 0);
    EXPECT_EQ(numbers(record), times(0)) << "the first request begins the first interval";
    count("veip0", 5);
    ASSERT_EQ(ask(kPmInterval, &record), 0);
    EXPECT_EQ(numbers(record), times(4));
    count("veip0", 6);
    ASSERT_EQ(ask(kPmIntervalEnd, &record), 0);
    EXPECT_EQ(numbers(record), times(5));
    count("veip0", 8);
    ASSERT_EQ(ask(kPmInterval, &record), 0);
    EXPECT_EQ(numbers(record), times(2));
    ASSERT_EQ(ask(kPmAbsolute, &record), 0);
    EXPECT_EQ(numbers(record), times(8));

    count("veip0", 3);
    ASSERT_EQ(ask(kPmInterval, &record), 0);
    EXPECT_EQ(numbers(record), times(5))
        << "the driver's counters were set to 0: what there was, and what there is now";
}

// A VEIP service recreates veip0, at any time of an interval and more than once.
TEST_F(Counters, OfAnIntervalGoOnWhenTheDeviceIsMadeAnew) {
    EthernetPmRecord record{};
    count("veip0", 6);
    ASSERT_EQ(ask(kPmIntervalEnd, &record), 0);
    const auto remade = [](std::uint64_t factor) {
        onu().removeDevice("veip0");
        onu().addDevice("veip0");
        count("veip0", factor);
    };
    const struct {
        bool recreated;
        std::uint64_t factor;
        std::uint64_t sum;
    } readings[] = {{true, 3, 3}, {false, 7, 7}, {true, 9, 16}, {false, 10, 17}, {true, 0, 17}, {false, 1, 18}};
    for (const auto& reading : readings) {
        reading.recreated ? remade(reading.factor) : count("veip0", reading.factor);
        ASSERT_EQ(ask(kPmInterval, &record), 0);
        EXPECT_EQ(numbers(record), times(reading.sum)) << reading.factor << " of the device";
    }
}

TEST_F(Counters, OfAnIntervalCountOnWhen32BitsComeRound) {
    EthernetPmRecord record{};
    onu().setStatistic("veip0", "rx_bytes", 0xFFFFFFFFu - 295);
    onu().setStatistic("veip0", "tx_bytes", 0x1FFFFFFFFu);
    ASSERT_EQ(ask(kPmIntervalEnd, &record), 0);
    onu().setStatistic("veip0", "rx_bytes", 704);
    onu().setStatistic("veip0", "tx_bytes", 704);
    ASSERT_EQ(ask(kPmInterval, &record), 0);
    EXPECT_EQ(record.received.octets, 1000u);
    EXPECT_EQ(record.transmitted.octets, 704u) << "a counter of 64 bits does not come round: it was set to 0";
}

TEST_F(Counters, OfAnIntervalTellWhetherTheSplitWasKnownAllTheTime) {
    onu().removeFile("/proc/net/dev_extstats");
    EthernetPmReaderRecord record{};
    ASSERT_EQ(askOf(1, kPmIntervalEnd, &record), 0);
    count("veip0", 20);
    onu().removeFile("/proc/net/dev_extstats");
    ASSERT_EQ(askOf(1, kPmIntervalEnd, &record), 0);
    EXPECT_EQ(record.received.multicastFrames, 9u * 19) << "the kernel's own counter";
    count("veip0", 40);  // the file comes in the middle of the interval
    ASSERT_EQ(askOf(1, kPmIntervalEnd, &record), 0);
    EXPECT_EQ(record.split, kIntfStatsSplitNone);
    EXPECT_EQ(record.received.multicastFrames, 9u * 20);
    EXPECT_EQ(record.received.broadcastFrames + record.transmitted.broadcastFrames, 0u)
        << "what was counted before the interval is not of the interval";
    count("veip0", 41);
    ASSERT_EQ(askOf(1, kPmIntervalEnd, &record), 0);
    EXPECT_EQ(record.split, kIntfStatsSplitFull);
    EXPECT_EQ(record.received.broadcastFrames, 11u);
    onu().removeFile("/proc/net/dev_extstats");
    ASSERT_EQ(askOf(1, kPmAbsolute, &record), 0);
    EXPECT_EQ(record.split, kIntfStatsSplitNone);
}

TEST_F(Counters, OfTwoReadersHaveIntervalsOfTheirOwn) {
    EthernetPmReaderRecord one{}, other{};
    ASSERT_EQ(askOf(1, kPmIntervalEnd, &one), 0);
    count("veip0", 3);
    ASSERT_EQ(askOf(2, kPmIntervalEnd, &other), 0);
    count("veip0", 6);
    ASSERT_EQ(askOf(2, kPmIntervalEnd, &other), 0);
    EXPECT_EQ(other.received.octets, 3u);
    ASSERT_EQ(askOf(1, kPmInterval, &one), 0);
    EXPECT_EQ(one.received.octets, 5u);
    EthernetPmRecord zero{};
    ASSERT_EQ(ask(kPmInterval, &zero), 0);
    EXPECT_EQ(zero.received.octets, 0u) << "reader 0 begins its first interval here";
}

TEST_F(Counters, ARefusedRequestLeavesResultAndInterval) {
    EthernetPmRecord record{};
    ASSERT_EQ(ask(kPmIntervalEnd, &record), 0);
    count("veip0", 2);
    const auto before = numbers(record);
    PmRequest unknown{3, kPmIntervalEnd, 0};
    EXPECT_EQ(vorn_omci_pm_get(&unknown, &record), -1);
    EXPECT_EQ(vorn_omci_pm_get(nullptr, &record), -1);
    EXPECT_EQ(ask(3, &record), -1);
    EXPECT_EQ(ask(kPmIntervalEnd, nullptr), -1);
    onu().removeDevice("veip0");
    EXPECT_EQ(ask(kPmIntervalEnd, &record), -1);
    EXPECT_EQ(numbers(record), before);
    onu().addDevice("veip0");
    count("veip0", 2);
    ASSERT_EQ(ask(kPmInterval, &record), 0);
    EXPECT_EQ(numbers(record), times(2)) << "the interval goes on with the new device";
}

}  // namespace
