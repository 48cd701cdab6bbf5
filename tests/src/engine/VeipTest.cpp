// The VEIP: the device towards the gateway, the services announced on it, and how it goes.
#include "support/OnuFixture.h"
#include "support/Wait.h"

using virtual_onu::CallKind;
using virtual_onu::kReceive;

namespace {

constexpr unsigned short kGemPort = 100, kGemIndex = 7, kBridge = 3;
constexpr unsigned short kFilterModel = 2, kNoFilterModel = 1;

const unsigned char* tci(const char* text) {
    return reinterpret_cast<const unsigned char*>(text);
}

class Veip : public OnuFixture {
protected:
    void SetUp() override {
        OnuFixture::SetUp();
        ASSERT_EQ(engine().omcid_initCms(), 0);
        ASSERT_TRUE(becomesTrue([] { return !onu().sentMessages().empty(); }));
        engine().configureBridge(0, 0, false);
        engine().configureBridge(kBridge, 0, false);
        engine().insertGemPortMapEntry(kGemPort, kGemIndex);
        engine().setMcastGemInfo(4000, 9);
    }

    static int create(unsigned char entries, const char* list, unsigned short model = kFilterModel,
                      unsigned short gemPort = kGemPort) {
        return engine().gpon_createRules(gemPort, kBridge, 0, entries, tci(list), model);
    }
    static int remove(unsigned char entries, const char* list, unsigned short gemPort = kGemPort) {
        return engine().gpon_deleteRules(gemPort, kBridge, 0, entries, tci(list), kFilterModel);
    }

    // What the gateway has been sent since the last call: one line a message.
    std::vector<std::string> reported() {
        std::vector<std::string> lines;
        const auto sent = onu().sentMessages();
        for (; told_ < sent.size(); ++told_) {
            const auto s = serviceOf(sent[told_]);
            lines.push_back(std::string(s.ifName) + " gem " + std::to_string(s.gemPortId) + "/" +
                            std::to_string(s.gemPortIndex) + " pbits " + std::to_string(s.pbits) + " vlan " +
                            std::to_string(s.vlanId) + " type " + std::to_string(s.serviceType) +
                            (s.serviceStatus == 1   ? " up"
                             : s.serviceStatus == 0 ? " down"
                                                    : " neither"));
        }
        return lines;
    }

    static std::vector<std::uint32_t> recordedRules() {
        VLAN_RULE_MAP_ENTRY* entry = nullptr;
        std::vector<std::uint32_t> ids;
        if (!engine().findVlanRuleMapEntry("gpon0.0", 0, &entry)) return ids;
        for (std::uint32_t i = 0; i < entry->nbrOfNewRules; ++i) ids.push_back(entry->newRules[i].tagRuleId);
        return ids;
    }

private:
    std::size_t told_ = 1;  // after the application indication
};

using Lines = std::vector<std::string>;
constexpr const char* kClosing = "veip0 gem 100/7 pbits -2 vlan -2 type 0 down";

TEST_F(Veip, GetsAFurtherSetOfRulesOnASecondCall) {
    const auto printed = printedBy([] { engine().createVeipTagRules(OMCI_MF_MODEL_N_MAP_FILTER, kBridge); });
    EXPECT_TRUE(contains(printed, "\nNumber of Entries are zero")) << printed;
    engine().createVeipTagRules(OMCI_MF_MODEL_N_MAP_FILTER, kBridge);
    EXPECT_EQ(recordedRules().size(), 16u);
    EXPECT_EQ(onu().ruleTexts("gpon0.0", kReceive, 3), (Lines{"rxdev=veip0", "rxdev=veip0"}));
}

// The daemon relies on one rule id for the whole loop.
TEST_F(Veip, RecordsARefusedRuleUnderTheIdBeforeIt) {
    onu().failNext("vlanCtl_insertTagRule", 1, 1);
    onu().failNext("vlanCtl_insertTagRule", 3, 1);
    create(1, "6064");
    EXPECT_EQ(recordedRules(), (std::vector<std::uint32_t>{1, 1, 2, 3, 4, 5, 6}));
}

TEST_F(Veip, IsNotMadeWithoutFilterModelOrRealDeviceYetTheServiceIsAnnounced) {
    EXPECT_EQ(create(1, "6064", kNoFilterModel), 1);
    EXPECT_FALSE(onu().deviceExists("veip0"));
    engine().deleteAniInterface(0);
    EXPECT_EQ(create(1, "6065"), 2);
    EXPECT_FALSE(onu().deviceExists("veip0"));
    EXPECT_EQ(reported(),
              (Lines{"veip0 gem 100/7 pbits 3 vlan 100 type 0 up", "veip0 gem 100/7 pbits 3 vlan 101 type 0 up"}));
}

TEST_F(Veip, AnnouncesTheLastEntryOfTheList) {
    std::string thirteen;
    for (int i = 0; i < 13; ++i) thirteen += "6064";
    const std::tuple<unsigned char, std::string, const char*> cases[] = {
        {0, "", "255 vlan 65535"},                                         // the wildcard
        {1, "6064", "3 vlan 100"},         {2, "6064B0C8", "5 vlan 200"},  // with CFI
        {2, "6064B0C88064", "5 vlan 200"},                                 // more in the text than announced
        {3, "6064B0C8", "0 vlan 0"},                                       // more announced than in the text
        {12, thirteen, "3 vlan 100"},      {13, thirteen, "0 vlan 0"},     // a list holds twelve
    };
    for (const auto& [entries, list, announced] : cases) {
        create(entries, list.c_str());
        const std::string line = std::string("veip0 gem 100/7 pbits ") + announced + " type 0 up";
        EXPECT_EQ(reported(), Lines{line}) << int{entries} << " " << list;
    }
    EXPECT_EQ(engine().omci_service_num_get(), 4);
}

TEST_F(Veip, AnnouncesNoServiceForAListItCannotReadOrCount) {
    const std::pair<unsigned char, const char*> cases[] = {{255, "6064"}, {1, "606"}, {1, "60zz"}, {1, nullptr}};
    for (const auto& [entries, list] : cases) {
        EXPECT_EQ(create(entries, list), 0);
        EXPECT_EQ(reported(), Lines{kClosing}) << int{entries};
    }
    create(1, "6064");
    reported();
    EXPECT_EQ(create(1, "606"), 1);
    EXPECT_EQ(reported(), Lines{}) << "no closing while a service exists";
    EXPECT_EQ(create(1, "6064", kFilterModel, 555), 1);
    EXPECT_EQ(reported(), Lines{}) << "an unknown GEM port";
}

TEST_F(Veip, StaysWhileAServiceIsLeftOrWhenThereIsNone) {
    engine().insertVlanRuleMapEntry("gpon3", kGemIndex, 0, 1, 77);
    EXPECT_EQ(remove(1, "6064"), -1) << "there is no VEIP";
    EXPECT_EQ(reported(), Lines{});
    EXPECT_TRUE(engine().isVlanRuleMapExist("gpon3", kGemIndex));
    create(1, "6064");
    create(1, "6065");
    EXPECT_EQ(remove(1, "6064"), -1);
    EXPECT_TRUE(onu().deviceExists("veip0"));
    EXPECT_EQ(recordedRules().size(), 8u);
    EXPECT_FALSE(engine().isVlanRuleMapExist("gpon3", kGemIndex));
}

TEST_F(Veip, RemovesItsSubDevicesInThreeAttemptsEach) {
    for (const char* name : {"veip0.1", "veip0.2", "veip0.8"}) ASSERT_TRUE(onu().addDevice(name, "veip0"));
    onu().refuseDeletion("veip0.1", 2);
    onu().refuseDeletion("veip0.2", 9);
    onu().clearTrace();
    EXPECT_EQ(engine().removeVeipInterface(), 0);
    EXPECT_FALSE(onu().deviceExists("veip0.1") || onu().deviceExists("veip0.8"));
    EXPECT_TRUE(onu().deviceExists("veip0.2"));

    Lines steps;
    for (const auto& entry : onu().trace()) {
        if (entry.name == "vlanCtl_deleteVlanInterface") steps.push_back(entry.arguments);
        if (entry.kind == CallKind::Wait) steps.push_back("wait");
        if (entry.name == "log" && entry.arguments.find("doesn't exist") != std::string::npos) steps.push_back("none");
    }
    const std::string first = "\"veip0.1\"", second = "\"veip0.2\"";
    EXPECT_EQ(steps, (Lines{first, "wait", first, "wait", first, second, "wait", second, "wait", second, "none", "none",
                            "none", "none", "none", "\"veip0.8\""}));
}

}  // namespace
