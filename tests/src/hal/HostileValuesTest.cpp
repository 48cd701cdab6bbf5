// Records with every field at its limits, names and texts as long as they get. Meant for the address sanitizer, but
// what is on the device afterwards is checked as well.
#include <algorithm>
#include <cstring>
#include <set>
#include <vector>

#include "hal/HALFactory.h"
#include "hal/ProvisioningRecords.h"
#include "hal/VornHal.h"
#include "support/OnuFixture.h"

namespace {

constexpr std::size_t kKernelNameLength = 15;

class HostileValues : public OnuFixture {
protected:
    void SetUp() override {
        OnuFixture::SetUp();
        hal().vorn_omci_hal_configureBridge(3, 0);
        onu().addGemPort(kGemPort, 7);
    }

    static VornHal& hal() { return *HALFactory::getInstance()->CreateHALObject(0); }
    static std::set<std::string> deviceNames() {
        std::set<std::string> names;
        for (const auto& device : onu().devices()) names.insert(device.name);
        return names;
    }

    // Bytes of a record that are left as they are.
    struct Gap {
        std::size_t at, size;
        bool touches(std::size_t place, std::size_t width) const { return place + width > at && place < at + size; }
    };

    // Calls work with the record as it is and with each of its bytes, and each pair of bytes, at 0, 1 and all ones: so
    // with every field at its limits.
    template <typename Record, typename Work>
    static void withLimits(const Record& usual, Work&& work, const std::vector<Gap>& gaps = {}) {
        work(usual);
        for (const std::size_t width : {1U, 2U}) {
            for (std::size_t at = 0; at + width <= sizeof(Record); at += width) {
                if (std::any_of(gaps.begin(), gaps.end(), [&](const Gap& gap) { return gap.touches(at, width); }))
                    continue;
                for (const int value : {0, 1, 0xFF}) {
                    Record record = usual;
                    auto* bytes = reinterpret_cast<unsigned char*>(&record) + at;
                    std::fill_n(bytes, width, static_cast<unsigned char>(value == 1 ? 0 : value));
                    if (value == 1) bytes[0] = 1;
                    work(record);
                }
            }
        }
    }

    template <typename Record, typename Member>
    static std::size_t placeOf(const Record& record, const Member& member) {
        return static_cast<std::size_t>(reinterpret_cast<const char*>(&member) -
                                        reinterpret_cast<const char*>(&record));
    }

    static void expectAsBefore(const std::set<std::string>& before, const std::string& what) {
        EXPECT_EQ(deviceNames(), before) << what;
        for (const auto& table : onu().ruleTables()) {
            EXPECT_TRUE(table.device == "gpondef" || table.rules.empty()) << what << ": " << table.device;
        }
    }

    static constexpr std::uint16_t kGemPort = 1000;
};

// Row of UNI port 3 on bridge 3, with both tags filtered and both written.
const UniDataProvisioning kRow = {1, 1, 3, 3, 0x8100, 0x88a8, 0, 2, 6, 0, 4, 10, 1, 4, 20, 2, 2, 4, 30, 3, 4, 40, 4};

TEST_F(HostileValues, OfATaggingRowLeaveNothingThatItsRemovalDoesNotTake) {
    const auto before = deviceNames();
    withLimits(kRow, [&](const UniDataProvisioning& row) {
        UniDataProvisioning record = row;
        record.addFlag = 1;
        hal().vorn_omci_hal_filter_flow_add(&record);  // swaps UNI ports 1 and 2 in the record
        engine().deConfigureUniTagRules(record.uniPort, record.bridgeId);
        engine().deConfigureUniInterface(record.uniPort, record.bridgeId);
        expectAsBefore(before, "bridge " + std::to_string(row.bridgeId) + " UNI " + std::to_string(row.uniPort));
    });
}

TEST_F(HostileValues, OfABridgeServiceLeaveNothingThatItsRemovalDoesNotTake) {
    BridgeServiceProvisioning usual{};
    usual.gemPortId = kGemPort;
    usual.bridgeId = 3;
    std::memset(usual.vlanTciFilterList, 'f', sizeof usual.vlanTciFilterList);  // no terminating zero
    usual.numberOfEntries = 255;
    usual.forwardOperation = 0x10;
    usual.trafficModel = 2;
    usual.pbitMap = {{0, {kGemPort, 65535}}, {7, {kGemPort, 0}}, {255, {65535, 65535}}};
    // The map is no integer; and of the text, where every digit is read as the one before it, the ends are enough.
    constexpr std::size_t kDigits = 8;
    const std::vector<Gap> gaps = {
        {placeOf(usual, usual.pbitMap), sizeof usual.pbitMap},
        {placeOf(usual, usual.vlanTciFilterList) + kDigits, sizeof usual.vlanTciFilterList - 2 * kDigits}};
    const auto before = deviceNames();
    const auto remove = [](const BridgeServiceProvisioning& record) {
        hal().vorn_omci_hal_unsetPbitData(&record);
        hal().vorn_omci_hal_deprovisionUniSideBridge(&record);
        hal().vorn_omci_hal_deprovisionAniSideBridge(&record);
    };
    for (const std::uint8_t multicast : {std::uint8_t{0}, std::uint8_t{1}}) {
        usual.isMulticast = usual.multicastService = multicast;
        withLimits(
            usual,
            [&](const BridgeServiceProvisioning& record) {
                hal().vorn_omci_hal_configureBridge(record.bridgeId, 0);
                hal().vorn_omci_hal_configureAniTagRules(&record);
                remove(record);
                auto unicast = record;
                unicast.isMulticast = 0;
                remove(unicast);
                hal().vorn_omci_hal_configureBridge(3, 0);
                expectAsBefore(before, "bridge " + std::to_string(record.bridgeId));
            },
            gaps);
    }
}

TEST_F(HostileValues, ANameLongerThanTheKernelsReachesNoOtherDevice) {
    const std::string longest(kKernelNameLength, 'x');
    ASSERT_TRUE(onu().addDevice(longest));
    ASSERT_TRUE(onu().addDevice("real"));
    for (const std::size_t length : {16U, 31U, 32U, 33U, 4000U}) {
        std::string name(length, 'x');
        char real[] = "real";
        engine().ifUp(name.c_str());
        engine().ifDown(name.c_str());
        engine().disableIPv6(name.c_str());
        engine().addBridgeInterface(name.c_str());
        engine().addInterfaceToBridgeGroup("br0", name.c_str());
        engine().createAniVlanInterface(name.data());
        engine().createVlanInterface(65535, true, true, real, name.data());
        engine().createVlanFlows(name.data(), real);
        engine().setDefaultAction(name.data(), name.data(), 1, 0, 7, 0);
        engine().insertUniAllowAllTxRxRules(name.data(), name.data(), 7);
        EXPECT_TRUE(engine().findVlanRuleMapEntry(name.substr(0, 31).c_str(), 7) || onu().ruleCount() == 0);
        engine().deleteVlanRuleMapEntry(name.c_str(), 7);
        engine().unsetDscpToPbitsTable(name.data());
    }
    EXPECT_FALSE(onu().device(longest)->up);
    EXPECT_EQ(onu().device(longest)->master, "");
    EXPECT_EQ(onu().ruleCount(), 0u);
    EXPECT_EQ(deviceNames().count("real.65535"), 0u);
}

}  // namespace
