// Records of the bridge, VLAN and IP-host services, shared with the OMCI daemon: the order, width and natural
// alignment of their fields are a binary contract.
#ifndef HAL_BRIDGE_RECORDS_H
#define HAL_BRIDGE_RECORDS_H

#include <cstdint>
#include <map>
#include <string>
#include <utility>

// A MAC bridge service on the ANI side: its GEM ports, the VLAN tagging filter data (G.988 9.3.11) and, for multicast,
// one row of the extended VLAN tagging operation table (G.988 9.3.13). Owned by the caller; the HAL never keeps it.
struct BridgeServiceProvisioning {
    std::uint16_t gemPortId;        // GEM port of the service; the multicast GEM port in the multicast case
    std::uint16_t bridgeId;         // bridge "br" + bridgeId
    char vlanTciFilterList[256];    // TCI list as hex text, four digits an entry, zero-terminated
    std::uint8_t forwardOperation;  // VLAN tagging filter forward operation, 0x00..0x21
    std::uint8_t numberOfEntries;   // TCI entries in vlanTciFilterList, 0..12
    std::uint8_t trafficModel;      // 0..6; 2 and 5 make ANI tag rules
    std::map<std::uint8_t, std::pair<std::uint16_t, std::uint16_t>> pbitMap;  // p-bit 0..7: GEM port id, upstream queue
    std::uint8_t protocolNumber;  // IP protocol filter of the transmit rules; only 2 (IGMP) is acted on
    std::uint8_t isMulticast;     // with multicastService: take the multicast path
    std::uint8_t multicastService;
    std::uint16_t inputTpid;
    std::uint16_t outputTpid;
    std::uint16_t dsMode;               // downstream mode of the row; 0: the inverse rule downstream, else none
    std::uint16_t filterTagCount;       // 1 single tag, 2 double tag, else untagged
    std::uint16_t tagTreatment;         // 1 push, 2 pop, 4 push two, 5 pop two, 6 keep or translate
    std::uint16_t etherTypeFilter;      // 0 none, 1 IPv4, 2 PPPoE discovery, 3 ARP, 4 PPPoE session, 5 IPv6, 6 EAPOL
    std::uint16_t outerTpidFilter;      // 4 = 0x8100, 5 = inputTpid, 6 and 7 = inputTpid with DEI 0 and 1
    std::uint16_t outerVlanIdFilter;    // below 4095: this VID
    std::uint16_t outerVlanPrioFilter;  // below 8: these p-bits; 15: no outer tag filter
    std::uint16_t innerTpidFilter;
    std::uint16_t innerVlanIdFilter;
    std::uint16_t innerVlanPrioFilter;
    std::uint16_t removeType;  // tags removed upstream: 1 outer, 2 both, else none
    std::uint16_t outerTpidAction;
    std::uint16_t outerVlanIdAction;    // below 4095: this VID; 4096 and 4097: copy from inner and outer tag
    std::uint16_t outerVlanPrioAction;  // below 8: these p-bits; 8, 9: copy from inner, outer; 10: DSCP; 15: no tag
    std::uint16_t innerTpidAction;
    std::uint16_t innerVlanIdAction;
    std::uint16_t innerVlanPrioAction;
    std::uint8_t restoreVlanFlows;  // removal of the p-bit data makes the VLAN flows anew
};

// One row of a UNI's extended VLAN tagging operation (G.988 9.3.13). p-bits: 0..7 a value, 8 and 9 copy from inner and
// outer, 10 from DSCP, 14 default-rule marker, 15 no tag. VID: 0..4094 a value, 4096 and 4097 copy from inner and
// outer.
struct UniDataProvisioning {
    std::uint8_t addFlag;      // non-zero adds the row, zero removes the UNI's rules
    std::uint8_t hasTagRules;  // 0: the UNI has no row and gets allow-all rules
    std::uint16_t bridgeId;
    std::uint16_t uniPort;  // 1-based; 1..4 are Ethernet ports, 6 and above IP hosts
    std::uint16_t inputTpid;
    std::uint16_t outputTpid;
    std::uint16_t downstreamMode;  // 0: the downstream rule is the inverse of the upstream one; else no downstream rule
    std::uint16_t filterType;      // 1 single tag, 2 double tag, else untagged
    std::uint16_t tagAction;       // VlanTagAction: 1 push, 2 pop, 3 none, 4 push two, 5 pop two, 6 translate
    std::uint16_t etherType;       // 1 IPv4, 2 PPPoE discovery, 3 ARP, 4 PPPoE session, else no filter
    std::uint16_t outerFilterTpidDe;
    std::uint16_t outerFilterVlanId;
    std::uint8_t outerFilterPrio;
    std::uint16_t innerFilterTpidDe;
    std::uint16_t innerFilterVlanId;
    std::uint8_t innerFilterPrio;
    std::uint16_t removeType;  // tags removed: 0 none, 1 outer, 2 both, 3 discard the frame
    std::uint16_t outerTreatmentTpidDe;
    std::uint16_t outerTreatmentVlanId;
    std::uint8_t outerTreatmentPrio;
    std::uint16_t innerTreatmentTpidDe;
    std::uint16_t innerTreatmentVlanId;
    std::uint8_t innerTreatmentPrio;
};

// The ONU's management IP host (IP host config data, G.988 9.4.1).
struct IpHostProvision {
    std::uint16_t allocId;  // only logged
    std::uint16_t gemId;    // only logged
    std::uint16_t bridgeId;
    std::uint16_t uniPort;         // second number of the interface name br<bridgeId>.<uniPort>
    std::string macAddress;        // colon-separated hex text; used when the board has no first MAC
    std::uint8_t ipOptions;        // only logged
    std::string ipAddress;         // dotted IPv4
    std::string subnetMask;        // dotted IPv4
    std::string gateway;           // dotted IPv4
    std::uint8_t dhcpEnabled;      // non-zero: the address comes from DHCP
    std::uint8_t useSharedBridge;  // non-zero: join the shared bridge "brv"
};

#endif
