// Fields of a record, or what an operation has answered, in one readable line.
#ifndef VORN_ONU_FIELD_WORDS_H
#define VORN_ONU_FIELD_WORDS_H

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace vorn_onu {

// The members in their order, name and value: "bridgeId 3, vlanTciFilterList (VID 100, VID 200 p5), pbitMap (0-7 → GEM
// port 1001 queue 0)". Counters that are at 0 are reported together.
std::string fieldWords(const nlohmann::ordered_json& fields);

// One value: a text as it is, an object or a list in parentheses.
std::string valueWords(const std::string& name, const nlohmann::ordered_json& value);

}  // namespace vorn_onu

#endif
