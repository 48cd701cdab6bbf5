// vorn-onu diff BEFORE AFTER
#include "state/Diff.h"

#include <fstream>
#include <iostream>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "commands/Commands.h"

namespace vorn_onu {

namespace {

// What the JSON library says without its own number: "key 'network' not found".
std::string reasonOf(const std::exception& error) {
    const std::string text = error.what();
    const auto end = text.find("] ");
    return text.empty() || text.front() != '[' || end == std::string::npos ? text : text.substr(end + 2);
}

// exec writes a device's state, run writes one beside the steps.
DeviceState stateIn(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw std::runtime_error(path + ": cannot be opened");
    const nlohmann::json whole = nlohmann::json::parse(file, nullptr, false);
    if (whole.is_discarded()) throw std::runtime_error(path + ": is not JSON");
    try {
        return readState(whole.contains("device") ? whole.at("device") : whole);
    } catch (const std::exception& error) {
        throw std::runtime_error(path + ": is no device state: " + reasonOf(error));
    }
}

}  // namespace

int DiffCommand::run() const {
    try {
        const auto lines = differences(stateIn(before), stateIn(after));
        for (const auto& line : lines) std::cout << line << '\n';
        if (lines.empty()) std::cout << "no difference\n";
        return lines.empty() ? kHeld : kNotHeld;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return kBadInput;
    }
}

}  // namespace vorn_onu
