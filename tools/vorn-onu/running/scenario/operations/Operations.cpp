#include "running/scenario/operations/Operations.h"

#include <algorithm>
#include <iterator>

namespace vorn_onu {

const std::vector<Operation>& operations() {
    static const std::vector<Operation> rows = [] {
        std::vector<Operation> all = halOperations();
        for (Operation& row : deviceOperations()) all.push_back(std::move(row));
        return all;
    }();
    return rows;
}

std::string shortOperationName(const std::string& name) {
    for (const char* prefix : {"vorn_omci_hal_", "vorn_hal_", "vorn_", "VornBrcmHal::", "EtherSwitchBcm380::"}) {
        const std::string text = prefix;
        if (name.compare(0, text.size(), text) == 0) return name.substr(text.size());
    }
    return name;
}

const Operation* findOperation(const std::string& name) {
    const auto& rows = operations();
    auto row = std::find_if(rows.begin(), rows.end(), [&](const Operation& o) { return o.name == name; });
    if (row == rows.end())
        row = std::find_if(rows.begin(), rows.end(),
                           [&](const Operation& o) { return shortOperationName(o.name) == name; });
    return row == rows.end() ? nullptr : &*row;
}

std::vector<std::string> operationNames() {
    std::vector<std::string> names;
    for (const Operation& row : operations()) names.push_back(row.name);
    return names;
}

}  // namespace vorn_onu
