#include "persistence/BoardCheck.h"

#include <set>

#include "Persistence.h"

namespace virtual_onu::persistence {

namespace {

std::string textIn(const Json& record, const char* field) {
    return record.at(field).get<std::string>();
}

// No two records have the same value there.
std::map<std::string, std::string> keysByValue(const RecordsOf& recordsOf, const char* section, const char* field) {
    std::map<std::string, std::string> keys;
    for (const auto& [key, record] : recordsOf(section)) {
        const Json& value = record.at(field);
        const auto [other, isNew] = keys.emplace(value.is_string() ? value.get<std::string>() : value.dump(), key);
        if (!isNew)
            throw BadBoard(std::string(section) + " " + other->second + " and " + key + " have the same " + field +
                           ", " + shownValue(value));
    }
    return keys;
}

void checkBridges(const RecordsOf& recordsOf, const std::map<std::string, std::string>& devices) {
    std::map<std::string, std::string> masters;  // by port, as the bridges have it
    for (const auto& [key, bridge] : recordsOf(kBridges)) {
        const std::string name = textIn(bridge, "name"), place = std::string(kBridges) + " " + key + ": ";
        const auto& own = recordsOf(kDevices).find(key);
        if (own == recordsOf(kDevices).end() || textIn(own->second, "name") != name)
            throw BadBoard(place + "there is no device " + shownValue(name) + " with this index");
        if (own->second.at("isBridge") != true) throw BadBoard(place + "device " + shownValue(name) + " is no bridge");
        for (const Json& port : bridge.at("ports")) {
            const std::string device = textIn(port, "name");
            if (devices.count(device) == 0) throw BadBoard(place + "there is no device " + shownValue(device));
            if (!masters.emplace(device, name).second)
                throw BadBoard(place + "port " + shownValue(device) + " occurs twice");
        }
    }
    for (const auto& [key, device] : recordsOf(kDevices)) {
        const std::string name = textIn(device, "name"), master = textIn(device, "master");
        const auto found = masters.find(name);
        if ((found == masters.end() ? "" : found->second) != master)
            throw BadBoard(std::string(kDevices) + " " + key + ": the master is " + shownValue(master) +
                           ", but the bridges have it otherwise");
        if (device.at("isBridge") == true && recordsOf(kBridges).count(key) == 0)
            throw BadBoard(std::string(kDevices) + " " + key + ": the bridge " + shownValue(name) + " is missing");
    }
}

// What is given out next has not been given out before.
void checkNext(const RecordsOf& recordsOf, const char* section, const char* counterSection, const char* counter) {
    const auto next = recordsOf(counterSection).at("").at(counter).get<std::uint64_t>();
    for (const auto& entry : recordsOf(section))
        if (std::stoull(entry.first) >= next)
            throw BadBoard(std::string(section) + " " + entry.first + ": is not below " + counter + ", " +
                           std::to_string(next));
}

}  // namespace

void checkBoard(const RecordsOf& recordsOf) {
    const auto devices = keysByValue(recordsOf, kDevices, "name");
    checkBridges(recordsOf, devices);
    checkNext(recordsOf, kDevices, kRouting, "nextIndex");
    checkNext(recordsOf, kRules, kVlanKit, "nextRuleId");
    for (const auto& [key, rule] : recordsOf(kRules))
        if (devices.count(textIn(rule, "device")) == 0)
            throw BadBoard(std::string(kRules) + " " + key + ": there is no device " + shownValue(rule.at("device")));
    keysByValue(recordsOf, kGemPorts, "index");
    for (const auto& [key, port] : recordsOf(kGemPorts))
        if (std::to_string(port.at("portId").get<unsigned>()) != key)
            throw BadBoard(std::string(kGemPorts) + " " + key + ": the port id is another one");
    for (const auto& [key, tcont] : recordsOf(kTconts))
        if (std::to_string(tcont.at("index").get<unsigned>()) != key)
            throw BadBoard(std::string(kTconts) + " " + key + ": the index is another one");
}

}  // namespace virtual_onu::persistence
