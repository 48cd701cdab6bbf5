// A look at JSON text before it is read: linear in its length, and without the recursion that a text of brackets alone
// could turn into an overflow.
#ifndef VORN_ONU_JSON_CHECK_H
#define VORN_ONU_JSON_CHECK_H

#include <optional>
#include <string>
#include <vector>

namespace vorn_onu {

constexpr std::size_t kMaxJsonDepth = 64;   // of objects and lists in one another
constexpr std::size_t kMaxJsonKeys = 2000;  // of one object

struct JsonFault {
    std::string what;               // "line 2, column 12: is not JSON: ..."
    std::vector<std::string> path;  // of a key that occurs twice: "steps", "[3]", "advance"; otherwise empty
};

// What is wrong with the text: no JSON, nested too deeply, an object with too many keys, a number that is too large, or
// a key that occurs twice in one object, of which JSON readers would take one without a word.
std::optional<JsonFault> checkJson(const std::string& text);

}  // namespace vorn_onu

#endif
