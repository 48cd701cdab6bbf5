// The extended VLAN tagging operation of a port as G.988 9.3.13 has it: a table of rows, tried in the order of their
// filters, and a downstream mode.
#ifndef VORN_ONU_AUDIT_TAGGING_TABLE_H
#define VORN_ONU_AUDIT_TAGGING_TABLE_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "VirtualOnu.h"

namespace vorn_onu::audit {

using virtual_onu::Frame;
using virtual_onu::VlanTag;

constexpr unsigned kMaxPriority = 7;
constexpr unsigned kMaxVid = 4094;
constexpr unsigned kAnyPriority = 8;
constexpr unsigned kDefaultRow = 14;
constexpr unsigned kNoTag = 15;
constexpr unsigned kAnyVid = 4096;

// One tag of a filter or a treatment, in the codes of the standard.
struct TagField {
    unsigned priority = kNoTag;
    unsigned vid = kAnyVid;
    unsigned tpidDei = 0;
};

// What a row asks for behind the tags. PPPoE is discovery and session; Session is for records that name it alone.
enum class PayloadType { Any, Ipv4, Pppoe, Arp, Ipv6, Eapol, PppoeSession };

struct TaggingRow {
    TagField outerFilter, innerFilter;
    PayloadType payload = PayloadType::Any;
    unsigned tagsToRemove = 0;  // 3: drop the frame
    TagField outerTreatment, innerTreatment;
    std::optional<unsigned> bridge;  // that its frames go to; none: every bridge of the port
    std::size_t step = 0;            // of the scenario, that set it; 0: there from the start

    unsigned tags() const;                  // that it is for: 0, 1, or 2 for two and more
    bool isDefaultRow() const;              // comes after all others of its number of tags
    bool isDeletion() const;                // the second half of it is all ones
    std::string text() const;               // "untagged IPv4 → add VID 100 p0"
    std::vector<TagField> filters() const;  // of its tags, outermost first
    std::vector<TagField> added() const;    // tags that it adds, outermost first
    // The first half of the row: rows are tried in its order, and no two have the same.
    std::array<std::uint32_t, 2> key() const;
};

// What becomes of a frame. Open: the standard leaves it to the ONU.
struct Tagging {
    enum class Fate { Passes, Dropped, Open };
    Fate fate = Fate::Open;
    Frame frame;
    std::optional<TaggingRow> row;  // that said so
};

// Downstream mode 0 and frames that the inverse of no row takes with just the VIDs and p-bits it writes: the standard
// says nothing of them. By G.988 forwarding the first row that writes their VIDs takes them, and what none takes is
// dropped, unless the port has the rows from the start alone.
enum class Untaken { LeftToTheOnu, ByVidOrDropped };

class TaggingTable {
public:
    TaggingTable();  // the three rows that are there from the start pass everything
    std::uint16_t inputTpid = 0x8100, outputTpid = 0x8100;
    unsigned downstreamMode = 0;
    void clear() { rows_.clear(); }  // the rows from the start as well
    // Adds, replaces or, where the row is a deletion, deletes.
    void set(const TaggingRow& row);
    const std::vector<TaggingRow>& rows() const { return rows_; }
    Tagging upstream(const Frame& frame) const;
    // Of a frame from this bridge.
    Tagging downstream(const Frame& frame, unsigned bridge, Untaken untaken) const;

private:
    // Which fields of the added tags a downstream mode looks at and takes back.
    struct Inversion {
        bool vid, pbits;
    };
    bool fits(const TagField& filter, const VlanTag& tag) const;
    bool fits(const TaggingRow& row, const Frame& frame) const;
    VlanTag written(const TaggingRow& row, const TagField& treatment, const Frame& frame) const;
    bool isAsWritten(const TaggingRow& row, const TagField& treatment, const VlanTag& tag, Inversion by) const;
    bool isTreated(const TaggingRow& row, const Frame& frame, Inversion by) const;
    VlanTag restored(const TaggingRow& row, std::size_t place, const Frame& frame, Inversion by) const;
    Frame inverse(const TaggingRow& row, const Frame& frame, Inversion by) const;
    // By the first row that wrote the compared fields of the frame; none where no row did.
    std::optional<Tagging> inverted(const Frame& frame, unsigned bridge, Inversion compared, Inversion restored) const;
    // No row but the three from the start: nobody has set, replaced or deleted one.
    bool isUntouched() const;
    std::vector<TaggingRow> rows_;  // in the order in which they are tried
};

}  // namespace vorn_onu::audit

#endif
