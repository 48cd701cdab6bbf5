// What a row of extended VLAN tagging filters on and adds (G.988 9.3.13).
#ifndef OMCI_SERVICES_ROW_PARTS_H
#define OMCI_SERVICES_ROW_PARTS_H

#include "omci/message/TaggingRow.h"

namespace omci::services {

constexpr TagFilter kAny{TagFilter::kAnyPriority, TagFilter::kAnyVid, TagFilter::kAnyTpid};

inline bool hasTag(const TagFilter& filter) {
    return filter.priority != TagFilter::kNoTag;
}
inline bool namesPriority(const TagFilter& filter) {
    return filter.priority < TagFilter::kAnyPriority;
}
inline bool namesVid(const TagFilter& filter) {
    return filter.priority != TagFilter::kDefaultRule && filter.vid < TagFilter::kAnyVid;
}

inline unsigned tagsOf(const TaggingRow& row) {
    return static_cast<unsigned>(row.kind());
}
inline unsigned addedBy(const TaggingRow& row) {
    return (row.outerTag.adds() ? 1U : 0U) + (row.innerTag.adds() ? 1U : 0U);
}

}  // namespace omci::services

#endif
