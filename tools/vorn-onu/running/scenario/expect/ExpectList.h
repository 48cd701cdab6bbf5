// Expectations on lists of lines: rules of a table, flows, commands, messages.
#ifndef VORN_ONU_EXPECT_LIST_H
#define VORN_ONU_EXPECT_LIST_H

#include <optional>
#include <string>
#include <vector>

#include "running/scenario/expect/Context.h"

namespace vorn_onu {

using Lines = std::vector<std::string>;

// Written as a list, which is then the whole of it in its order, or as an object with one or several of
//   "are": the whole list; "contain": each of these texts is in some line; "inOrder": the same, one after the other;
//   "absent": no line has this text in it; "count": number of lines.
class ListExpectation {
public:
    // Throws a Problem. withSince: "since" may name a mark, for lists that only grow.
    ListExpectation(const Json& value, bool withSince, const ParseContext& context);
    void check(const std::string& what, const Lines& lines, std::vector<Failure>& failures) const;
    const std::string& since() const { return since_; }  // "" for the start of the scenario

    static Json schema(bool withSince);

private:
    std::optional<Lines> are_;
    Lines contain_, inOrder_, absent_;
    std::optional<std::size_t> count_;
    std::string since_;
};

}  // namespace vorn_onu

#endif
