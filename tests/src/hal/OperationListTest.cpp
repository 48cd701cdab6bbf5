// The list of operations, the public header and the virtual table say the same: daemons that are built already have the
// table by heart.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "hal/VornHal.h"

namespace {

constexpr std::size_t kDestructors = 2;  // in front of the operations: in place, and with its memory

template <typename Result, typename... Arguments>
Result resultOf(Result (VornHal::*)(Arguments...));

// Slot of a virtual function, from 1. A pointer to it holds its offset in the table; but on ARM one bit more marks it.
template <typename Member>
std::size_t slotOf(Member member) {
    std::size_t words[2] = {};
    static_assert(sizeof words == sizeof member);
    std::memcpy(words, &member, sizeof words);
    return (words[0] & ~std::size_t{1}) / sizeof(void*) - kDestructors + 1;
}

// Calls as such a daemon does, with zeros and null pointers.
template <typename Result, typename... Arguments>
bool answersNothing(VornHal& hal, std::size_t slot, Result (VornHal::*)(Arguments...)) {
    void* const* table = nullptr;
    std::memcpy(&table, static_cast<void*>(&hal), sizeof table);
    Result (*function)(VornHal*, Arguments...) = nullptr;
    std::memcpy(&function, &table[slot - 1 + kDestructors], sizeof function);
    return function(&hal, Arguments{}...) == Result{};
}

struct Row {
    std::size_t slot;
    std::string name;
    std::size_t slotInTable;
    bool (*answersNothing)(VornHal& hal, std::size_t slot);
};
// A row whose parameters are not those of the header does not compile.
const std::vector<Row> kRows = {
#define OPERATION(slot, name, parameters, arguments, fields, changes, doc)                           \
    {slot, #name, slotOf<decltype(resultOf(&VornHal::name))(VornHal::*) parameters>(&VornHal::name), \
     [](VornHal& hal, std::size_t at) { return answersNothing(hal, at, &VornHal::name); }},
#include "running/scenario/operations/Operations.def"
};

TEST(OperationList, HasEveryOperationInTheSlotThatItHasInTheHeader) {
    std::map<std::size_t, std::string> names;
    for (const Row& row : kRows) {
        EXPECT_EQ(row.slot, row.slotInTable) << row.name;
        EXPECT_TRUE(names.emplace(row.slot, row.name).second) << row.name << " has the slot of " << names[row.slot];
    }
    std::vector<std::string> listed, declared;
    for (const auto& [slot, name] : names) listed.push_back(name);

    std::ifstream header(VORN_HAL_HEADER);
    const std::regex declaration("^    virtual [a-z:]+ ([A-Za-z_]+)\\(.*");
    std::smatch match;
    for (std::string line; std::getline(header, line);)
        if (std::regex_match(line, match, declaration)) declared.push_back(match[1]);
    EXPECT_EQ(listed, declared);
}

TEST(OperationList, ABoardThatOverridesNothingAnswersZeroInEverySlot) {
    class Nothing : public VornHal {
    } nothing;
    for (const Row& row : kRows) EXPECT_TRUE(row.answersNothing(nothing, row.slot)) << row.name;
}

}  // namespace
