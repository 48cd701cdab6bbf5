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

struct Link : persistence::Single<std::optional<unsigned>> {
    template <typename Record>
    static void fields(Record& record, Thing& adminState) {
        record.number("adminState", adminState);
    }
    static Thing get() { return adminStateInPlace(); }
    static void put(Thing adminState) { adminStateInPlace() = adminState; }
};

}  // namespace

persistence::Sections sections() {
    return {persistence::section<persistence::InMap<unsigned, Tcont, tcontsInPlace>>(persistence::kTconts),
            persistence::section<persistence::InMap<unsigned, GemPort, gemPortsInPlace>>(persistence::kGemPorts),
            persistence::section<Link>(persistence::kPonLink)};
}

}  // namespace pon

}  // namespace virtual_onu
