// vorn-onu diff BEFORE AFTER
#include "running/state/Diff.h"

#include <stdexcept>

#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "running/io/Files.h"
#include "running/io/JsonCheck.h"
#include "running/io/Output.h"

namespace vorn_onu {

namespace {

constexpr std::size_t kMaxStateSize = std::size_t{256} << 20U;  // bytes; a long trace is most of it

// What the JSON library says without its own number: "key 'network' not found".
std::string reasonOf(const std::exception& error) {
    const std::string text = error.what();
    const auto end = text.find("] ");
    return text.empty() || text.front() != '[' || end == std::string::npos ? text : text.substr(end + 2);
}

// exec writes a device's state, run writes one beside the steps.
DeviceState stateIn(const std::string& path) {
    const std::string text = readFile(path, kMaxStateSize);
    if (const auto fault = checkJson(text)) throw FileProblem(path, fault->what);
    const nlohmann::json whole = nlohmann::json::parse(text);
    try {
        return readState(whole.contains("device") ? whole.at("device") : whole);
    } catch (const std::exception& error) {
        throw FileProblem(path, "is no device state: " + reasonOf(error));
    }
}

std::string jsonText(const nlohmann::json& value) {
    return value.dump(2, ' ', true, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace

int DiffCommand::run() const {
    try {
        const auto lines = differences(stateIn(before), stateIn(after));
        std::string text;
        for (const auto& line : lines) text += line + "\n";
        const nlohmann::json all = {{"before", before}, {"after", after}, {"differences", lines}};
        print(json ? jsonText(all) : lines.empty() ? "no difference\n" : text);
        return lines.empty() ? kHeld : kNotHeld;
    } catch (const std::exception& error) {
        complain(error.what());
        return kBadInput;
    }
}

}  // namespace vorn_onu
