// A row of the tagging table of the extended VLAN tagging operation (ITU-T G.988, clause 9.3.13): which frames it is
// for, and what becomes of their tags. "Inner" and "outer" name places among the tags that are filtered or added: the
// only tag of a frame is its inner one.
#ifndef OMCI_MESSAGE_TAGGING_ROW_H
#define OMCI_MESSAGE_TAGGING_ROW_H

#include <cstdint>
#include <optional>
#include <string>

#include "omci/message/Bytes.h"

namespace omci {

constexpr std::size_t kTaggingRowSize = 16;  // bytes
constexpr std::size_t kTaggingKeySize = 8;   // the first bytes, which tell rows apart

struct TagFilter {
    // p-bits 0..7
    static constexpr std::uint8_t kAnyPriority = 8, kDefaultRule = 14, kNoTag = 15;
    static constexpr std::uint16_t kAnyVid = 4096;
    // The TPID; Input: the entity's input TPID
    static constexpr std::uint8_t kAnyTpid = 0, k8100 = 4, kInput = 5, kInputDei0 = 6, kInputDei1 = 7;
    std::uint8_t priority = kNoTag;
    std::uint16_t vid = kAnyVid;
    std::uint8_t tpid = kAnyTpid;
};

struct TagTreatment {
    // p-bits 0..7; kNoTag: no tag is added
    static constexpr std::uint8_t kCopyInner = 8, kCopyOuter = 9, kFromDscp = 10, kNoTag = 15;
    static constexpr std::uint16_t kVidFromInner = 4096, kVidFromOuter = 4097;
    // TPID and DEI; Output: the entity's output TPID with the DEI as said
    static constexpr std::uint8_t kTpidFromInner = 0, kTpidFromOuter = 1, kOutputDeiFromInner = 2,
                                  kOutputDeiFromOuter = 3, k8100 = 4, kOutputDei0 = 6, kOutputDei1 = 7;
    std::uint8_t priority = kNoTag;
    std::uint16_t vid = 0;
    std::uint8_t tpid = 0;
    bool adds() const { return priority != kNoTag; }
};

enum class TaggingKind : std::uint8_t { kUntagged, kSingleTagged, kDoubleTagged };

struct TaggingRow {
    static constexpr std::uint8_t kDiscard = 3;  // tagsToRemove
    TagFilter outer, inner;
    std::uint8_t extendedCriteria = 0;  // 0 none, 1 DHCPv4, 2 DHCPv6
    std::uint8_t ethertype = 0;         // 0 any, 1 IPv4, 2 PPPoE, 3 ARP, 4 IPv6, 5 EAPOL
    std::uint8_t tagsToRemove = 0;      // 0..2, the outermost first
    TagTreatment outerTag, innerTag;    // outerTag is the outermost where both are added

    TaggingKind kind() const;
    // The rule for what no other rule of its kind matches.
    bool isDefault() const;
};

// The row of 16 bytes; what the padding holds is not looked at.
TaggingRow decodeTaggingRow(ByteView row);
Bytes encodeTaggingRow(const TaggingRow& row);
// The row with its padding zero, as rows are compared.
Bytes withoutPadding(ByteView row);
// Asks for the row with its key to be deleted: the last eight bytes are all ones.
bool isTaggingDeletion(ByteView row);
// False where a field holds a reserved code.
bool isValid(const TaggingRow& row);
// The rows that exist from an instance's creation on: each kind passes unchanged.
std::vector<Bytes> defaultTaggingRows();

// "one tag, VID 50: take 1 tag off, add 0x8100 VID 321 inner p-bits"
std::string textOf(const TaggingRow& row);

}  // namespace omci

#endif
