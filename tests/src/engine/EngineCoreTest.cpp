// Device names, device control and text decoding of the engine.
#include <cstdlib>

#include "support/OnuFixture.h"

namespace {

class EngineCore : public OnuFixture {};

TEST_F(EngineCore, DeviceNamesFollowTheNamingScheme) {
    const struct {
        PhyType type;
        unsigned id;
        unsigned short vlan;
        const char *device, *vlanDevice, *printed;
    } cases[] = {
        {PHY_ETHERNET, ~0u, 65535, "sid-1", "sid-1.65535",
         "\nPHY_ETHERNET:getInterfaceName sid-1\nPHY_ETHERNET:getVirtualInterfaceName sid-1.65535 "},
        {PHY_GPON, 5, 5, "gpon5", "gpon5.5",
         "PHY_GPON:getInterfaceName gpon5PHY_GPON:getVirtualInterfaceName gpon5.5 "},
    };
    for (const auto& c : cases) {
        char device[32] = "?", vlanDevice[32] = "?";
        EXPECT_EQ(printedBy([&] {
                      EXPECT_TRUE(engine().getInterfaceName(c.type, c.id, device));
                      EXPECT_TRUE(engine().getVirtualInterfaceName(c.type, c.id, c.vlan, vlanDevice));
                  }),
                  c.printed);
        EXPECT_STREQ(device, c.device);
        EXPECT_STREQ(vlanDevice, c.vlanDevice);
    }
    char untouched[32] = "as it was";
    EXPECT_FALSE(engine().getInterfaceName(3, 1, untouched));
    EXPECT_FALSE(engine().getVirtualInterfaceName(0, 1, 1, untouched));
    EXPECT_FALSE(engine().getInterfaceName(PHY_GPON, 1, nullptr));
    EXPECT_STREQ(untouched, "as it was");
}

TEST_F(EngineCore, BringingUpWritesFlagsAndMtuOutright) {
    const struct {
        const char* fault;
        int nth;
        bool result, up;
        const char* printed;
    } cases[] = {
        {nullptr, 0, true, true, ""},
        {"ioctl:SIOCSIFFLAGS", 1, false, false, "Cannot ioctl SIOCSIFFLAGS on the socket"},
        {"ioctl:SIOCSIFMTU", 1, true, true, "Cannot ioctl SIOCSIFMTU on the socket"},
        {"socket", 1, false, false, "Cannot create socket to the NET kernel"},
        {"socket", 2, false, true, "Cannot create socket to the NET kernel"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fault != nullptr ? c.fault : "no fault");
        onu().reset();
        ASSERT_TRUE(onu().addDevice("lan0"));
        if (c.fault != nullptr) onu().failNext(c.fault, c.nth, EPERM);
        EXPECT_EQ(printedBy([&] { EXPECT_EQ(engine().ifUp("lan0"), c.result); }), c.printed);
        EXPECT_EQ(onu().device("lan0")->up, c.up);
        EXPECT_EQ(onu().device("lan0")->flags == 0x1041u, c.up);
    }
    EXPECT_EQ(printedBy([] { EXPECT_FALSE(engine().ifUp(nullptr)); }), "Cannot bring up NULL interface");
    EXPECT_EQ(printedBy([] { EXPECT_FALSE(engine().ifDown(nullptr)); }), "");
    EXPECT_TRUE(engine().ifDown("lan0"));
    EXPECT_EQ(onu().device("lan0")->flags & 0xFFFFu, 0xFFFEu);
}

TEST_F(EngineCore, AVlanDeviceCarriesMulticastWhateverTheCallerSays) {
    char real[] = "sid1", vlan[] = "sid1.7";
    EXPECT_EQ(printedBy([&] { EXPECT_TRUE(engine().createVlanInterface(7, true, false, real, vlan)); }),
              "===> createVlanInterface, devId=7, isRouted=1, isMulticast=0, devIfc=sid1, vlanIfc=sid1.7, ret=1");
    const auto made = *onu().device("sid1.7");
    EXPECT_TRUE(made.multicast && made.routed && made.up);
}

TEST_F(EngineCore, ShellCommandsAreLoggedBeforeTheyRun) {
    EtherSwitchBcm380& engine = EngineCore::engine();  // not through the logged getInstance() below
    onu().clearTrace();
    EXPECT_TRUE(engine.runSystemCommand("IPHost config", "ifconfig sid0 up"));
    EXPECT_EQ(onu().traceTexts(),
              (std::vector<std::string>{"log(7, \"runSystemCommand\", \" IPHost config: ifconfig sid0 up\") = 0",
                                        "system(\"ifconfig sid0 up\") = 0"}));
    onu().failNext("system", 1, 256);
    EXPECT_EQ(engine.disableIPv6("sid0"), 0);
    EXPECT_FALSE(onu().device("sid0")->ipv6Disabled);
    EXPECT_EQ(engine.disableIPv6("sid0"), 0);
    EXPECT_TRUE(onu().device("sid0")->ipv6Disabled);
    onu().clearTrace();
    for (const char* name : {static_cast<const char*>(nullptr), "", "sid0; reboot", "$(reboot)", "../sid0", "sid0\n"})
        engine.disableIPv6(name);
    EXPECT_EQ(onu().traceTexts(), std::vector<std::string>{}) << "not a word of it reaches a shell";
}

TEST_F(EngineCore, FieldsOfAHalfWordAreCutByTopBitAndWidth) {
    const std::tuple<unsigned short, unsigned char, unsigned char, unsigned short> cases[] = {
        {0xE064, 15, 3, 7}, {0xE064, 12, 1, 0}, {0xE064, 11, 12, 0x064}, {0xFFFF, 15, 16, 0xFFFF},
        {0xFFFF, 0, 1, 1},  {0xFFFF, 15, 0, 0}, {0xFFFF, 16, 4, 0},      {0xFFFF, 15, 17, 0},
    };
    for (const auto& [value, msb, width, field] : cases) {
        EXPECT_EQ(engine().getFieldFromHalfWord(value, msb, width), field) << value << ", " << +msb << ", " << +width;
    }
}

TEST_F(EngineCore, NumbersAreReadWholeOrRefused) {
    const struct {
        const char* text;
        unsigned base;
        int result;
        unsigned value;
        long end;  // where reading stopped, counted from the text's start
        const char* printed;
    } cases[] = {
        {"  1f", 16, 0, 31, 4, ""},
        {"4294967295", 10, 0, 4294967295u, 10, ""},
        {"", 16, 0, 0, 0, ""},
        {"-1", 10, -1, 0, 0, "ret = -1"},
        {" \t-1", 10, -1, 0, 2, "ret = -1"},
        {"12x", 10, -1, 0, 2, "ret 1 = -1"},
        {"zz", 16, -1, 0, 0, "ret 1 = -1"},
        {"4294967296", 10, -1, 0, 10, "ret 1 = -1"},
        {"1", 99, -1, 0, 0, "ret 1 = -1"},
        {"99999999999999999999", 10, -1, 0, 20, "ret 1 = -1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        unsigned value = 77;
        char* end = nullptr;
        EXPECT_EQ(printedBy([&] { EXPECT_EQ(engine().my_strtoul(c.text, &end, c.base, &value), c.result); }),
                  c.printed);
        EXPECT_EQ(value, c.value);
        EXPECT_EQ(end - c.text, c.end);
    }
}

TEST_F(EngineCore, HexListsDecodeWholeOrNotAtAll) {
    const struct {
        const char* text;
        int result;
        std::vector<unsigned char> bytes;
    } cases[] = {
        {"8100", 0, {0x81, 0x00}}, {"aBCd0f", 0, {0xAB, 0xCD, 0x0F}},
        {" f", 0, {0x0F}},         {"", 0, {}},
        {"abc", -1, {}},           {"zz00", -1, {}},
        {"81-1", -1, {}},          {"81f ", -1, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        unsigned char* bytes = nullptr;
        unsigned length = 77;
        EXPECT_EQ(engine().hexStringToBinaryBuf(c.text, &bytes, &length), c.result);
        EXPECT_EQ(length, c.result == 0 ? c.bytes.size() : 77u);
        EXPECT_EQ(bytes != nullptr, c.result == 0);
        EXPECT_TRUE(bytes == nullptr || std::vector<unsigned char>(bytes, bytes + length) == c.bytes);
        std::free(bytes);
    }
    unsigned char* bytes = nullptr;
    unsigned length = 0;
    EXPECT_EQ(printedBy([&] { engine().hexStringToBinaryBuf("abc", &bytes, &length); }),
              "hexStr must be an even number of characters");
}

}  // namespace
