// What is wrong with a scenario: one line that says what, and what is allowed instead.
#ifndef VORN_ONU_PROBLEM_H
#define VORN_ONU_PROBLEM_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "running/io/Words.h"

namespace vorn_onu {

// Keeps the keys in the order of the file, so that what is shown reads like what was written.
using Json = nlohmann::ordered_json;

class Problem : public std::runtime_error {
public:
    explicit Problem(const std::string& text) : std::runtime_error(text) {}
    Problem(std::string field, const std::string& text) : std::runtime_error(text), field_(std::move(field)) {}
    // The same problem, seen from the object or list that holds the value: "[2]" or "pbitMap".
    Problem within(const std::string& outer) const;
    const std::string& field() const { return field_; }  // "pbitMap[2].queue"; "" when it concerns no field
    // field 'x': what is wrong
    std::string text() const;

private:
    std::string field_;
};

// Runs work on the value of a field; what goes wrong there names the field.
template <typename Work>
auto inField(const std::string& name, Work&& work) {
    try {
        return work();
    } catch (const Problem& problem) {
        throw problem.within(name);
    }
}

// The value as a message shows it: short, on one line.
std::string shown(const Json& value);
// ", did you mean 'x'?" with the closest of the known names; "" when none is close.
std::string suggestion(const std::string& name, const std::vector<std::string>& known);
// "unknown field: ..." with the closest of the known names, for a key that is not among them.
std::string unknownName(const std::string& name, const std::vector<std::string>& known);
// Throws unless value is an object with known keys only.
void checkKeys(const Json& value, const std::vector<std::string>& known);
// Readers that throw a Problem for any other type.
std::string textOf(const Json& value);
bool truthOf(const Json& value);
std::uint64_t numberOf(const Json& value, std::uint64_t lowest, std::uint64_t highest);

}  // namespace vorn_onu

#endif
