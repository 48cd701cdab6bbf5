// vorn-onu ls: the boards that run.
#include <algorithm>

#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "living/BoardSocket.h"
#include "living/Client.h"
#include "running/io/Output.h"
#include "running/io/Printed.h"
#include "views/Terminal.h"

namespace vorn_onu {

namespace {

constexpr int kHelloMs = 2000;

std::string programOf(const nlohmann::json& board) {
    std::string text;
    for (const auto& word : board.value("program", nlohmann::json::array()))
        text += (text.empty() ? "" : " ") + word.get<std::string>();
    return oneLine(text);
}

std::string tapsOf(const nlohmann::json& board) {
    std::string text;
    for (const auto& tap : board.value("taps", nlohmann::json::array()))
        text += (text.empty() ? "" : ", ") + tap.get<std::string>();
    return oneLine(text);
}

// Those that answer. What a killed run has left does not.
nlohmann::json boards() {
    auto found = nlohmann::json::array();
    for (const std::string& name : living::knownNames()) {
        try {
            nlohmann::json one = living::Client(name, kHelloMs).ask({{"do", "hello"}});
            for (const char* key : {"ok", "id", "v"}) one.erase(key);
            found.push_back(std::move(one));
        } catch (const living::Refusal& refusal) {
            complain(name + ": " + refusal.what());
        } catch (const std::runtime_error&) {
            continue;
        }
    }
    return found;
}

}  // namespace

int LsCommand::run() const {
    const nlohmann::json found = boards();
    if (json) {
        print(found.dump(2, ' ', true, nlohmann::json::error_handler_t::replace) + "\n");
        return kHeld;
    }
    const bool realPackets =
        std::any_of(found.begin(), found.end(), [](const auto& one) { return one.contains("taps"); });
    std::vector<std::string> headings = {"name", "command", "process", "since", "runs"};
    if (realPackets) headings.emplace_back("real packets");
    Table table(headings);
    for (const auto& one : found) {
        std::vector<std::string> cells = {one.value("name", ""), one.value("kind", ""),
                                          std::to_string(one.value("process", 0)), one.value("since", ""),
                                          programOf(one)};
        if (realPackets) cells.push_back(tapsOf(one));
        table.row(cells);
    }
    print(table.empty() ? "No board runs.\n" : table.text(Terminal::of(stdout), 0));
    return kHeld;
}

}  // namespace vorn_onu
