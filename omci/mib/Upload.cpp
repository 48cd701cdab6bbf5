#include "omci/mib/Upload.h"

#include <algorithm>

#include "omci/mib/Description.h"

namespace omci {

namespace {

constexpr std::size_t kEntryHeader = 8;   // of an entry in the extended set: size, class, instance, mask
constexpr std::uint64_t kMaxCopies = 64;  // of tables; the one that was read longest ago makes room

// What an upload reports of an entity: no tables, nothing that cannot be read, and of performance monitoring not the
// counters (not certain: some ONUs list them).
AttributeMask uploaded(const Entity& entity) {
    const ClassInfo& info = entity.info();
    const AttributeMask mask = info.readable() & entity.implemented() & static_cast<AttributeMask>(~info.tables());
    return info.isPerformance() ? mask & static_cast<AttributeMask>(maskOf(1) | maskOf(2)) : mask;
}

// The entity as entries of at most room bytes of values, attributes whole and in order; one without values where it has
// none to tell.
void addEntries(const Entity& entity, std::size_t room, std::vector<UploadEntry>& entries) {
    const AttributeMask mask = uploaded(entity);
    UploadEntry entry{entity.key(), 0, {}};
    for (const AttributeInfo& attribute : entity.info().attributes()) {
        if ((mask & maskOf(attribute.number)) == 0) continue;
        if (entry.mask != 0 && entry.values.size() + attribute.size > room) {
            entries.push_back(std::move(entry));
            entry = {entity.key(), 0, {}};
        }
        const ByteView value = entity.bytes(attribute.number);
        entry.mask |= maskOf(attribute.number);
        entry.values.insert(entry.values.end(), value.begin(), value.end());
    }
    entries.push_back(std::move(entry));
}

bool isOver(std::uint64_t lastReadMs, std::uint64_t nowMs) {
    return nowMs - lastReadMs > kCopyLifetimeMs;
}

}  // namespace

std::uint16_t MibUpload::start(const Mib& mib, MessageSet set, std::uint64_t nowMs) {
    const bool extended = set == MessageSet::kExtended;
    std::vector<UploadEntry> entries;
    for (const ClassInfo& info : managedEntities()) {
        if (isDescription(info.id())) continue;
        for (const auto& [instance, entity] : mib.instances(info.id())) {
            addEntries(entity, extended ? kMaxExtendedContent - kEntryHeader : kBaselineUploadValues, entries);
        }
    }
    parts_.clear();
    std::size_t used = 0;
    for (UploadEntry& entry : entries) {
        const std::size_t size = kEntryHeader + entry.values.size();
        if (parts_.empty() || !extended || used + size > kMaxExtendedContent) {
            parts_.emplace_back();
            used = 0;
        }
        used += size;
        parts_.back().entries.push_back(std::move(entry));
    }
    parts_.resize(std::min<std::size_t>(parts_.size(), 0xFFFF));
    lastReadMs_ = nowMs;
    set_ = set;
    return static_cast<std::uint16_t>(parts_.size());
}

UploadEntries MibUpload::part(std::uint16_t number, MessageSet set, std::uint64_t nowMs) {
    if (set != set_) return {};
    if (isOver(lastReadMs_, nowMs)) parts_.clear();
    lastReadMs_ = nowMs;
    return number < parts_.size() ? parts_[number] : UploadEntries{};
}

void TableCopies::start(EntityKey key, AttributeNumber table, Bytes rows, std::uint64_t nowMs) {
    if (copies_.size() >= kMaxCopies) {
        copies_.erase(std::min_element(copies_.begin(), copies_.end(), [](const auto& one, const auto& other) {
            return one.second.lastReadMs < other.second.lastReadMs;
        }));
    }
    copies_[{key, table}] = {std::move(rows), nowMs};
}

std::pair<Result, ByteView> TableCopies::part(EntityKey key, AttributeNumber table, std::uint16_t number,
                                              std::size_t size, std::uint64_t nowMs) {
    const auto found = copies_.find({key, table});
    if (found == copies_.end()) return {Result::kProcessingError, {}};
    if (isOver(found->second.lastReadMs, nowMs)) {
        copies_.erase(found);
        return {Result::kProcessingError, {}};
    }
    found->second.lastReadMs = nowMs;
    const ByteView rows = found->second.rows;
    if (number * size >= rows.size()) return {Result::kParameterError, {}};
    return {Result::kSuccess, rows.part(number * size, size)};
}

}  // namespace omci
