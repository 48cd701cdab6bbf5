// Expectations on things that have a name and properties, and on single numbers.
#include <algorithm>
#include <iterator>
#include <optional>
#include <type_traits>

#include <nlohmann/json.hpp>

#include "StateJson.h"
#include "platform/kit_numbers.h"
#include "running/scenario/expect/Expect.h"
#include "running/scenario/fields/Field.h"

namespace vorn_onu {

namespace {

using virtual_onu::VirtualOnu;

// What a property may be compared with.
enum class Type { Truth, Number, Text, Texts };

struct Property {
    std::string name;
    Type type;
    bool ordered = true;  // of Texts
};

// A kind of thing: how one is found by its name, and what can be said of it.
struct Things {
    std::string key;   // "devices"
    std::string noun;  // "device"
    std::string doc;
    std::vector<Property> properties;
    std::function<std::optional<Json>(const VirtualOnu&, const std::string& name)> find;
    std::function<void(const std::string& name)> checkName;  // throws a Problem
};

void checkValue(const Property& property, const Json& value) {
    switch (property.type) {
        case Type::Truth:
            truthOf(value);
            return;
        case Type::Number:
            numberOf(value, 0, 0xFFFFFFFF);
            return;
        case Type::Text:
            textOf(value);
            return;
        case Type::Texts:
            if (!value.is_array()) throw Problem("must be a list of texts, not " + shown(value));
            for (const Json& one : value) textOf(one);
            return;
    }
}

std::vector<std::string> shownLines(const Json& value) {
    if (!value.is_array()) return {value.is_string() ? value.get<std::string>() : value.dump()};
    std::string line;
    for (const Json& one : value) line += (line.empty() ? "" : " ") + one.get<std::string>();
    return {line.empty() ? "(none)" : line};
}

bool sameTexts(Json a, Json b, bool ordered) {
    if (!ordered && a.is_array() && b.is_array()) {
        std::sort(a.begin(), a.end());
        std::sort(b.begin(), b.end());
    }
    return a == b;
}

Check thingCheck(const Things& things, const std::string& name, const Json& expected) {
    return [things, name, expected](const RunContext& context, std::vector<Failure>& failures) {
        const std::string what = things.noun + " " + name;
        const std::optional<Json> actual = things.find(context.onu, name);
        const bool wanted = expected != false;
        if (actual.has_value() != wanted) {
            failures.push_back({what, {wanted ? "exists" : "does not exist"}, {wanted ? "does not exist" : "exists"}});
            return;
        }
        if (!expected.is_object()) return;
        for (const Property& property : things.properties) {
            if (!expected.contains(property.name)) continue;
            const Json& one = expected[property.name];
            if (sameTexts(one, (*actual)[property.name], property.ordered)) continue;
            failures.push_back({what + ", " + property.name, shownLines(one), shownLines((*actual)[property.name])});
        }
    };
}

// {"sid1.3": {...}, "sid2.3": false}
Check readThings(const Things& things, const Json& value) {
    if (!value.is_object()) throw Problem("must be an object of " + things.key + " by name, not " + shown(value));
    std::vector<std::string> known;
    for (const Property& property : things.properties) known.push_back(property.name);
    std::vector<Check> checks;
    for (const auto& [key, member] : value.items()) {
        const std::string name = key;
        Json expected = member;
        inField(name, [&] {
            things.checkName(name);
            // The members of a bridge may be there as they are.
            if (things.key == "bridges" && expected.is_array()) expected = Json{{"members", expected}};
            if (!expected.is_boolean()) {
                if (!expected.is_object()) throw Problem("must be true, false or an object of " + joined(known));
                checkKeys(expected, known);
            }
            for (const Property& property : things.properties)
                if (expected.is_object() && expected.contains(property.name))
                    inField(property.name, [&] { checkValue(property, expected[property.name]); });
        });
        checks.push_back(thingCheck(things, name, expected));
    }
    return [checks](const RunContext& context, std::vector<Failure>& failures) {
        for (const Check& check : checks) check(context, failures);
    };
}

Json schemaOf(Type type) {
    switch (type) {
        case Type::Truth:
            return {{"type", "boolean"}};
        case Type::Number:
            return {{"type", "integer"}};
        case Type::Text:
            return {{"type", "string"}};
        case Type::Texts:
            break;
    }
    return {{"type", "array"}, {"items", {{"type", "string"}}}};
}

ExpectRow rowOf(const Things& things) {
    Json properties = Json::object();
    for (const Property& property : things.properties) properties[property.name] = schemaOf(property.type);
    Json ways = Json::array({Json{{"type", "boolean"}}, objectSchema(properties)});
    if (things.key == "bridges") ways.push_back(schemaOf(Type::Texts));
    const Json schema = {{"type", "object"}, {"additionalProperties", {{"anyOf", ways}}}};
    return {things.key, things.doc, schema,
            [things](const Json& value, const ParseContext&) { return readThings(things, value); }};
}

// ---- the kinds of things ----

void anyName(const std::string&) {}

// Names that are numbers: "1001", or "0.3" with two parts.
std::vector<unsigned> numbersOf(const std::string& name, std::size_t parts) {
    std::vector<unsigned> numbers;
    std::string digits;
    for (const char c : name + ".") {
        if (c != '.') {
            digits += c;
            continue;
        }
        const bool number =
            !digits.empty() && digits.size() <= 5 && digits.find_first_not_of("0123456789") == std::string::npos;
        if (!number) {
            numbers.clear();
            break;
        }
        numbers.push_back(static_cast<unsigned>(std::stoul(digits)));
        digits.clear();
    }
    if (numbers.size() != parts)
        throw Problem(parts == 1 ? "the name must be a number"
                                 : "the name must be two numbers: \"0.3\" is queue 3 of T-CONT 0");
    return numbers;
}
void oneNumber(const std::string& name) {
    numbersOf(name, 1);
}
void twoNumbers(const std::string& name) {
    numbersOf(name, 2);
}

// What the state tells of a record, but for its name, lists of other records and counters by name.
template <typename Record>
std::vector<Property> propertiesOf(std::vector<Property> more = {}) {
    std::vector<Property> properties;
    const auto add = [&](const char* name, const auto& value) {
        using Value = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<Value, bool>)
            properties.push_back({name, Type::Truth});
        else if constexpr (std::is_arithmetic_v<Value>)
            properties.push_back({name, Type::Number});
        else if constexpr (std::is_same_v<Value, std::string>)
            properties.push_back({name, Type::Text});
        else if constexpr (std::is_same_v<Value, std::vector<std::string>>)
            properties.push_back({name, Type::Texts});
    };
    const Record record{};
    virtual_onu::forEachField<Record>(virtual_onu::kInState,
                                      [&](const auto& field) { add(field.name, record.*field.member); });
    properties.erase(properties.begin());
    std::move(more.begin(), more.end(), std::back_inserter(properties));
    return properties;
}

template <typename Record>
std::optional<Json> stateOf(const std::optional<Record>& record) {
    return record ? std::optional<Json>(virtual_onu::stateJson<Json>(*record)) : std::nullopt;
}

std::optional<Json> findDevice(const VirtualOnu& onu, const std::string& name) {
    return stateOf(onu.device(name));
}

std::optional<Json> findBridge(const VirtualOnu& onu, const std::string& name) {
    const auto bridge = onu.bridge(name);
    auto state = stateOf(bridge);
    if (state) (*state)["members"] = bridge->members();
    return state;
}

std::optional<Json> findGemPort(const VirtualOnu& onu, const std::string& name) {
    const auto port = onu.gemPort(numbersOf(name, 1)[0]);
    auto state = stateOf(port);
    if (!state) return state;
    (*state)["framesSent"] = port->counters.at(0);
    (*state)["octetsSent"] = port->counters.at(1);
    (*state)["framesReceived"] = port->counters.at(2);
    (*state)["octetsReceived"] = port->counters.at(3);
    (*state)["framesDiscarded"] = port->counters.at(6);
    return state;
}

// The counters by the names of the kernel's files.
std::optional<Json> findStatistics(const VirtualOnu& onu, const std::string& name) {
    const auto d = onu.device(name);
    if (!d) return std::nullopt;
    return Json(d->statistics);
}

// A T-CONT is there once an alloc-id is bound to it or it has queues.
std::optional<Json> findTcont(const VirtualOnu& onu, const std::string& name) {
    const auto t = onu.tcont(numbersOf(name, 1)[0]);
    const unsigned unbound = virtual_onu::pon::kNoAllocId;
    if (!t || (t->allocId == unbound && t->queues.empty() && !t->trafficManaged)) return std::nullopt;
    auto state = stateOf(t);
    (*state)["allocId"] = t->allocId;
    (*state)["queues"] = t->queues.size();
    return state;
}

std::optional<Json> findQueue(const VirtualOnu& onu, const std::string& name) {
    const auto numbers = numbersOf(name, 2);
    const auto t = onu.tcont(numbers[0]);
    if (!t) return std::nullopt;
    for (const auto& q : t->queues) {
        if (q.id != numbers[1]) continue;
        auto state = virtual_onu::stateJson<Json>(q);
        state["mode"] = q.schedMode == TMCTL_SCHED_WEIGHTED_ROUND_ROBIN ? "weighted" : "strict";
        return state;
    }
    return std::nullopt;
}

std::optional<Json> findPhy(const VirtualOnu& onu, const std::string& name) {
    const int port = static_cast<int>(numbersOf(name, 1)[0]);
    const auto [speed, duplex] = onu.phyMode(port);
    return virtual_onu::stateJson<Json>(virtual_onu::board::Phy{port, onu.phyHasLink(port), speed, duplex});
}

std::optional<Json> findPersistent(const VirtualOnu& onu, const std::string& name) {
    const auto value = onu.persistent(name);
    if (!value) return std::nullopt;
    return Json{{"value", *value}};
}

std::vector<Property> numbers(std::initializer_list<const char*> names) {
    std::vector<Property> properties;
    for (const char* name : names) properties.push_back({name, Type::Number});
    return properties;
}

std::vector<Things> kinds() {
    return {
        {"devices", "device", "network devices by name: true, false or some of their properties",
         propertiesOf<virtual_onu::NetworkDevice>(), findDevice, anyName},
        {"bridges", "bridge",
         "bridges by name: the list of their members in any order, false, or some of their properties",
         propertiesOf<virtual_onu::Bridge>({{"members", Type::Texts, false}}), findBridge, anyName},
        {"gemPorts", "GEM port", "GEM ports by port id",
         propertiesOf<virtual_onu::GemPort>(
             numbers({"framesSent", "octetsSent", "framesReceived", "octetsReceived", "framesDiscarded"})),
         findGemPort, oneNumber},
        {"tconts", "T-CONT", "T-CONTs by index; false: nothing is bound to it and it has no queues",
         propertiesOf<virtual_onu::Tcont>({{"queues", Type::Number}}), findTcont, oneNumber},
        {"queues", "queue", "queues by T-CONT and number: \"0.3\"; mode is strict or weighted",
         propertiesOf<virtual_onu::Queue>({{"mode", Type::Text}}), findQueue, twoNumbers},
        {"statistics", "counters of device", "what devices have counted, by the names of the kernel's files",
         numbers({"rx_packets", "rx_bytes", "rx_dropped", "rx_errors", "multicast", "tx_packets", "tx_bytes",
                  "tx_dropped", "tx_errors"}),
         findStatistics, anyName},
        {"phys", "PHY", "PHY ports by number", propertiesOf<virtual_onu::board::Phy>(), findPhy, oneNumber},
        {"persistent",
         "persistent value",
         "persistent values by key",
         {{"value", Type::Text}},
         findPersistent,
         anyName},
    };
}

// ---- single numbers ----

ExpectRow numberRow(const char* key, const char* doc,
                    const std::function<std::optional<std::uint64_t>(const VirtualOnu&)>& get) {
    const std::string name = key;
    return {
        key, doc, Json{{"type", "integer"}, {"minimum", 0}},
        [name, get](const Json& value, const ParseContext&) -> Check {
            const std::uint64_t expected = numberOf(value, 0, 0xFFFFFFFF);
            return [name, get, expected](const RunContext& context, std::vector<Failure>& failures) {
                const auto actual = get(context.onu);
                if (actual && *actual == expected) return;
                failures.push_back({name, {std::to_string(expected)}, {actual ? std::to_string(*actual) : "(none)"}});
            };
        }};
}

}  // namespace

std::vector<ExpectRow> objectExpectations() {
    std::vector<ExpectRow> rows;
    for (const Things& things : kinds()) rows.push_back(rowOf(things));
    using Number = std::optional<std::uint64_t>;
    rows.push_back(numberRow("ruleCount", "rules in all tables together",
                             [](const VirtualOnu& onu) -> Number { return onu.ruleCount(); }));
    rows.push_back(numberRow("adminState", "administrative state that the GPON link was started in",
                             [](const VirtualOnu& onu) -> Number { return onu.adminState(); }));
    rows.push_back(numberRow("waitedMs", "milliseconds that waits have asked for",
                             [](const VirtualOnu& onu) -> Number { return onu.slept(); }));
    rows.push_back(
        numberRow("openDescriptors", "device files and character devices that are open",
                  [](const VirtualOnu& onu) -> Number { return static_cast<std::uint64_t>(onu.openDescriptors()); }));
    return rows;
}

}  // namespace vorn_onu
