// T-CONTs, GEM ports and the link as sections of a board that is kept.
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

kept::Sections sections() {
    return {kept::mapSection<unsigned, Tcont>(kept::kTconts, tcontsInPlace),
            kept::mapSection<unsigned, GemPort>(kept::kGemPorts, gemPortsInPlace),
            kept::single<Link>(
                kept::kPonLink, [] { return Link{adminStateInPlace()}; },
                [](Link link) { adminStateInPlace() = link.adminState; })};
}

}  // namespace pon

}  // namespace virtual_onu
