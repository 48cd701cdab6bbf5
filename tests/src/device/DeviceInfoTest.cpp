#include <cerrno>
#include <cmath>

#include "device/DeviceInfo.h"
#include "support/OnuFixture.h"

namespace {

using Identity = OnuFixture;

std::string textOf(int (*get)(char*, int), int size = 64) {
    std::vector<char> buffer(static_cast<std::size_t>(size), '#');
    get(buffer.data(), size);
    return buffer.data();
}

TEST_F(Identity, HasAnAddressOfZerosUntilTheNvramIsRead) {
    onu().setBaseMac("02:AB:00:00:0f:ff");
    EXPECT_EQ(textOf(vorn_omci_mac_get), "00:00:00:00:00:00");
    vorn_omci_nvram_info_get();
    EXPECT_EQ(textOf(vorn_omci_mac_get), "02:ab:00:00:0f:ff");
}

TEST_F(Identity, IsCutToTheCallersBuffer) {
    vorn_omci_nvram_info_get();
    char buffer[8] = "#######";
    EXPECT_EQ(vorn_omci_mac_get(buffer, 6), 17);
    EXPECT_STREQ(buffer, "02:10");
    EXPECT_EQ(buffer[6], '#');
    EXPECT_EQ(vorn_omci_mac_get(nullptr, 0), 17);
    EXPECT_EQ(vorn_omci_sn_get(nullptr, 0), 12);
    EXPECT_EQ(vorn_omci_pn_get(buffer, 0), 7);
    EXPECT_EQ(vorn_omci_sn_get(nullptr, 6), -1);
    EXPECT_EQ(vorn_omci_pn_get(buffer, -1), -1);
    EXPECT_STREQ(buffer, "02:10");
}

// A serial number that is not terminated in NVRAM must not be read on past the record.
TEST_F(Identity, EndsWithTheNvramRecord) {
    onu().setSerialNumber(std::string(1024 - 300, 'S'));
    vorn_omci_nvram_info_get();
    EXPECT_EQ(textOf(vorn_omci_sn_get, 2048), std::string(1024 - 300, 'S'));
}

TEST_F(Identity, SoftwareVersionIsThatOfTheBootedImage) {
    onu().setImageVersion(1, "1.0.7");
    onu().setImageVersion(2, "2.0.0-rc1");
    const std::tuple<int, int, const char*> cases[] = {
        {4, 0, "1.0.7"}, {5, 0, "2.0.0-rc1"}, {3, 3, "untouched"}, {-2, -2, "untouched"}};
    for (const auto& [partition, want, text] : cases) {
        onu().setBootedPartition(partition);
        char version[32] = "untouched";
        EXPECT_EQ(vorn_omci_swimage_version_get(version, sizeof version, 99), want) << partition;
        EXPECT_STREQ(version, text);
        // Whether there is room is for the board library to say, once there is an image to ask it about.
        EXPECT_EQ(vorn_omci_swimage_version_get(version, 0, 0), want == 0 ? EINVAL : want) << partition;
        EXPECT_EQ(vorn_omci_swimage_version_get(nullptr, 32, 0), want == 0 ? EINVAL : want) << partition;
    }
}

class Optics : public OnuFixture {
protected:
    static int received() { return level(vorn_omci_rx_laser_power_get); }
    static int transmitted() { return level(vorn_omci_tx_laser_power_get); }

private:
    static int level(int (*get)(int*)) {
        int value = 12345;
        EXPECT_EQ(get(&value), 0);
        return value;
    }
};

TEST_F(Optics, LevelsAreInStepsOfTwoThousandthsOfADecibelTruncated) {
    // One unit is what single precision may cost against this computation.
    for (unsigned raw = 1; raw <= 65535; raw += raw < 300 ? 1 : 293) {
        onu().setOptics(static_cast<std::uint16_t>(raw), static_cast<std::uint16_t>(raw));
        EXPECT_NEAR(received(), std::trunc(5000.0 * std::log10(raw / 10000.0)), 1) << raw;
        EXPECT_NEAR(transmitted(), std::trunc(5000.0 * std::log10(raw / 5000.0)), 1) << raw;
    }
    onu().setOptics(0, 0);
    EXPECT_EQ(received(), 0) << "no light has no logarithm";
    EXPECT_EQ(transmitted(), 0);
}

TEST_F(Optics, AFailedReadingIsPrintedAndLeavesTheValue) {
    struct Case {
        int (*get)(int*);
        const char* request;
        const char* line;
    };
    for (const Case& c : {Case{vorn_omci_rx_laser_power_get, "ioctl:LASER_IOC_GET_RX_POWER",
                               " *************** Reading Rx Power failed ****************\n"},
                          {vorn_omci_tx_laser_power_get, "ioctl:LASER_IOC_GET_TX_POWER",
                           " *************** Reading Tx Power failed ****************\n"}}) {
        int level = 77;
        onu().failNext(c.request, 1, EIO);
        EXPECT_EQ(printedBy([&] { EXPECT_EQ(c.get(&level), 0); }), c.line);
        EXPECT_EQ(level, 77);
        onu().failNext("open:/dev/laser_dev", 1, ENXIO);
        EXPECT_EQ(printedBy([&] { EXPECT_LT(c.get(&level), 0); }), "");
        EXPECT_EQ(level, 77);
        EXPECT_LT(c.get(nullptr), 0);
    }
}

using LinkStart = OnuFixture;

TEST_F(LinkStart, FollowsTheStoredState) {
    struct Case {
        const char* stored;  // null: nothing
        unsigned state;
        const char* afterwards;
    };
    for (const Case& c : {Case{nullptr, 1, "standby"},
                          {"standby", 1, "standby"},
                          {"stop   ", 7, "stop   "},
                          {"stop", 1, "stop"},
                          {"stopped", 1, "stopped"},
                          {"stop   x", 7, "stop   x"}}) {
        SCOPED_TRACE(c.stored == nullptr ? "nothing" : c.stored);
        onu().reset();
        if (c.stored != nullptr) onu().setPersistent("linkState", c.stored);
        EXPECT_EQ(vorn_omci_gponctl_state_set(), 0);
        EXPECT_EQ(onu().adminState(), c.state);
        EXPECT_EQ(onu().persistent("linkState"), c.afterwards);
    }
    onu().failNext("gponCtl_startAdminState", 1, 21);
    EXPECT_EQ(vorn_omci_gponctl_state_set(), 21);
}

}  // namespace
