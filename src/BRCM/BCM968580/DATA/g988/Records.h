// A daemon's records as tables of G.988. Numbers that the standard has no meaning for are taken over as they are, or as
// the nearest that fits: the planner refuses them.
#ifndef BRCM_BCM968580_DATA_G988_RECORDS_H
#define BRCM_BCM968580_DATA_G988_RECORDS_H

#include <cstdint>
#include <functional>
#include <optional>
#include <set>

#include "BRCM/BCM968580/DATA/g988/Tables.h"
#include "hal/BridgeRecords.h"

namespace g988 {

TaggingRow rowOf(const UniDataProvisioning& record);
// Why the record describes no row, although rowOf() makes one: a row for any EtherType or for untagged frames would
// take the place of the port's own. Null for a record that does.
const char* unknownCode(const UniDataProvisioning& record);
// G.988 deletes a row with treatment words of all ones.
bool deletesRow(const UniDataProvisioning& record);
// TPIDs and downstream mode of the record; a TPID of 0 is 0x8100.
void setAttributes(TaggingTable& table, const UniDataProvisioning& record);

bool isMulticast(const BridgeServiceProvisioning& record);
// The GEM port ids that a record names: of its p-bits, or of its multicast service. 65535 and 4095 mean none in a
// p-bit.
std::set<std::uint16_t> gemPortIds(const BridgeServiceProvisioning& record);
// The kit's index of a GEM port id; nothing for one that the driver does not know.
using GemIndexOf = std::function<std::optional<std::uint16_t>(std::uint16_t gemPortId)>;
// Nothing where a GEM port is not known, the list is no list, or untagged frames have a GEM port of their own.
std::optional<PonPort> ponPortOf(const BridgeServiceProvisioning& record, const GemIndexOf& gemIndexOf);

}  // namespace g988

#endif
