#include "src/restart/Services.h"

#include <algorithm>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "src/restart/Killing.h"

namespace restart_tests {

namespace {

std::string withGemPorts(std::string text, const nlohmann::json& ports) {
    for (const std::string name : {"gem=", "gem:="}) {
        const std::size_t at = text.find(name);
        if (at == std::string::npos) continue;
        std::size_t end = 0;
        const unsigned long index = std::stoul(text.substr(at + name.size()), &end);
        for (const auto& port : ports)
            if (port["index"] == index) text.replace(at + name.size(), end, "port " + port["portId"].dump());
    }
    return text;
}

}  // namespace

nlohmann::json ServicesFixture::serving() {
    const auto json = leveledDevice();
    nlohmann::json kept;
    for (const auto& device : json["network"]["devices"])
        kept["devices"][device["name"].get<std::string>()] = device["master"];
    for (const auto& table : json["vlan"]["tables"]) {
        std::vector<std::string> rules;
        for (const auto& rule : table["rules"]) rules.push_back(withGemPorts(rule["text"], json["pon"]["gemPorts"]));
        std::sort(rules.begin(), rules.end());
        if (!rules.empty())
            kept["rules"][table["device"].get<std::string>() + table["direction"].get<std::string>() +
                          table["tags"].dump()] = rules;
    }
    for (const auto& tcont : json["pon"]["tconts"])
        if (!tcont["allocId"].is_null()) kept["tconts"][tcont["index"].dump()] = tcont["allocId"];
    for (const auto& port : json["pon"]["gemPorts"])
        kept["ports"][port["portId"].dump()] = {port["allocId"], port["enabled"]};
    for (const auto& object : json["runner"]["objects"]) kept["runner"][object["name"].get<std::string>()] = object;
    nlohmann::json& ingress = kept["ingressQueue"] = json["runner"]["ingressQueue"];
    if (ingress.contains("keys")) std::sort(ingress["keys"].begin(), ingress["keys"].end());
    return kept;
}

nlohmann::json ServicesFixture::neverDied(const Calls& calls) {
    startOver();
    Daemon daemon(folder_);
    make(daemon, calls);
    return serving();
}

std::string difference(const nlohmann::json& one, const nlohmann::json& other) {
    return nlohmann::json::diff(one, other).dump(1);
}

}  // namespace restart_tests
