#include "running/scenario/BoardSettings.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "running/scenario/fields/Field.h"

namespace vorn_onu {

namespace {

using virtual_onu::VirtualOnu;
using Settings = std::vector<BoardSetting>;

using Read = std::function<void(const Json& value, Settings& settings)>;

struct SettingRow {
    std::string key;
    std::string doc;
    Json schema;
    Read read;
};

const Numbers kWord{};
const Json kText = {{"type", "string"}};
const Json kObject = {{"type", "object"}};
const Json kTexts = {{"type", "array"}, {"items", kText}};

template <typename Look>
void forEachMember(const Json& value, Look look) {
    if (!value.is_object()) throw Problem("must be an object, not " + shown(value));
    for (const auto& [key, member] : value.items()) {
        const std::string name = key;
        const Json one = member;
        inField(name, [&] { look(name, one); });
    }
}

// One setting for every member of an object.
Read eachMember(BoardSetting (*settingOf)(const std::string& key, const Json& member)) {
    return [settingOf](const Json& value, Settings& settings) {
        forEachMember(value, [&](const auto& key, const Json& member) { settings.push_back(settingOf(key, member)); });
    };
}

// The key of an object that stands for a number: "4".
unsigned numberKey(const std::string& key, unsigned highest) {
    const bool digits = !key.empty() && key.size() < 8 && key.find_first_not_of("0123456789") == std::string::npos;
    if (!digits || std::stoul(key) > highest) throw Problem("the name must be a number 0.." + std::to_string(highest));
    return static_cast<unsigned>(std::stoul(key));
}

// A setting that is one text.
SettingRow textRow(const char* key, const char* doc, void (VirtualOnu::*set)(const std::string&)) {
    return {key, doc, kText, [set](const Json& value, Settings& settings) {
                const std::string text = textOf(value);
                settings.emplace_back([set, text](VirtualOnu& onu) { (onu.*set)(text); });
            }};
}

void readBaseMac(const Json& value, Settings& settings) {
    const std::string mac = textOf(value);
    const bool good = mac.size() == 17 && std::count(mac.begin(), mac.end(), ':') == 5 && bytesOf(value).size() == 6;
    if (!good) throw Problem("must be a MAC address like \"02:10:20:30:40:50\", not " + shown(value));
    settings.emplace_back([mac](VirtualOnu& onu) { onu.setBaseMac(mac); });
}

void readOptics(const Json& value, Settings& settings) {
    struct Optics {
        std::uint16_t receive, transmit;
    };
    Optics optics{};
    readFields(&optics,
               {field("receive", &Optics::receive, kWord, otherwise(0), "raw receive reading"),
                field("transmit", &Optics::transmit, kWord, otherwise(0), "raw transmit reading")},
               value);
    const bool receive = value.contains("receive"), transmit = value.contains("transmit");
    if (!receive && !transmit) throw Problem("must have \"receive\" or \"transmit\"");
    settings.emplace_back([=](VirtualOnu& onu) {
        const auto now = onu.optics();
        onu.setOptics(receive ? optics.receive : now.first, transmit ? optics.transmit : now.second);
    });
}

void readBitErrors(const Json& value, Settings& settings) {
    constexpr double kTerabit = 1e12;
    const double ratio = value.is_number() ? value.get<double>() : -1;
    if (!(ratio >= 0 && ratio <= 1)) throw Problem("must be a number from 0 to 1 like 1e-5, not " + shown(value));
    const auto perTerabit = static_cast<std::uint64_t>(std::llround(ratio * kTerabit));
    settings.emplace_back([perTerabit](VirtualOnu& onu) { onu.setBitErrors(perTerabit); });
}

BoardSetting linkOf(const std::string& device, const Json& state) {
    // RFC 2863's, as the kernel writes them; "" for what the device's flags say.
    static const std::vector<std::string> kStates = {"up",      "down",    "unknown", "notpresent", "lowerlayerdown",
                                                     "testing", "dormant", ""};
    const std::string text = textOf(state);
    if (std::find(kStates.begin(), kStates.end(), text) == kStates.end())
        throw Problem("must be a link state like \"up\" or \"down\", not " + shown(state) + suggestion(text, kStates));
    return [device, text](VirtualOnu& onu) { onu.setOperState(device, text); };
}

BoardSetting phyOf(const std::string& port, const Json& state) {
    struct Phy {
        std::uint8_t link;
        std::int32_t speed, duplex;
    };
    const auto number = static_cast<int>(numberKey(port, 7));
    Phy phy{};
    readFields(&phy,
               {field("link", &Phy::link, Numbers{0, 1, {}, true}, otherwise(true), "the link is up"),
                field("speed", &Phy::speed, Numbers{0, 1000000}, otherwise(0), "in the PHY's encoding"),
                field("duplex", &Phy::duplex, Numbers{0, 255}, otherwise(0), "in the PHY's encoding")},
               state);
    return [number, phy](VirtualOnu& onu) { onu.setPhy(number, phy.link != 0, phy.speed, phy.duplex); };
}

BoardSetting imageOf(const std::string& image, const Json& version) {
    const auto number = static_cast<int>(numberKey(image, 2));
    return [number, text = textOf(version)](VirtualOnu& onu) { onu.setImageVersion(number, text); };
}

BoardSetting persistentOf(const std::string& key, const Json& stored) {
    return [key, text = textOf(stored)](VirtualOnu& onu) { onu.setPersistent(key, text); };
}

BoardSetting fileOf(const std::string& path, const Json& content) {
    if (content.is_null()) return [path](VirtualOnu& onu) { onu.removeFile(path); };
    return [path, text = textOf(content)](VirtualOnu& onu) { onu.writeFile(path, text); };
}

void readStatistics(const Json& value, Settings& settings) {
    forEachMember(value, [&settings](const std::string& device, const Json& counters) {
        forEachMember(counters, [&](const std::string& key, const Json& counter) {
            const std::uint64_t number = numberOf(counter, 0, 0xFFFFFFFFFFFFFFFF);
            settings.emplace_back([device, key, number](VirtualOnu& onu) { onu.setStatistic(device, key, number); });
        });
    });
}

void readGemCounters(const Json& value, Settings& settings) {
    forEachMember(value, [&settings](const std::string& port, const Json& counters) {
        const unsigned gemPort = numberKey(port, 65535);
        forEachMember(counters, [&](const std::string& key, const Json& counter) {
            const unsigned index = numberKey(key, 9);
            const auto number = static_cast<std::uint32_t>(numberOf(counter, 0, 0xFFFFFFFF));
            settings.emplace_back([=](VirtualOnu& onu) { onu.setGemCounter(gemPort, index, number); });
        });
    });
}

void readGemPorts(const Json& value, Settings& settings) {
    struct Port {
        std::uint16_t gemPort, index, allocId;
    };
    if (!value.is_array()) throw Problem("must be a list, not " + shown(value));
    for (std::size_t i = 0; i < value.size(); ++i) {
        inField("[" + std::to_string(i) + "]", [&] {
            Port port{};
            readFields(&port,
                       {field("gemPort", &Port::gemPort, kWord, required(), "GEM port id"),
                        field("index", &Port::index, kWord, required(), "its GEM index"),
                        field("allocId", &Port::allocId, kWord, otherwise(65535), "alloc-id of its T-CONT")},
                       value[i]);
            settings.emplace_back([port](VirtualOnu& onu) { onu.addGemPort(port.gemPort, port.index, port.allocId); });
        });
    }
}

BoardSetting deviceOf(const std::string& name, const Json& realDevice) {
    if (realDevice == false) return [name](VirtualOnu& onu) { onu.removeDevice(name); };
    const std::string real = realDevice == true ? "" : textOf(realDevice);
    return [name, real](VirtualOnu& onu) { onu.addDevice(name, real); };
}

BoardSetting snoopingOf(const std::string& bridge, const Json& on) {
    return [bridge, wanted = truthOf(on)](VirtualOnu& onu) {
        if (!onu.setMulticastSnooping(bridge, wanted)) throw std::runtime_error("there is no bridge " + bridge);
    };
}

void readOutOfRange(const Json& value, Settings& settings) {
    using virtual_onu::OutOfRangeFilters;
    static const std::map<std::string, OutOfRangeFilters> kWays = {{"never", OutOfRangeFilters::NeverMatch},
                                                                   {"any", OutOfRangeFilters::MatchAnything},
                                                                   {"masked", OutOfRangeFilters::Masked}};
    const auto way = kWays.find(textOf(value));
    if (way == kWays.end()) throw Problem("must be \"never\", \"any\" or \"masked\", not " + shown(value));
    const OutOfRangeFilters behaviour = way->second;
    settings.emplace_back([behaviour](VirtualOnu& onu) { onu.setOutOfRangeFilters(behaviour); });
}

BoardSetting refusalOf(const std::string& name, const Json& times) {
    const auto number = static_cast<int>(numberOf(times, 0, 1000));
    return [name, number](VirtualOnu& onu) { onu.refuseDeletion(name, number); };
}

BoardSetting processOf(const std::string& pid, const Json& command) {
    const auto number = static_cast<int>(numberKey(pid, 4194304));
    return [number, text = textOf(command)](VirtualOnu& onu) { onu.addProcess(number, text); };
}

void readCommands(const Json& value, Settings& settings) {
    if (!value.is_array()) throw Problem("must be a list of commands, not " + shown(value));
    for (const Json& one : value) {
        const std::string command = textOf(one);
        // The shell of the virtual ONU, not this machine's: it is in front of the C library's.
        settings.emplace_back([command](VirtualOnu&) {
            if (std::system(command.c_str()) != 0) return;  // NOLINT(cert-env33-c,concurrency-mt-unsafe)
        });
    }
}

const std::vector<SettingRow>& rows() {
    static const std::vector<SettingRow> table = {
        {"baseMac", "the board's MAC address", kText, readBaseMac},
        textRow("serialNumber", "serial number in the NVRAM", &VirtualOnu::setSerialNumber),
        textRow("partNumber", "part number in the NVRAM", &VirtualOnu::setPartNumber),
        {"bootedPartition", "number of the booted partition", kWord.schema(),
         [](const Json& value, Settings& settings) {
             const auto number = static_cast<int>(kWord.read(value));
             settings.emplace_back([number](VirtualOnu& onu) { onu.setBootedPartition(number); });
         }},
        {"imageVersions", "software versions: {\"1\": \"4.2.0\"}", kObject, eachMember(imageOf)},
        {"optics", "raw optical readings: {\"receive\", \"transmit\"}, or one of them", kObject, readOptics},
        {"bitErrorRatio", "wrong bits of all bits that come down, before correction: 1e-5",
         Json{{"type", "number"}, {"minimum", 0}, {"maximum", 1}}, readBitErrors},
        {"links", "operational state of devices: {\"eth0\": \"down\"}", kObject, eachMember(linkOf)},
        {"phys", "PHY ports: {\"4\": {\"link\", \"speed\", \"duplex\"}}", kObject, eachMember(phyOf)},
        {"persistent", "persistent values: {\"linkState\": \"standby\"}", kObject, eachMember(persistentOf)},
        {"files", "device files: {\"/var/mcpd.conf\": \"text\"}; null removes one", kObject, eachMember(fileOf)},
        {"statistics", "device counters: {\"veip0\": {\"rx_bytes\": 1}}", kObject, readStatistics},
        {"gemCounters", "GEM port counters: {\"1001\": {\"6\": 5}}", kObject, readGemCounters},
        {"gemPorts", "GEM ports that the driver has already: [{\"gemPort\", \"index\"}]", Json{{"type", "array"}},
         readGemPorts},
        {"devices",
         "network devices of others: {\"veip0.1\": true}; a text names the device under it, false removes it", kObject,
         eachMember(deviceOf)},
        {"multicastSnooping", "IGMP and MLD snooping of bridges: {\"br3\": false}", kObject, eachMember(snoopingOf)},
        {"outOfRangeFilters",
         "what filters on p-bits above 7 and VIDs above 4095 do: never match, match anything, or are masked",
         Json{{"enum", {"never", "any", "masked"}}}, readOutOfRange},
        {"refuseDeletion", "devices that cannot be deleted so many times: {\"veip0.1\": 2}", kObject,
         eachMember(refusalOf)},
        {"processes", "running processes: {\"123\": \"dhcpc -i br3.2\"}", kObject, eachMember(processOf)},
        {"commands", "shell commands that another part of the device runs", kTexts, readCommands},
    };
    return table;
}

BoardSetting mustExist(const std::string& device) {
    return [device](VirtualOnu& onu) {
        if (onu.deviceExists(device)) return;
        std::vector<std::string> names;
        for (const auto& one : onu.devices()) names.push_back(one.name);
        throw std::runtime_error("there is no device " + device + suggestion(device, names));
    };
}

// Looked at before anything is changed. What the same step makes is not there yet.
Settings devicesThatMustExist(const Json& value) {
    Settings checks;
    if (value.contains("commands")) return checks;
    const Json made = value.value("devices", Json::object());
    for (const char* key : {"links", "statistics"}) {
        const Json named = value.value(key, Json::object());
        for (const auto& [device, unused] : named.items())
            if (!made.contains(device)) checks.push_back(mustExist(device));
    }
    return checks;
}

}  // namespace

std::vector<BoardSetting> boardSettings(const Json& value) {
    std::vector<std::string> known;
    for (const SettingRow& row : rows()) known.push_back(row.key);
    checkKeys(value, known);
    Settings settings;
    for (const auto& [key, setting] : value.items()) {
        const std::string name = key;
        const Json one = setting;
        const auto row = std::find_if(rows().begin(), rows().end(), [&](const SettingRow& r) { return r.key == name; });
        inField(name, [&] { row->read(one, settings); });
    }
    const Settings checks = devicesThatMustExist(value);
    settings.insert(settings.begin(), checks.begin(), checks.end());
    return settings;
}

Json boardSchema() {
    Json properties = Json::object();
    for (const SettingRow& row : rows()) {
        properties[row.key] = row.schema;
        properties[row.key]["description"] = row.doc;
    }
    return objectSchema(properties);
}

}  // namespace vorn_onu
