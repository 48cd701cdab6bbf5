// Records that the engine keeps for itself and exchanges between its files.
#ifndef BRCM_BCM968580_DATA_ENGINE_RECORDS_H
#define BRCM_BCM968580_DATA_ENGINE_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "hal/Export.h"

// The kinds and codes below are plain numbers with named values: a daemon passes on what it got over OMCI, values
// without a name included.

// Kind of physical port that a device name is formed for; any other value forms no name.
using PhyType = std::uint32_t;
constexpr PhyType PHY_ETHERNET = 1;  // Ethernet UNI: "sid" n
constexpr PhyType PHY_GPON = 2;      // PON (ANI) side: "gpon" bridge id

// Every device name lives in a buffer of this size, terminating zero included.
constexpr std::size_t kDeviceNameSize = 32;

// EtherType filter codes of the tagging rows.
using VlanFilterEtherType = std::uint32_t;
constexpr VlanFilterEtherType ETHERTYPE_FILTER_NONE = 0;
constexpr VlanFilterEtherType ETHERTYPE_FILTER_IPV4 = 1;
constexpr VlanFilterEtherType ETHERTYPE_FILTER_PPPOE_DISCOVERY = 2;
constexpr VlanFilterEtherType ETHERTYPE_FILTER_ARP = 3;
constexpr VlanFilterEtherType ETHERTYPE_FILTER_PPPOE_SESSION = 4;
constexpr VlanFilterEtherType ETHERTYPE_FILTER_IPV6 = 5;
constexpr VlanFilterEtherType ETHERTYPE_FILTER_EAPOL = 6;

// One tag of a filter or a treatment, in the value conventions of G.988 9.3.13.
struct VlanTagFilter_t {
    std::uint8_t prio;
    std::uint16_t vlanId;
    std::uint32_t tpid_de;
};

// One installed tag rule: what vlanctl needs to remove it and what it was made from.
struct VLAN_RULE_INFO {
    std::uint16_t dir;        // VLANCTL_DIRECTION_*
    std::uint32_t nbrOfTags;  // the table that holds the rule
    std::uint32_t tagRuleId;
    VlanTagFilter_t outer;  // zero for rules recorded without filters
    VlanTagFilter_t inner;
    VlanFilterEtherType etherType;
};

constexpr std::uint32_t kMaxVlanRules = 96;
constexpr unsigned kMaxTciEntries = 12;    // as many as a VLAN tagging filter holds (G.988 9.3.11)
constexpr std::uint16_t kNoStag = 0xFFFF;  // of iPhost_Stag: no service tag is known

// The rules of one device and PHY id. Slots at and past a count are zero.
struct VLAN_RULE_MAP_ENTRY {
    char ifName[kDeviceNameSize];
    std::uint16_t phyId;  // UNI port number, GEM index or VEIP number
    std::uint32_t nbrOfNewRules;
    std::uint32_t nbrOfOldRules;
    VLAN_RULE_INFO newRules[kMaxVlanRules];  // active area: rules in force
    VLAN_RULE_INFO oldRules[kMaxVlanRules];  // remove area: rules that wait for their removal
};

// Key of the rule map: ordered by name, byte-wise, then by PHY id.
struct VORN_API vlanRuleKey {
    vlanRuleKey() = default;
    vlanRuleKey(std::string name, std::uint16_t phy);
    bool operator<(const vlanRuleKey& other) const;

    std::string ifName;
    std::uint16_t phyId = 0;
};

// What a tagging row does to the number of tags. Only translate lets copy treatments take effect (see the inserters).
using VlanTagAction = std::uint32_t;
constexpr VlanTagAction VLAN_TAG_ACTION_PUSH = 1;
constexpr VlanTagAction VLAN_TAG_ACTION_POP = 2;
constexpr VlanTagAction VLAN_TAG_ACTION_NONE = 3;
constexpr VlanTagAction VLAN_TAG_ACTION_PUSH_TWO = 4;
constexpr VlanTagAction VLAN_TAG_ACTION_POP_TWO = 5;
constexpr VlanTagAction VLAN_TAG_ACTION_TRANSLATE = 6;

// Tags that a row filters on; any other value counts as untagged.
using VlanFilterType = std::uint32_t;
constexpr VlanFilterType VLAN_FILTER_TYPE_UNTAGGED = 0;
constexpr VlanFilterType VLAN_FILTER_TYPE_SINGLE_TAG = 1;
constexpr VlanFilterType VLAN_FILTER_TYPE_DOUBLE_TAG = 2;

// One row of an extended VLAN tagging operation.
struct VlanExtVlanTagOper_t {
    VlanTagFilter_t outer_filter;
    VlanTagFilter_t outer_treatment;
    VlanTagFilter_t inner_filter;
    VlanTagFilter_t inner_treatment;
    VlanFilterType filterType;
    VlanFilterEtherType etherType;
    std::uint32_t removeType;  // 0 none, 1 outer, 2 both, 3 delete row
};

struct VlanExtVlanTagOperInfo_t {
    std::uint16_t inputTpid;
    std::uint16_t outputTpid;
    std::uint32_t numberOfEntries;  // 1 after parsing, 0 for a UNI without a row
    std::uint32_t downstreamMode;   // 0: inverse of upstream
    VlanExtVlanTagOper_t* rows;     // numberOfEntries rows, owned by the caller
};

// One entry of a VLAN tagging filter TCI list.
struct VlanTci_t {
    std::uint8_t pbits;
    std::uint8_t cfi;
    std::uint16_t vlanId;
};

struct VlanTciFilterInfo_t {
    std::uint8_t numberOfEntries;  // received entries plus one
    std::uint8_t forwardOperation;
    // Entry 0 is the wildcard (all bytes 0xFF), received TCIs follow. Allocated with malloc by getTagFilters, freed by
    // its caller; null when nothing was decoded.
    VlanTci_t* entries;
};

// Mapping and filter model of a service; 2, 3, 5 and 6 filter on VLANs.
using OmciMapFilterModelType = std::uint32_t;
constexpr OmciMapFilterModelType OMCI_MF_MODEL_1_FILTER = 2;
constexpr OmciMapFilterModelType OMCI_MF_MODEL_1_MAP_FILTER = 3;
constexpr OmciMapFilterModelType OMCI_MF_MODEL_N_FILTER = 5;
constexpr OmciMapFilterModelType OMCI_MF_MODEL_N_MAP_FILTER = 6;

// One WAN service towards the gateway: also the payload of the service message, so the layout is a wire format.
struct OMCI_SERVICE_MAP_ENTRY {
    char ifName[32];      // zero-terminated
    std::int32_t pbits;   // -2: concerns no particular p-bit
    std::int32_t vlanId;  // -2: concerns no particular VLAN
    std::uint8_t reserved0;
    std::uint8_t serviceStatus;  // 0 down, else up
    std::uint16_t padding;
    std::int32_t gemPortIndex;
    std::int32_t gemPortId;
    std::int32_t reserved1;
    std::int32_t serviceType;  // 1 multicast, 0 else
};
static_assert(sizeof(OMCI_SERVICE_MAP_ENTRY) == 60, "the gateway reads 60 bytes");
static_assert(offsetof(OMCI_SERVICE_MAP_ENTRY, pbits) == 32 && offsetof(OMCI_SERVICE_MAP_ENTRY, vlanId) == 36 &&
                  offsetof(OMCI_SERVICE_MAP_ENTRY, serviceStatus) == 41 &&
                  offsetof(OMCI_SERVICE_MAP_ENTRY, gemPortIndex) == 44 &&
                  offsetof(OMCI_SERVICE_MAP_ENTRY, gemPortId) == 48 &&
                  offsetof(OMCI_SERVICE_MAP_ENTRY, serviceType) == 56,
              "the gateway reads these offsets");

// The services of one GEM port, collected while they are announced.
struct OmciGemSericesInfo_t {
    std::uint8_t numberOfEntries;
    OMCI_SERVICE_MAP_ENTRY services[256];
};
static_assert(offsetof(OmciGemSericesInfo_t, services) == 4, "the count takes the first 32-bit word");

// Key of the service map: name, then VLAN id, then p-bits.
struct VORN_API serviceKey {
    serviceKey(std::string name, unsigned short vlan, unsigned short pbit);
    bool operator<(const serviceKey& other) const;

    std::string ifName;
    std::uint16_t vlanId;
    std::uint16_t pbits;
};

#endif
