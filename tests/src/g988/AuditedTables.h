// The planner's tables in the auditor's model of the standard, which shares no code with the planner, and what it says
// of a frame at UNI port 0.
#ifndef TESTS_G988_AUDITED_TABLES_H
#define TESTS_G988_AUDITED_TABLES_H

#include <optional>
#include <vector>

#include "BRCM/BCM968580/DATA/g988/Tables.h"
#include "views/audit/TaggingTable.h"
#include "views/audit/VlanFilter.h"

vorn_onu::audit::TaggingRow auditedRow(const g988::TaggingRow& row);

class AuditedTables {
public:
    using Frame = virtual_onu::Frame;
    struct Up {
        unsigned gemIndex = 0, queue = 0;
        Frame frame;
        bool operator==(const Up& other) const {
            return gemIndex == other.gemIndex && queue == other.queue && frame == other.frame;
        }
    };

    explicit AuditedTables(const g988::Tables& tables);
    // Of a frame that comes in at the port, and of one that comes down; nothing when it is dropped.
    std::optional<Up> up(const Frame& frame) const;
    std::optional<Frame> down(unsigned gemIndex, const Frame& frame) const;

private:
    struct Side {
        unsigned bridge;
        g988::PonPort port;
        vorn_onu::audit::VlanFilter filter;
        bool takesProtocol(const Frame& frame) const;
        bool owns(unsigned gemIndex) const;
    };
    unsigned bridgeFor(const Frame& frame) const;

    std::optional<vorn_onu::audit::TaggingTable> tagging_;
    std::set<std::uint16_t> bridges_;  // of the port
    std::vector<Side> sides_;
};

#endif
