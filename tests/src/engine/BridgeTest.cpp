// Bridges and their members, from the default bridge to the removal of a service.
#include "support/OnuFixture.h"

namespace {

class Bridges : public OnuFixture {
protected:
    static std::string configure(unsigned short bridge, unsigned short uni, bool ipHost, bool result) {
        return printedBy([&] { EXPECT_EQ(engine().configureBridge(bridge, uni, ipHost), result); });
    }
};

TEST_F(Bridges, AnIpHostSitsOnTheBridgeItself) {
    configure(3, 0, false, true);
    EXPECT_TRUE(contains(configure(3, 2, true, true),
                         "CONFIGURE BRIDGE: ifName:br3, uniVirtualName:br3.2 bridgeId: 3, uniPort:2"));
    EXPECT_TRUE(
        contains(configure(4, 1, true, false), "createVlanInterface failed to create uniVirtualName name : br4.1 "));
}

TEST_F(Bridges, AFailureStopsTheBranchAndUndoesNothing) {
    const struct {
        const char* fault;
        int nth;
        unsigned short uni;
        const char* printed;
        std::string existing;
    } cases[] = {
        {"ioctl:SIOCBRADDBR", 2, 0, "addBridgeInterface(br3) failed.", ""},
        {"vlanCtl_createVlanInterfaceByName", 1, 0,
         "createAniVlanInterface failed to create aniInterfaceName name : gpon3 ", " br3"},
        {"vlanCtl_setRealDevMode:gpon3", 1, 0, "createAniVlanInterface failed to create aniVirtualName name : gpon3.3 ",
         " br3 gpon3 gpon3.3"},
        {"vlanCtl_createVlanInterface", 2, 2, "createVlanInterface failed to create uniVirtualName name : sid1.3 ",
         " br3 gpon3 gpon3.3"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.printed);
        onu().reset();
        onu().failNext(c.fault, c.nth, 5);
        if (c.uni != 0) configure(3, 0, false, true);
        EXPECT_TRUE(contains(configure(3, c.uni, false, false), c.printed));
        std::string existing;
        for (const char* name : {"br3", "gpon3", "gpon3.3", "sid1.3"}) {
            if (onu().deviceExists(name)) existing += std::string(" ") + name;
        }
        EXPECT_EQ(existing, c.existing);
    }
    EXPECT_TRUE(contains(configure(3, 9, false, false), "interface sid8 does not existFailed to create sid8"));
}

TEST_F(Bridges, JoiningNeedsBothDevices) {
    const struct {
        const char *bridge, *device, *printed;
    } cases[] = {{"br0", nullptr, "Invalid device interface name: (null)"},
                 {nullptr, "sid9", "interface name: sid9 doesn't exist"},
                 {nullptr, "sid0", "Invalid bridge interface name: (null)"},
                 {"br9", "sid0", "interface name: br9 doesn't exist"}};
    for (const auto& c : cases) {
        EXPECT_EQ(printedBy([&] { EXPECT_FALSE(engine().addInterfaceToBridgeGroup(c.bridge, c.device)); }), c.printed);
    }
}

TEST_F(Bridges, WithoutAControlSocketBridgesAreReportedAsDone) {
    onu().failNext("socket", 2, EMFILE);  // the first one asks whether the bridge exists
    EXPECT_TRUE(engine().addBridgeInterface("br7"));
    EXPECT_FALSE(onu().deviceExists("br7"));
    EXPECT_TRUE(engine().addBridgeInterface("br7"));
    onu().failNext("socket", 3, EMFILE);  // exists, down, control
    EXPECT_TRUE(engine().deleteBridgeInterface(7));
    EXPECT_TRUE(onu().deviceExists("br7"));
    EXPECT_TRUE(engine().deleteBridgeInterface(7));
    EXPECT_FALSE(onu().deviceExists("br7"));
}

TEST_F(Bridges, RemovingWhatIsAbsentSaysSo) {
    EXPECT_EQ(printedBy([] { EXPECT_EQ(engine().removeUniInterfaceFromBridgeGroup(3, 10), 0); }),
              "\nPHY_ETHERNET:getInterfaceName sid9\nPHY_ETHERNET:getVirtualInterfaceName sid9.3 "
              "aniInterfaceName:sid9 is not present!!!uniVirtualInterfaceName:sid9.3 is not present!!!");
    EXPECT_EQ(printedBy([] { EXPECT_FALSE(engine().deleteAniInterface(3)); }),
              "PHY_GPON:getInterfaceName gpon3aniInterfaceName:gpon3 is not present!!!");
    EXPECT_EQ(printedBy([] { EXPECT_FALSE(engine().deleteUniInterface(3, 1)); }),
              "\nPHY_ETHERNET:getInterfaceName sid0\nPHY_ETHERNET:getVirtualInterfaceName sid0.3 "
              "uniVirtualInterfaceName:sid0.3 is not present!!!");
    EXPECT_EQ(printedBy([] { EXPECT_FALSE(engine().deleteBridgeInterface(3)); }),
              "bridgeInterfaceName:br3 is not present!!!");
}

}  // namespace
