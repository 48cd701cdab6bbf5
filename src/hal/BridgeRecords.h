// Records of the bridge, VLAN and IP-host services, shared with the OMCI daemon: the order, width and natural alignment
// of their fields are a binary contract.
//
// A value that is not named here is no error: the field then says nothing (no filter, nothing written).
//
// ## Codes of filters and treatments
//
// p-bits of a filter:
//
// | value | the frame must have |
// |---|---|
// | 0..7 | the tag, with these p-bits |
// | 8..14 | the tag, with any p-bits: 8 is G.988's "any", 14 marks a default row |
// | 15 | no such tag; the VID of this filter is not looked at |
//
// p-bits of a treatment:
//
// | value | the tag gets |
// |---|---|
// | 0..7 | these p-bits |
// | 8 | the p-bits of the frame's inner tag, in a row that copies |
// | 9 | the p-bits of its outer tag, in a row that copies |
// | 10 | p-bits by the frame's DSCP |
// | 15 | there is no such tag to write |
//
// VID:
//
// | value | filter | treatment |
// |---|---|---|
// | 0..4094 | this VID | this VID |
// | 4096 | any VID | the VID of the frame's inner tag, in a row that copies |
// | 4097 | any VID | the VID of its outer tag, in a row that copies |
// | others | any VID | as it is; 0 in a tag that is pushed |
//
// TPID and DEI:
//
// | value | filter | treatment |
// |---|---|---|
// | 3 | any TPID | the output TPID, where the inner treatment is alone |
// | 4 | 0x8100 | 0x8100 |
// | 5 | the input TPID | as it is |
// | 6 | the input TPID with DEI 0 | the output TPID, DEI 0 |
// | 7 | the input TPID with DEI 1 | the output TPID, DEI 1 |
// | others | any TPID | as it is; 0x8100 and DEI 0 in a tag that is pushed |
//
// A row copies when it translates (tag action 6). A lone inner treatment copies from the inner tag also when the row
// filters one tag and pushes one. In other rows the codes that copy write nothing.
//
// What a row does to the number of tags (tag action): 1 pushes a tag, 2 pops one, 4 pushes two, 5 pops two; 3 (none), 6
// (translate) and other values change nothing.
//
// ## How a row describes frames
//
// A row for one tag describes it in its inner fields and has 15 as outer p-bits. A row for untagged frames has 15 as
// outer and inner p-bits. The TPID codes that are looked at go by the number of tags: the inner one for one tag, both
// for two tags, neither for untagged frames.
//
// A row of zeros leaves nothing open: 0 is a value, so it filters two tags on p-bits 0 and VID 0, and writes both. Set
// the filter of a tag whose contents do not matter to p-bits 8 and VID 4096, that of a tag that is not there to p-bits
// 15, and the treatment of a tag that is not written to p-bits 15.
//
// Treatment p-bits say which tags are written: outer 15, the outermost tag by the inner fields; neither 15, the outer
// two tags; inner 15, none.
#ifndef HAL_BRIDGE_RECORDS_H
#define HAL_BRIDGE_RECORDS_H

#include <cstdint>
#include <map>
#include <string>
#include <utility>

// Names for the codes above. They are values of the fields, and a daemon that has its own goes on using them.
namespace vorn_tagging {

// p-bits
constexpr std::uint8_t kAnyPbits = 8;                                                  // filter
constexpr std::uint8_t kDefaultRow = 14;                                               // filter
constexpr std::uint8_t kNoTag = 15;                                                    // filter and treatment
constexpr std::uint8_t kPbitsOfInnerTag = 8, kPbitsOfOuterTag = 9, kPbitsByDscp = 10;  // treatment
// VID
constexpr std::uint16_t kAnyVid = 4096;                                // filter
constexpr std::uint16_t kVidOfInnerTag = 4096, kVidOfOuterTag = 4097;  // treatment
// TPID and DEI
constexpr std::uint16_t kAnyTpid = 0;     // filter
constexpr std::uint16_t kOutputTpid = 3;  // treatment
constexpr std::uint16_t kTpid8100 = 4, kInputTpid = 5;
constexpr std::uint16_t kTpidDei0 = 6, kTpidDei1 = 7;  // of a filter the input TPID, of a treatment the output TPID
// Tag action
constexpr std::uint16_t kPushTag = 1, kPopTag = 2, kPushTwoTags = 4, kPopTwoTags = 5, kTranslateTags = 6;
// removeType
constexpr std::uint16_t kLoseNone = 0, kLoseOuterTag = 1, kLoseBothTags = 2, kDiscard = 3;
// trafficModel with rules on the ANI side
constexpr std::uint8_t kOneServiceFilter = 2, kSeveralServicesFilter = 5;
// GEM port of p-bits that have none
constexpr std::uint16_t kNoGemPort = 65535;

}  // namespace vorn_tagging

// A MAC bridge service on the ANI side: its GEM ports, the VLAN tagging filter data (G.988 9.3.11) and, for multicast,
// one row of the extended VLAN tagging operation table (G.988 9.3.13). Owned by the caller; the HAL never keeps it.
//
// The fields from inputTpid to innerVlanPrioAction are read for a multicast service only: one rule for the frames that
// "gpon0.0" receives for "veip0", and one for the other direction.
struct BridgeServiceProvisioning {
    // GEM port id that carries a multicast service, 0..65535. Not read otherwise: the GEM ports are those of pbitMap.
    std::uint16_t gemPortId;
    // 0..65535: bridge "br" + bridgeId, PON device "gpon" + bridgeId. 0 is the gateway's bridge. From 256 on the runner
    // has p-bit tables for the bridge, with index bridgeId - 256.
    std::uint16_t bridgeId;
    // TCI list of the tagging filter as hex text, four digits an entry, most significant first: p-bits in three bits,
    // CFI in one, VID in twelve. No separators; ends with a zero or with the field. "00648065" is VID 100 with p-bits 0
    // and VID 101 with p-bits 4. An odd number of digits or another character leaves no entry at all.
    char vlanTciFilterList[256];
    // VLAN tagging filter forward operation, 0x00..0x21: which frames pass.
    //
    // | code | untagged | tagged | tagged, TCI in the list | compared | downstream |
    // |---|---|---|---|---|---|
    // | 0x00 and above 0x21 | pass | pass | pass | | all pass |
    // | 0x01 | pass | drop | drop | | filtered |
    // | 0x02, 0x15 | drop | default | default | | all pass |
    // | 0x03, 0x0f, 0x1c | default | drop | pass | VID | filtered |
    // | 0x04, 0x10, 0x1d | drop | drop | pass | VID | filtered |
    // | 0x16 | default | drop | pass | VID | all pass |
    // | 0x17 | drop | drop | pass | VID | all pass |
    // | 0x05 | default | default | drop | VID | all pass |
    // | 0x06 | drop | default | drop | VID | all pass |
    // | 0x07, 0x11, 0x1e | default | drop | pass | p-bits | filtered |
    // | 0x08, 0x12, 0x1f | drop | drop | pass | p-bits | filtered |
    // | 0x18 | default | drop | pass | p-bits | all pass |
    // | 0x19 | drop | drop | pass | p-bits | all pass |
    // | 0x09 | default | default | drop | p-bits | all pass |
    // | 0x0a | drop | default | drop | p-bits | all pass |
    // | 0x0b, 0x13, 0x20 | default | drop | pass | TCI | filtered |
    // | 0x0c, 0x14, 0x21 | drop | drop | pass | TCI | filtered |
    // | 0x1a | default | drop | pass | TCI | all pass |
    // | 0x1b | drop | drop | pass | TCI | all pass |
    // | 0x0d | default | default | drop | TCI | all pass |
    // | 0x0e | drop | default | drop | TCI | all pass |
    //
    // The columns tell of upstream frames, and of downstream ones where the last column says "filtered"; otherwise
    // every frame of the GEM port comes in. "TCI" compares p-bits, CFI and VID upstream, the VID alone downstream.
    // "default" is a rule for all frames that is made only while its table holds no other. It names no GEM port, so an
    // upstream frame ends at "gpondef" unless something else marks it; and it is in front of the rules that drop,
    // which then meet no frame.
    std::uint8_t forwardOperation;
    // TCIs in vlanTciFilterList, 0..12. More than the text holds, or more than 12, counts as what is there; 255 as
    // none.
    std::uint8_t numberOfEntries;
    // Mapping and filter model, 0..6. 2 (one service, filter) and 5 (several services, filter) make the ANI side's tag
    // rules, and the same ones: it is of no matter which of the two a service has, nor whether others have the same.
    // 0, 1, 3, 4 and 6 make none, so no frame passes; above 6 the whole call is refused.
    std::uint8_t trafficModel;
    // p-bits 0..7 to (GEM port id, upstream queue 0..7 on its T-CONT). GEM port 65535 or 4095: none. p-bits that are
    // not named keep the GEM port and queue that an earlier record gave them, of any bridge. Keys above 7 are not
    // looked at.
    std::map<std::uint8_t, std::pair<std::uint16_t, std::uint16_t>> pbitMap;
    // 2 (IGMP): the upstream rules are for IGMP alone and are in front of the others. Other values: any protocol.
    std::uint8_t protocolNumber;
    std::uint8_t isMulticast;       // non-zero, with multicastService: a multicast service
    std::uint8_t multicastService;  // non-zero, with isMulticast: a multicast service
    std::uint16_t inputTpid;        // TPID that filter codes 5 to 7 stand for, such as 0x88a8
    std::uint16_t outputTpid;       // TPID that treatment codes 3, 6 and 7 stand for
    std::uint16_t dsMode;           // 0: the row has its inverse in the other direction; other values: no rule there
    std::uint16_t filterTagCount;   // tags that the frame must have: 0 none, 1, 2; higher numbers make no useful rule
    std::uint16_t tagTreatment;     // tag action, 1..6: see above
    // EtherType behind the last tag: 1 IPv4, 2 PPPoE discovery, 3 ARP, 4 PPPoE session, 5 IPv6, 6 EAPOL, other values
    // any.
    std::uint16_t etherTypeFilter;
    std::uint16_t outerTpidFilter;      // TPID code, read for two tags
    std::uint16_t outerVlanIdFilter;    // VID code
    std::uint16_t outerVlanPrioFilter;  // p-bit code
    std::uint16_t innerTpidFilter;      // TPID code, read for one and for two tags
    std::uint16_t innerVlanIdFilter;    // VID code
    std::uint16_t innerVlanPrioFilter;  // p-bit code
    // Tags that the frame loses: 1 the outer, 2 both, other values none. It tells how many tags the other direction
    // meets; the frame is changed by tagTreatment.
    std::uint16_t removeType;
    std::uint16_t outerTpidAction;      // TPID code
    std::uint16_t outerVlanIdAction;    // VID code
    std::uint16_t outerVlanPrioAction;  // p-bit code; 10 in any row
    // TPID code. Where the inner treatment is alone also 0 and 1, TPID and DEI of the inner and the outer tag, and
    // 2, the output TPID with the DEI of the inner tag.
    std::uint16_t innerTpidAction;
    std::uint16_t innerVlanIdAction;  // VID code
    // p-bit code; 10 in any row. Standing alone, 8 copies in rows that filter one tag and push one, or filter two tags
    // and push one or translate.
    std::uint16_t innerVlanPrioAction;
    // Read by unsetPbitData alone. Non-zero: the flows between the bridge's ANI and UNI device are recreated
    // afterwards.
    std::uint8_t restoreVlanFlows;
};

// One row of a UNI's extended VLAN tagging operation (G.988 9.3.13), or the UNI itself.
//
// Three kinds of row make no tag rule: default rows of G.988 (removeType 0, both treatment p-bits 15, and filters for
// untagged frames of any EtherType or inner filter p-bits 14 with outer ones 15 or 14); rows with removeType 3; and,
// upstream, an untagged row that pushes one tag with inner treatment p-bits 10, which the runner carries out for IPv4
// and IPv6.
struct UniDataProvisioning {
    // Non-zero adds the row and, with it, the UNI's device on the bridge. 0 takes the UNI out of the bridge, with all
    // rows of the UNI, those for other bridges too. A single row is removed by adding it with removeType 3 and
    // treatments of all ones: outer and inner TPID code 7, VID 8191, p-bits 15.
    std::uint8_t addFlag;
    // 0: the UNI has no row, and every frame passes as it is; rules that were there before are removed first. Leave the
    // fields of the row zero then: they are compared with the rows that exist.
    std::uint8_t hasTagRules;
    // 0..65535; the bridge must exist.
    std::uint16_t bridgeId;
    // UNI port from 1; the device is "sid" + (uniPort - 1). 1..4 are Ethernet ports, 5 gets no device on the bridge,
    // and for 6 and above (IP hosts) nothing is done.
    //
    // Trap: vorn_omci_hal_filter_flow_add writes here. In the caller's record 1 becomes 2 and 2 becomes 1, for the
    // board numbers these two the other way round: port 1 is "sid1", port 2 "sid0". The same record in a second call
    // means the other port; fill it again.
    std::uint16_t uniPort;
    std::uint16_t inputTpid;       // TPID that filter codes 5 to 7 stand for, such as 0x88a8
    std::uint16_t outputTpid;      // TPID that treatment codes 3, 6 and 7 stand for
    std::uint16_t downstreamMode;  // 0: downstream the inverse of the row; other values: the row has no downstream rule
    std::uint16_t filterType;      // tags that the frame must have: 1, 2, other values none
    std::uint16_t tagAction;       // tag action, 1..6: see above
    // EtherType behind the last tag: 1 IPv4, 2 PPPoE discovery, 3 ARP, 4 PPPoE session, other values any. 2 makes the
    // same rules for the session as well.
    std::uint16_t etherType;
    std::uint16_t outerFilterTpidDe;  // TPID code, read for two tags
    std::uint16_t outerFilterVlanId;  // VID code
    std::uint8_t outerFilterPrio;     // p-bit code
    std::uint16_t innerFilterTpidDe;  // TPID code, read for one and for two tags
    std::uint16_t innerFilterVlanId;  // VID code
    std::uint8_t innerFilterPrio;     // p-bit code
    // Tags that the frame loses: 0 none, 1 the outer, 2 both. It tells how many tags a downstream frame has; the frame
    // is changed by tagAction. 3 (discard) makes no rule: what no other row takes is dropped.
    std::uint16_t removeType;
    std::uint16_t outerTreatmentTpidDe;  // TPID code
    std::uint16_t outerTreatmentVlanId;  // VID code
    std::uint8_t outerTreatmentPrio;     // p-bit code; 10 in a row that copies
    std::uint16_t innerTreatmentTpidDe;  // TPID code
    std::uint16_t innerTreatmentVlanId;  // VID code
    std::uint8_t innerTreatmentPrio;     // p-bit code; 10 where it is alone, or in a row that copies
};

// The ONU's management IP host (IP host config data, G.988 9.4.1). Addresses are texts of hexadecimal digits, dots and
// colons, no longer than an address can be (15 characters, 45 with a colon; 17 for a MAC). Anything else in one of
// them, or in the board's own MAC address, refuses the whole call.
struct IpHostProvision {
    std::uint16_t allocId;   // 0..65535; only logged
    std::uint16_t gemId;     // GEM port id, 0..65535; only logged
    std::uint16_t bridgeId;  // 0..65535: bridge "br" + bridgeId, which must exist
    // 1..65535: number and VLAN device id of the host's device, "br" + bridgeId + "." + uniPort. 0 means the ANI side.
    std::uint16_t uniPort;
    // "00:11:22:33:44:55": the host's MAC address where the board has no first one. On removal the address whose
    // delivery to the CPU ends, even where the board has one.
    std::string macAddress;
    std::uint8_t ipOptions;    // only logged
    std::string ipAddress;     // dotted IPv4, "10.0.0.5"; not used with DHCP
    std::string subnetMask;    // dotted IPv4, "255.255.255.0"; not used with DHCP
    std::string gateway;       // dotted IPv4: default route of the host's own traffic (table 12); not used with DHCP
    std::uint8_t dhcpEnabled;  // non-zero: a DHCP client is started for the address
    // Non-zero: the host gets no device and no address of its own. Its bridge is deleted, and the bridge's ANI device
    // joins the shared bridge "brv", which must exist.
    std::uint8_t useSharedBridge;
};

#endif
