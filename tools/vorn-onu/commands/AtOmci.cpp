// vorn-onu at NAME omci and mib: the messages of an OLT at a board that runs, and its MIB.
#include <chrono>

#include <nlohmann/json.hpp>

#include "commands/AtTrying.h"
#include "commands/Commands.h"
#include "living/Client.h"
#include "running/io/Output.h"
#include "running/io/Pause.h"
#include "views/MessageLog.h"
#include "views/MessageRecord.h"
#include "views/MibText.h"

namespace vorn_onu {

namespace {

constexpr std::chrono::milliseconds kBetweenPolls{200};

void showRecord(const nlohmann::json& record, const LogChoice& choice, bool asJson) {
    const Played played = playedOf(record);
    if (!asJson)
        print(logText(played, choice));
    else if (choice.shows(played.message))
        print(record.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) + "\n");
}

}  // namespace

int AtOmciCommand::run() const {
    return tried("omci", [this] {
        LogChoice choice = logChoice(classes, instances, types);
        choice.values = values;
        choice.bytes = bytes;
        living::Client client(name);
        auto after = client.ask({{"do", "messages"}, {"most", 0}}).at("handled").get<std::uint64_t>();
        after = last != 0 && last < after ? after - last : 0;
        bool first = true;
        do {
            const nlohmann::json reply = client.ask({{"do", "messages"}, {"after", after}});
            for (const nlohmann::json& record : reply.at("messages")) {
                const auto number = record.at("number").get<std::uint64_t>();
                if (!first && number > after + 1)
                    remark(std::to_string(number - after - 1) + " messages came too fast to be shown");
                first = false;
                after = number;
                showRecord(record, choice, json);
            }
            first = false;
            if (following && reply.at("messages").empty()) pause(kBetweenPolls);
        } while (following && lostOutput().empty());
        return kHeld;
    });
}

int AtMibCommand::run() const {
    return tried("mib", [this] {
        living::Client client(name);
        const nlohmann::json whole = client.ask({{"do", "mib"}}).at("mib");
        nlohmann::json mib = nlohmann::json::array();
        for (const nlohmann::json& entity : whole)
            if (classId < 0 || entity.at("class") == classId) mib.push_back(entity);
        const Terminal terminal = Terminal::of(stdout);
        if (json)
            print(nlohmann::json{{"mib", mib}}.dump(1, ' ', true, nlohmann::json::error_handler_t::replace) + "\n");
        else
            print(tree ? mibTree(mib, terminal) : mibTable(mib, terminal));
        return kHeld;
    });
}

}  // namespace vorn_onu
