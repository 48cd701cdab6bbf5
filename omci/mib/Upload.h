// Copies of the MIB that are read part by part: the upload, and tables for get next. A copy is frozen when it is asked
// for and goes when nobody has asked for a part for a minute.
#ifndef OMCI_MIB_UPLOAD_H
#define OMCI_MIB_UPLOAD_H

#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "omci/message/Contents.h"
#include "omci/mib/Mib.h"

namespace omci {

constexpr std::uint64_t kCopyLifetimeMs = 60'000;  // after the last part was read

class MibUpload {
public:
    // Freezes a copy for the message set and answers how many parts it has.
    std::uint16_t start(const Mib& mib, MessageSet set, std::uint64_t nowMs);
    // A part of the copy; nothing behind its end, where there is no copy (any more), and for the other message set,
    // whose parts are others.
    UploadEntries part(std::uint16_t number, MessageSet set, std::uint64_t nowMs);

private:
    std::vector<UploadEntries> parts_;
    MessageSet set_ = MessageSet::kBaseline;
    std::uint64_t lastReadMs_ = 0;
};

class TableCopies {
public:
    // Freezes a copy of a table.
    void start(EntityKey key, AttributeNumber table, Bytes rows, std::uint64_t nowMs);
    // Part number of the copy, cut at size bytes; success, a parameter error behind the end, a processing error where
    // there is no copy (not certain).
    std::pair<Result, ByteView> part(EntityKey key, AttributeNumber table, std::uint16_t number, std::size_t size,
                                     std::uint64_t nowMs);
    void clear() { copies_.clear(); }

private:
    struct Copy {
        Bytes rows;
        std::uint64_t lastReadMs = 0;
    };
    std::map<std::pair<EntityKey, AttributeNumber>, Copy> copies_;
};

}  // namespace omci

#endif
