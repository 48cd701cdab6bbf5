#include "running/scenario/expect/Expect.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace vorn_onu {

ExpectRow::ExpectRow(std::string rowKey, std::string rowDoc, Json rowSchema, Read rowRead)
    : key(std::move(rowKey)), doc(std::move(rowDoc)), schema(std::move(rowSchema)), read(std::move(rowRead)) {}

const std::vector<ExpectRow>& expectRows() {
    static const std::vector<ExpectRow> rows = [] {
        std::vector<ExpectRow> all = objectExpectations();
        for (ExpectRow& row : listExpectations()) all.push_back(std::move(row));
        return all;
    }();
    return rows;
}

Check parseExpectations(const Json& value, const ParseContext& context) {
    std::vector<std::string> known;
    for (const ExpectRow& row : expectRows()) known.push_back(row.key);
    checkKeys(value, known);
    if (value.empty()) throw Problem("must expect something; there are " + joined(known));
    std::vector<Check> checks;
    for (const auto& [key, member] : value.items()) {
        const std::string name = key;
        const Json one = member;
        const auto row = std::find_if(expectRows().begin(), expectRows().end(),
                                      [&](const ExpectRow& candidate) { return candidate.key == name; });
        checks.push_back(inField(name, [&] { return row->read(one, context); }));
    }
    return [checks](const RunContext& run, std::vector<Failure>& failures) {
        for (const Check& check : checks) check(run, failures);
    };
}

}  // namespace vorn_onu
