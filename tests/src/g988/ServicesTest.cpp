// Services as a daemon's records ask for them. In any order, made and taken back:
// omci/services/StandardForwardingTest.cpp; records that are refused: forwarding/ForwardingTest.cpp.
#include "BRCM/BCM968580/DATA/g988/Services.h"
#include "src/g988/PlannedBoard.h"

namespace {

using virtual_onu::Frame;
using virtual_onu::VlanTag;

class ServicesTest : public PlannedBoard {
protected:
    static g988::Services services() {
        return g988::Services([](std::uint16_t portId) -> std::optional<std::uint16_t> {
            const auto port = onu().gemPort(portId);
            return port ? std::optional<std::uint16_t>(static_cast<std::uint16_t>(port->index)) : std::nullopt;
        });
    }

    // Customer VLAN, or untagged frames for 0, to a service VLAN, with p-bits 0 or those that it has.
    static UniDataProvisioning row(std::uint16_t bridge, std::uint16_t customer, std::uint16_t service) {
        UniDataProvisioning record{};
        record.addFlag = record.hasTagRules = 1;
        record.bridgeId = bridge;
        record.uniPort = 1;
        record.filterType = customer == 0 ? 0 : 1;
        record.outerFilterPrio = record.outerTreatmentPrio = 15;
        record.innerFilterPrio = customer == 0 ? 15 : 8;
        record.innerFilterVlanId = customer == 0 ? std::uint16_t{4096} : customer;
        record.removeType = customer == 0 ? 0 : 1;
        record.innerTreatmentPrio = customer == 0 ? 0 : 8;
        record.innerTreatmentVlanId = service;
        record.innerTreatmentTpidDe = 4;
        return record;
    }

    // VLANs of a bridge, as four hexadecimal digits each, on one GEM port.
    static BridgeServiceProvisioning pon(std::uint16_t bridge, const std::string& list, std::uint16_t gemPort) {
        BridgeServiceProvisioning record{};
        record.bridgeId = bridge;
        std::snprintf(record.vlanTciFilterList, sizeof record.vlanTciFilterList, "%s", list.c_str());
        record.numberOfEntries = static_cast<std::uint8_t>(list.size() / 4);
        record.forwardOperation = 0x10;
        record.trafficModel = 2;
        for (std::uint8_t pbits = 0; pbits < 8; ++pbits) record.pbitMap[pbits] = {gemPort, pbits};
        return record;
    }

    static Frame tagged(std::uint16_t vid, std::uint8_t pbits = 0) {
        Frame frame;
        frame.tags = {VlanTag{0x8100, pbits, false, vid}};
        return frame;
    }

    // "GEM 1000 queue 3: VID 321 p3, IPv4", or "" for a frame that is dropped.
    static std::string up(const Frame& frame) {
        const auto walk = onu().sendFromPort("sid0", frame);
        if (walk.exits.empty()) return "";
        const auto& exit = walk.exits.front();
        return "GEM " + std::to_string(*exit.gemPort) + " queue " + std::to_string(*exit.queue) + ": " +
               exit.frame.text();
    }
    static std::string down(unsigned gemPort, const Frame& frame) {
        const auto walk = onu().sendFromPon(gemPort, frame);
        return walk.exits.empty() ? "" : walk.exits.front().device + ": " + walk.exits.front().frame.text();
    }
};

TEST_F(ServicesTest, MulticastGoesToItsBridgeAlone) {
    auto made = services();
    ASSERT_TRUE(made.setPonPort(pon(1, "0141", 1000)).done);
    auto record = pon(2, "0384", 1000);
    record.isMulticast = record.multicastService = 1;
    record.gemPortId = 1002;
    ASSERT_TRUE(made.setPonPort(record).done);
    auto untagged = row(1, 0, 321), television = row(2, 30, 900);
    ASSERT_TRUE(made.setUni(untagged).done);
    EXPECT_EQ(down(1002, tagged(900)), "");  // nobody in its bridge
    ASSERT_TRUE(made.setUni(television).done);
    EXPECT_EQ(down(1002, tagged(900)), "sid0: VID 30 p0, IPv4");
    EXPECT_EQ(down(1002, tagged(321)), "");
    EXPECT_EQ(down(1000, tagged(900)), "");
    EXPECT_EQ(up(tagged(30)), "");  // the upstream direction is another PON port's
}

// Both services come in one GEM port, in either order, and each goes by itself.
TEST_F(ServicesTest, MulticastMayShareTheGemPortOfItsBridge) {
    const auto internet = pon(1, "0141", 1000);
    auto television = pon(1, "0384", 1000);
    television.isMulticast = television.multicastService = 1;
    television.gemPortId = 1000;
    const auto expect = [](bool hasInternet, bool hasTelevision) {
        EXPECT_EQ(up(Frame{}), hasInternet ? "GEM 1000 queue 0: VID 321 p0, IPv4" : "");
        EXPECT_EQ(down(1000, tagged(321)), hasInternet ? "sid0: untagged IPv4" : "");
        EXPECT_EQ(down(1000, tagged(900)), hasTelevision ? "sid0: VID 30 p0, IPv4" : "");
        EXPECT_EQ(up(tagged(30)), "") << "television comes down alone";
    };
    for (const bool internetFirst : {true, false}) {
        auto made = services();
        ASSERT_TRUE(made.setUni(row(1, 0, 321)).done && made.setUni(row(1, 30, 900)).done);
        for (const auto* record : {internetFirst ? &internet : &television, internetFirst ? &television : &internet})
            ASSERT_TRUE(made.setPonPort(*record).done && made.setPonPort(*record).done);
        expect(true, true);
        EXPECT_EQ(made.multicastPorts(), 1U);
        ASSERT_TRUE(made.removePonPorts(television).done && made.removePonPorts(television).done);
        expect(true, false);
        ASSERT_TRUE(made.setPonPort(television).done && made.removePonPorts(internet).done);
        expect(false, true);
        ASSERT_TRUE(made.removePonPorts(internet).done);
        expect(false, true);
        ASSERT_TRUE(made.removeGemPort(1, 1000).done && made.removeUni(1, 1).done);
        EXPECT_EQ(onu().ruleCount(), 0U);
    }
}

// ---- what is refused ----

// A row for each VID: with the default row one rule more than the table may have.
TEST_F(ServicesTest, ATableThatIsFullIsRefused) {
    auto made = services();
    ASSERT_TRUE(made.setPonPort(pon(1, "0141", 1000)).done);
    ASSERT_TRUE(made.setUni(row(1, 0, 321)).done);
    const auto before = onu().ruleTables();
    g988::UniPort port = made.tables().uniPorts.at(0);
    const auto changeAll = [&](auto change) {
        auto one = row(1, 1, 321);
        for (std::uint16_t& vid = one.innerFilterVlanId = 0; vid <= 4093; ++vid) change(g988::rowOf(one));
        made.restore(0, port);
    };
    changeAll([&port](const g988::TaggingRow& one) { port.tagging->set(one); });
    const auto outcome = made.setUni(row(1, 4094, 321));
    EXPECT_FALSE(outcome.done);
    EXPECT_EQ(outcome.reason, "sid0: the service needs more rules than a table holds");
    EXPECT_TRUE(onu().ruleTables() == before);
    changeAll([&port](const g988::TaggingRow& one) { port.tagging->erase(one); });
    EXPECT_TRUE(made.setUni(row(1, 4094, 321)).done);
    EXPECT_EQ(up(tagged(4094)), "GEM 1000 queue 0: VID 321 p0, IPv4");
}

}  // namespace
