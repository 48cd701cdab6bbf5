// T-CONTs, GEM ports and the link as sections of a board file.
#include <optional>
#include <utility>

#include "Core.h"
#include "Facilities.h"
#include "Section.h"
#include "kit/PonTables.h"

namespace virtual_onu {

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

persistence::Sections sections() {
    return {persistence::mapSection<unsigned, Tcont>(persistence::kTconts, tcontsInPlace),
            persistence::mapSection<unsigned, GemPort>(persistence::kGemPorts, gemPortsInPlace),
            persistence::single<Link>(
                persistence::kPonLink, [] { return Link{adminStateInPlace()}; },
                [](Link link) { adminStateInPlace() = link.adminState; })};
}

}  // namespace pon

}  // namespace virtual_onu
