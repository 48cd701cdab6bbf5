// The table of forward operations in hal/BridgeRecords.h, held against what becomes of frames: daemons are written from
// it.
#include <fstream>
#include <map>
#include <sstream>

#include "hal/HALFactory.h"
#include "hal/ProvisioningRecords.h"
#include "hal/VornHal.h"
#include "support/OnuFixture.h"

namespace {

// One row, in terms of frames: "pass", "drop" or "default" (passed on, but to no GEM port).
struct ForwardRow {
    std::string untagged, tagged, listed, compared, downstream;
};

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// By code; the row of code 0 is also that of the codes above 0x21.
std::map<unsigned, ForwardRow> tableOfTheHeader() {
    std::map<unsigned, ForwardRow> rows;
    std::ifstream header(VORN_SCENARIO_DIR "/../src/hal/BridgeRecords.h");
    for (std::string line; std::getline(header, line);) {
        if (line.rfind("    // | 0x", 0) != 0) continue;
        std::vector<std::string> cells;
        std::istringstream columns(line.substr(line.find('|') + 1));
        for (std::string cell; std::getline(columns, cell, '|');) cells.push_back(trimmed(cell));
        cells.resize(6);
        if (contains(cells[0], "above")) cells[0] = "0x00, 0x22, 0xff";
        std::istringstream codes(cells[0]);
        for (std::string code; std::getline(codes, code, ',');)
            rows[static_cast<unsigned>(std::stoul(code, nullptr, 16))] = {cells[1], cells[2], cells[3], cells[4],
                                                                          cells[5]};
    }
    return rows;
}

class ForwardOperationTable : public OnuFixture, public ::testing::WithParamInterface<unsigned> {
protected:
    // Bridge 3 with VID 100 and p-bits 4 in its filter, GEM port 1001, and a UNI that lets everything pass.
    void SetUp() override {
        OnuFixture::SetUp();
        printedBy([] {
            VornHal& hal = *HALFactory::getInstance()->CreateHALObject(0);
            TContProvisioning tcont{256, 1, 0};
            XGEMConfig gemPort{};
            gemPort.tContAllocId = 256;
            gemPort.xgemPortId = 1001;
            BridgeServiceProvisioning service{};
            service.bridgeId = 3;
            std::snprintf(service.vlanTciFilterList, sizeof service.vlanTciFilterList, "8064");
            service.numberOfEntries = 1;
            service.forwardOperation = static_cast<std::uint8_t>(GetParam());
            service.trafficModel = 2;
            service.pbitMap[0] = {1001, 0};
            UniDataProvisioning uni{};
            uni.addFlag = 1;
            uni.bridgeId = 3;
            uni.uniPort = 3;
            hal.vorn_omci_hal_tcont_set(nullptr, &tcont);
            hal.vorn_omci_hal_gemflow_add(&gemPort);
            hal.vorn_omci_hal_configureBridge(3, 0);
            hal.vorn_omci_hal_configureAniTagRules(&service);
            hal.vorn_omci_hal_filter_flow_add(&uni);
        });
    }

    static std::string fate(bool upstream, const virtual_onu::Frame& frame) {
        const virtual_onu::Walk walk = upstream ? onu().sendFromPort("sid2", frame) : onu().sendFromPon(1001, frame);
        if (!walk.exits.empty()) return "pass";
        for (const auto& drop : walk.drops)
            if (contains(drop.reason, "no rule marked the frame with a GEM port")) return "default";
        return "drop";
    }
};

TEST_P(ForwardOperationTable, SaysWhatBecomesOfFrames) {
    const auto rows = tableOfTheHeader();
    ASSERT_EQ(rows.count(GetParam()), 1u) << "the table has no row for this code";
    const ForwardRow& row = rows.at(GetParam());
    const struct {
        bool tagged;
        std::uint16_t vid;
        std::uint8_t pbits;
    } frames[] = {{false, 0, 0}, {true, 100, 4}, {true, 100, 0}, {true, 200, 4}, {true, 200, 0}};
    for (const bool upstream : {true, false}) {
        for (const auto& sent : frames) {
            const bool vid = sent.vid == 100, pbits = sent.pbits == 4;
            const bool listed = sent.tagged && (row.compared == "VID"      ? vid
                                                : row.compared == "p-bits" ? pbits
                                                : row.compared == "TCI"    ? vid && (pbits || !upstream)
                                                                           : false);
            std::string expected = !sent.tagged ? row.untagged : listed ? row.listed : row.tagged;
            // The default rule is in front of the rules that drop, and comes in from any GEM port.
            if (expected == "drop" && listed && row.tagged == "default") expected = "default";
            if (!upstream && (row.downstream == "all pass" || expected == "default")) expected = "pass";

            virtual_onu::Frame frame;
            if (sent.tagged) frame.tags = {{0x8100, sent.pbits, false, sent.vid}};
            EXPECT_EQ(fate(upstream, frame), expected) << (upstream ? "upstream " : "downstream ") << frame.text();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Codes, ForwardOperationTable, ::testing::Range(0u, 0x23u),
                         [](const auto& code) { return "Code" + std::to_string(code.param); });

}  // namespace
