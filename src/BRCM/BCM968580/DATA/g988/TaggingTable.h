// The extended VLAN tagging operation table of a UNI port (G.988 9.3.13) in the codes of the standard.
#ifndef BRCM_BCM968580_DATA_G988_TAGGING_TABLE_H
#define BRCM_BCM968580_DATA_G988_TAGGING_TABLE_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace g988 {

constexpr std::uint8_t kLastPbits = 7;
constexpr std::uint16_t kLastVid = 4094;
constexpr std::uint16_t kCustomerTpid = 0x8100;

// Codes of a filter beside the values themselves.
namespace filter_code {
constexpr std::uint8_t kAnyPbits = 8, kDefaultRow = 14, kNoTag = 15;
constexpr std::uint16_t kAnyVid = 4096;
constexpr std::uint8_t kAnyTpid = 0, kTpid8100 = 4, kInputTpid = 5, kInputTpidDei0 = 6, kInputTpidDei1 = 7;
}  // namespace filter_code

// Codes of a treatment.
namespace treatment_code {
constexpr std::uint8_t kPbitsOfInner = 8, kPbitsOfOuter = 9, kPbitsOfDscp = 10, kNoTag = 15;
constexpr std::uint16_t kVidOfInner = 4096, kVidOfOuter = 4097;
constexpr std::uint8_t kTagOfInner = 0, kTagOfOuter = 1, kDeiOfInner = 2, kDeiOfOuter = 3, kTpid8100 = 4,
                       kOutputDei0 = 6, kOutputDei1 = 7;
}  // namespace treatment_code

// One tag of a filter or of a treatment.
struct TagCodes {
    std::uint8_t pbits = filter_code::kNoTag;
    std::uint16_t vid = filter_code::kAnyVid;
    std::uint8_t tpidDei = 0;
    bool isThere() const { return pbits != filter_code::kNoTag; }
    bool operator==(const TagCodes& other) const {
        return pbits == other.pbits && vid == other.vid && tpidDei == other.tpidDei;
    }
};

// What a row asks for behind the tags. The numbers are the standard's; the session alone is asked for by records only.
enum class EtherTypes : std::uint8_t { Any, Ipv4, Pppoe, Arp, Ipv6, Eapol, PppoeSession };

constexpr std::uint8_t kDiscard = 3;  // tags to remove: the frame is dropped

struct TaggingRow {
    TagCodes outerFilter, innerFilter;
    std::uint8_t extendedCriteria = 0;  // 0 none, 1 DHCPv4, 2 DHCPv6
    EtherTypes etherTypes = EtherTypes::Any;
    std::uint8_t tagsToRemove = 0;  // 0..2, or kDiscard
    TagCodes outerTreatment, innerTreatment;
    // That its frames go to. None in the rows that are there from the start: the bridge whose filter takes the frame.
    std::optional<std::uint16_t> bridge;

    unsigned tags() const;        // that its frames have: 0, 1, or 2 for two and more
    bool isDefaultRow() const;    // comes behind all others for this number of tags
    std::uint64_t key() const;    // the filter words: rows are tried in ascending order, and no two have the same
    std::string text() const;     // "row VID 100 p5" for the log
    const char* mistake() const;  // what the standard has no meaning for; null for a good row
    std::vector<TagCodes> filters() const;  // of its tags, outermost first
    std::vector<TagCodes> added() const;    // tags that it adds, outermost first
    bool operator==(const TaggingRow& other) const;
};

// p-bits of each DSCP.
using DscpMap = std::array<std::uint8_t, 64>;
DscpMap classSelectors();  // DSCP / 8, what the kit does

constexpr std::uint8_t kLastDownstreamMode = 8;

class TaggingTable {
public:
    TaggingTable();  // three default rows, which pass everything as it is
    std::uint16_t inputTpid = kCustomerTpid;
    std::uint16_t outputTpid = kCustomerTpid;
    std::uint8_t downstreamMode = 0;  // 0..kLastDownstreamMode
    DscpMap dscpMap = classSelectors();

    // Replaces the row with the same filters, if there is one.
    void set(const TaggingRow& row);
    // By filters. False when there is no such row.
    bool erase(const TaggingRow& row);
    const std::vector<TaggingRow>& rows() const { return rows_; }  // in the order in which they are tried
    // Nobody has set, replaced or deleted a row.
    bool isUntouched() const;

private:
    std::vector<TaggingRow> rows_;
};

}  // namespace g988

#endif
