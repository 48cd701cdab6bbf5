// From a tagging row to the HAL's records for a port.
#ifndef OMCI_SERVICES_UNI_RULES_H
#define OMCI_SERVICES_UNI_RULES_H

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "hal/ProvisioningRecords.h"
#include "omci/message/TaggingRow.h"
#include "omci/services/Cause.h"

namespace omci::services {

// A port of the HAL as member of a bridge.
struct UniPort {
    std::uint16_t bridgeId = 0;
    std::uint16_t port = 0;  // from 1
};
constexpr bool operator==(UniPort one, UniPort other) {
    return one.bridgeId == other.bridgeId && one.port == other.port;
}

// What the rows of one entity have in common.
struct Tagging {
    std::uint16_t inputTpid = 0x8100;
    std::uint16_t outputTpid = 0x8100;
    std::uint8_t downstreamMode = 0;  // G.988, attribute 5 of extended VLAN tagging operation configuration data
    bool classSelector = true;        // p-bits from DSCP mean DSCP / 8
    bool standard = false;            // the HAL forwards as G.988 says
};

// A row with the records that do the same.
struct UniRule {
    TaggingRow row;
    std::array<std::uint8_t, kTaggingRowSize> source{};  // the row as it is in the table; zeros when it is made up
    EntityKey entity;                                    // that the row belongs to
    MessageRef message;                                  // that set it
    std::vector<UniDataProvisioning> records;  // in the order in which they are asked for; none: all is dropped
    std::vector<std::string> problems;
    bool downstream = false;  // there is a rule for downstream, for frames with these tags on the PON side
    unsigned ponTags = 0;     // 2 stands for more as well
    TagFilter ponOuter;       // the outermost of them

    bool drops() const { return row.tagsToRemove == TaggingRow::kDiscard; }
    // Rules that the HAL keeps for the port.
    unsigned rules() const;
};

// The rule of one row; source, entity and message are left to the caller.
UniRule uniRule(const TaggingRow& row, const Tagging& tagging, UniPort port);

// List order of rows: what the standard tries first is first. Rows that let everything else pass are last, because
// what comes down must meet the inverse of every other row before them.
bool isBefore(const UniRule& one, const UniRule& other);
// A frame may fit both, upstream or downstream: their order matters.
bool overlap(const UniRule& one, const UniRule& other);

// Every frame passes as it is.
bool passesUnchanged(const TaggingRow& row);
// What VLAN tagging operation configuration data asks for, as rows in list order: upstream mode (0 as it is, 1 one tag
// with this TCI, 2 one tag more) with the TCI.
std::vector<TaggingRow> rowsOfTaggingOperation(std::uint8_t upstreamMode, std::uint16_t tci);

// The record of a port without tagging rows: everything passes.
UniDataProvisioning portWithoutRows(UniPort port);
// Takes the port out of its bridge, with everything that was made for it.
UniDataProvisioning removalOf(UniPort port);
// Takes one record of a row back.
UniDataProvisioning removalOf(const UniDataProvisioning& record);

}  // namespace omci::services

#endif
