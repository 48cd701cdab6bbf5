// The expectations that a scenario can state about the device. One row each; parsing, checking and the JSON schema come
// from the rows.
#ifndef VORN_ONU_EXPECT_H
#define VORN_ONU_EXPECT_H

#include <functional>
#include <string>
#include <vector>

#include "running/io/HeldJson.h"
#include "running/scenario/expect/Context.h"

namespace vorn_onu {

using Check = std::function<void(const RunContext& context, std::vector<Failure>& failures)>;

struct ExpectRow {
    using Read = std::function<Check(const Json& value, const ParseContext& context)>;  // throws a Problem
    ExpectRow(std::string key, std::string doc, Json schema, Read read);

    std::string key;
    std::string doc;
    Held<Json> schema;
    Read read;
};
const std::vector<ExpectRow>& expectRows();

std::vector<ExpectRow> objectExpectations();  // ExpectObjects.cpp: devices, bridges, GEM ports, ...
std::vector<ExpectRow> listExpectations();    // ExpectLists.cpp: rules, flows, commands, ...

// All the expectations of {"devices": ..., "rules": ...}. Throws a Problem.
Check parseExpectations(const Json& value, const ParseContext& context);

}  // namespace vorn_onu

#endif
