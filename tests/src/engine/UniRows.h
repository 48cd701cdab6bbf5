// Rows of a UNI's extended VLAN tagging operation in one line each, and the rules that came of them.
#ifndef TESTS_UNI_ROWS_H
#define TESTS_UNI_ROWS_H

#include <tuple>

#include "hal/BridgeRecords.h"
#include "support/OnuFixture.h"

// One tag of a filter or a treatment: p-bits, VID, TPID/DEI code.
struct Tag {
    std::uint8_t prio;
    std::uint16_t vlanId;
    std::uint16_t tpid;
};
constexpr Tag kNoTag = {15, 4096, 0};

enum : std::uint16_t { kPush = 1, kPop, kNone, kPushTwo, kPopTwo, kTranslate };

struct Row {
    std::uint16_t filterType;
    Tag outerFilter, innerFilter;
    std::uint16_t etherType;
    std::uint16_t tagAction;
    std::uint16_t removeType;
    Tag outerTreatment, innerTreatment;
};

constexpr Row kUntaggedToS100 = {0, {15, 4096, 0}, {15, 4096, 0}, 0, kPush, 0, {15, 0, 0}, {2, 100, 4}};
constexpr Row kC10ToS200 = {1, kNoTag, {3, 10, 4}, 0, kTranslate, 1, kNoTag, {5, 200, 4}};

// UNI port 1 ("sid0") on bridge 3, input TPID 0x88a8, output TPID 0x9100.
class UniRows : public OnuFixture {
protected:
    void SetUp() override {
        OnuFixture::SetUp();
        ASSERT_TRUE(engine().configureBridge(3, 0, false));
        ASSERT_TRUE(engine().configureUniInterface(&plain_));
    }
    void TearDown() override {
        engine().flushUniSideVlanRules(3, 1);
        engine().deConfigureUniInterface(1, 3);
        OnuFixture::TearDown();
    }

    static UniDataProvisioning record(const Row& row, std::uint16_t downstreamMode = 0) {
        const auto& [outer, inner] = std::tie(row.outerFilter, row.innerFilter);
        const auto& [outerTo, innerTo] = std::tie(row.outerTreatment, row.innerTreatment);
        // clang-format off
        return {1, 1, 3, 1, 0x88a8, 0x9100, downstreamMode, row.filterType, row.tagAction, row.etherType,
                outer.tpid, outer.vlanId, outer.prio, inner.tpid, inner.vlanId, inner.prio, row.removeType,
                outerTo.tpid, outerTo.vlanId, outerTo.prio, innerTo.tpid, innerTo.vlanId, innerTo.prio};
        // clang-format on
    }

    static void provision(const Row& row, std::uint16_t downstreamMode = 0) {
        const auto uniProv = record(row, downstreamMode);
        ASSERT_TRUE(engine().configureUniTagRules(&uniProv));
    }

    // Every rule on sid0, receive tables first: "rx1 vid0=10 | vid0:=200" is one that serves sid0.3.
    static std::vector<std::string> rules() {
        std::vector<std::string> result;
        for (const unsigned direction : {virtual_onu::kReceive, virtual_onu::kTransmit}) {
            const std::string name = direction == virtual_onu::kReceive ? "rx" : "tx";
            for (unsigned tags = 0; tags <= 4; ++tags) {
                for (const auto& text : onu().ruleTexts("sid0", direction, tags)) {
                    const std::string served = name + "dev=sid0.3";
                    EXPECT_EQ(text.rfind(served, 0), 0u) << text;
                    result.push_back(name + std::to_string(tags) + text.substr(served.size()));
                }
            }
        }
        return result;
    }

private:
    const UniDataProvisioning plain_ = record(kUntaggedToS100);
};

#endif
