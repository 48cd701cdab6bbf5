#include "living/TypedStep.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "running/io/JsonCheck.h"
#include "running/scenario/Scenario.h"

namespace vorn_onu::living {

namespace {

// JSON where it reads as such, otherwise the text.
Json valueOf(const std::string& text) {
    if (text.empty() || checkJson(text)) return text;
    return Json::parse(text);
}

// links."sid0.3" is links, sid0.3.
std::vector<std::string> pathOf(const std::string& text) {
    std::vector<std::string> path(1);
    bool quoted = false;
    for (const char c : text) {
        if (c == '"')
            quoted = !quoted;
        else if (c == '.' && !quoted)
            path.emplace_back();
        else
            path.back() += c;
    }
    const bool empty = std::any_of(path.begin(), path.end(), [](const std::string& name) { return name.empty(); });
    if (quoted || empty) throw Problem("'" + text + "' is no name of a field: names with dots between them");
    return path;
}

void put(Json& object, const std::vector<std::string>& path, const Json& value, const std::string& word) {
    Json* place = &object;
    for (const std::string& name : path) {
        if (!place->is_object() && !place->is_null()) throw Problem("'" + word + "' leads into a value that is none");
        place = &(*place)[name];
    }
    if (!place->is_null()) throw Problem("'" + word + "' gives a field twice");
    *place = value;
}

// Where KEY ends in KEY=VALUE; npos where the word is none.
std::size_t equalsIn(const std::string& word) {
    if (word.empty() || word.front() == '{' || word.front() == '[') return std::string::npos;
    return word.find('=');
}

const StepKind& kindOf(const std::string& name) {
    const auto& kinds = stepKinds();
    const auto found = std::find_if(kinds.begin(), kinds.end(), [&](const StepKind& kind) { return kind.key == name; });
    if (found == kinds.end()) throw Problem("there is no kind of step '" + name + "'");
    return *found;
}

}  // namespace

Json stepOf(const std::string& name, const std::vector<std::string>& words) {
    const StepKind& kind = kindOf(name);
    Json step = Json::object(), value;
    bool isMessageFault = false;  // "fault omci drop=3 reboot" is {"fault": {"omci": {"drop": 3, "reboot": true}}}
    for (const std::string& word : words) {
        const std::size_t equals = equalsIn(word);
        if (name == "fault" && word == "omci" && value.is_null()) {
            isMessageFault = true;
            continue;
        }
        if (isMessageFault) {
            const bool plain = equals == std::string::npos;
            std::vector<std::string> path = pathOf(plain ? word : word.substr(0, equals));
            path.insert(path.begin(), "omci");
            put(value, path, plain ? Json(true) : valueOf(word.substr(equals + 1)), word);
            continue;
        }
        if (equals == std::string::npos) {
            if (!value.is_null()) throw Problem("'" + word + "' is one word too many: there is a value already");
            value = valueOf(word);
            continue;
        }
        const auto path = pathOf(word.substr(0, equals));
        const bool beside = name == "call" ||
                            std::find(kind.companions.begin(), kind.companions.end(), path[0]) != kind.companions.end();
        if (!beside && !value.is_object() && !value.is_null())
            throw Problem("'" + word + "' does not go with the value " + shown(value));
        put(beside ? step : value, path, valueOf(word.substr(equals + 1)), word);
    }
    if (value.is_null()) throw Problem("is missing: " + kind.doc);
    Json whole = {{name, value}};
    for (const auto& [key, one] : step.items()) whole[key] = one;
    return whole;
}

}  // namespace vorn_onu::living
