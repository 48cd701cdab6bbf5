// T-CONTs, GEM ports and the link as sections of a board that is kept.
#include <optional>
#include <utility>

#include "Core.h"
#include "Facilities.h"
#include "Section.h"
#include "kit/PonTables.h"

namespace virtual_onu {

template <typename Record>
void describe(Record& record, Queue& queue) {
    record.number("id", queue.id, 0U, pon::kQueuesPerTcont - 1);
    record.number("priority", queue.priority);
    record.number("size", queue.size);
    record.number("weight", queue.weight);
    record.number("schedMode", queue.schedMode);
    record.number("shapingRate", queue.shapingRate);
    record.number("shapingBurst", queue.shapingBurst);
    record.number("frames", queue.frames);
    record.number("octets", queue.octets);
}

template <typename Record>
void describe(Record& record, Tcont& tcont) {
    record.number("index", tcont.index, 0U, pon::kTconts - 1);
    record.number("allocId", tcont.allocId, 0U, 65535U);
    record.flag("trafficManaged", tcont.trafficManaged);
    record.list("queues", tcont.queues, pon::kQueuesPerTcont);
}

template <typename Record>
void describe(Record& record, GemPort& port) {
    record.number("portId", port.portId, 0U, 65535U);
    record.number("index", port.index, 0U, 65535U);
    record.number("allocId", port.allocId, 0U, 65535U);
    record.flag("downstreamOnly", port.downstreamOnly);
    record.flag("enabled", port.enabled);
    record.numbers("counters", port.counters, pon::kCounters);
}

namespace pon {

namespace {

struct Link {
    std::optional<unsigned> adminState;
};

template <typename Record>
void describe(Record& record, Link& link) {
    record.number("adminState", link.adminState);
}

}  // namespace

kept::Sections sections() {
    return {kept::mapSection<unsigned, Tcont>(kept::kTconts, tcontsInPlace),
            kept::mapSection<unsigned, GemPort>(kept::kGemPorts, gemPortsInPlace),
            kept::single<Link>(
                kept::kPonLink, [] { return Link{adminStateInPlace()}; },
                [](Link link) { adminStateInPlace() = link.adminState; })};
}

}  // namespace pon

}  // namespace virtual_onu
