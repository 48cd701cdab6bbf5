// vorn-onu diff BEFORE AFTER
#include "running/state/Diff.h"

#include <stdexcept>

#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "running/io/Files.h"
#include "running/io/JsonCheck.h"
#include "running/io/Output.h"
#include "views/MibText.h"

namespace vorn_onu {

namespace {

constexpr std::size_t kMaxStateSize = std::size_t{256} << 20U;  // bytes; a long trace is most of it

// What the JSON library says without its own number: "key 'network' not found".
std::string reasonOf(const std::exception& error) {
    const std::string text = error.what();
    const auto end = text.find("] ");
    return text.empty() || text.front() != '[' || end == std::string::npos ? text : text.substr(end + 2);
}

nlohmann::json jsonIn(const std::string& path) {
    const std::string text = readFile(path, kMaxStateSize);
    if (text.rfind("{\"format\":\"vorn-onu board\"", 0) == 0)
        throw FileProblem(
            path, "is a board, not a state: vorn-onu exec --board " + path + " --json STATE -- true writes its state");
    if (const auto fault = checkJson(text)) throw FileProblem(path, fault->what);
    return nlohmann::json::parse(text);
}

// What at NAME mib has written; states of devices have no such member.
bool isMib(const nlohmann::json& whole) {
    return whole.is_object() && whole.contains("mib");
}

std::vector<std::string> mibsDiffer(const std::string& before, const nlohmann::json& old, const std::string& after,
                                    const nlohmann::json& now) {
    for (const auto& [path, whole] : {std::make_pair(&before, &old), std::make_pair(&after, &now)})
        if (!isMib(*whole)) throw FileProblem(*path, "is no MIB, as the other file is");
    try {
        return mibDifferences(old["mib"], now["mib"]);
    } catch (const std::exception& error) {
        throw FileProblem(before, "or " + after + " is no MIB: " + reasonOf(error));
    }
}

// exec writes a device's state, run writes one beside the steps.
DeviceState stateIn(const std::string& path, const nlohmann::json& whole) {
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
    const nlohmann::json old = jsonIn(before), now = jsonIn(after);
    std::vector<std::string> lines;
    if (isMib(old) || isMib(now)) {
        lines = mibsDiffer(before, old, after, now);
    } else {
        const auto first = stateIn(before, old);  // told of first, too, if neither is a state
        lines = differences(first, stateIn(after, now));
    }
    std::string text;
    for (const auto& line : lines) text += line + "\n";
    const nlohmann::json all = {{"before", before}, {"after", after}, {"differences", lines}};
    print(json ? jsonText(all) : lines.empty() ? "no difference\n" : text);
    return lines.empty() ? kHeld : kNotHeld;
}

}  // namespace vorn_onu
