// Expectations on lists: rules and default actions of tables, flows, runner objects, commands, messages, files.
#include <algorithm>
#include <iterator>
#include <sstream>

#include <nlohmann/json.hpp>

#include "running/scenario/expect/Expect.h"
#include "running/scenario/expect/ExpectList.h"
#include "running/scenario/fields/Field.h"
#include "running/state/MessageText.h"

namespace vorn_onu {

namespace {

using virtual_onu::VirtualOnu;

// ---- plain lists ----

struct ListRow {
    std::string key;
    std::string doc;
    std::function<Lines(const VirtualOnu&)> lines;
    std::size_t Mark::*position;  // of lists that only grow; null for the others
};

template <typename Range, typename Text>
Lines linesOf(const Range& all, Text text) {
    Lines lines;
    for (const auto& one : all) lines.push_back(text(one));
    return lines;
}

Lines flowLines(const VirtualOnu& onu) {
    return linesOf(onu.flows(), [](const auto& flow) { return flow.first + " -> " + flow.second; });
}

Lines commandLines(const VirtualOnu& onu) {
    return linesOf(onu.shellCommands(), [](const auto& command) { return command.text; });
}

Lines strangeCommandLines(const VirtualOnu& onu) {
    Lines lines;
    for (const auto& command : onu.shellCommands())
        if (!command.understood) lines.push_back(command.text);
    return lines;
}

Lines messageLines(const VirtualOnu& onu) {
    return linesOf(onu.sentMessages(), [](const auto& sent) { return messageText(sent.type, sent.payload); });
}

Lines processLines(const VirtualOnu& onu) {
    return linesOf(onu.processes(), [](const auto& process) { return process.second; });
}

Lines packetLines(const VirtualOnu& onu) {
    return linesOf(onu.packetFrames(), [](const auto& frame) { return hexText({frame.begin(), frame.end()}); });
}

Lines learnedLines(const VirtualOnu& onu) {
    return linesOf(onu.learnedAddresses(), [](const auto& one) { return one.bridge + " " + one.mac + " " + one.port; });
}

std::vector<ListRow> listRows() {
    return {
        {"flows", "VLAN flows: \"gpon3.3 -> sid1.3\"", flowLines, nullptr},
        {"runnerObjects", "runner objects: \"ingress_class/dir=us,index=12\"",
         [](const VirtualOnu& onu) { return onu.runnerObjects(); }, nullptr},
        {"ingressKeys", "keys of the ingress queue", [](const VirtualOnu& onu) { return onu.ingressQueueKeys(); },
         nullptr},
        {"ipRules", "policy routing rules: \"from 10.0.0.5 table 12\"",
         [](const VirtualOnu& onu) { return onu.ipRules(); }, nullptr},
        {"ipRoutes", "routes: \"default via 10.0.0.1 dev br3.2 table 12\"",
         [](const VirtualOnu& onu) { return onu.ipRoutes(); }, nullptr},
        {"learned", "addresses that bridges have learned: \"br3 02:00:5e:00:00:01 sid0.3\"", learnedLines, nullptr},
        {"processes", "command lines of the running processes", processLines, nullptr},
        {"commands", "shell commands that were run, in order", commandLines, &Mark::commands},
        {"packetFrames", "frames sent through packet sockets, as hex text", packetLines, nullptr},
        {"commandsNotUnderstood", "shell commands that the virtual ONU does not know", strangeCommandLines, nullptr},
        {"messages", "messages to the gateway, in order: \"service up veip0 vlan 100 pbits 5 gem 1001 index 1 type 0\"",
         messageLines, &Mark::messages},
    };
}

ExpectRow rowOf(const ListRow& row) {
    const bool grows = row.position != nullptr;
    const auto read = [row, grows](const Json& value, const ParseContext& context) -> Check {
        const ListExpectation expected(value, grows, context);
        return [row, expected](const RunContext& run, std::vector<Failure>& failures) {
            Lines lines = row.lines(run.onu);
            if (!expected.since().empty()) {
                const std::size_t from = std::min(run.marks.at(expected.since()).*(row.position), lines.size());
                lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(from));
            }
            expected.check(row.key, lines, failures);
        };
    };
    return {row.key, row.doc, ListExpectation::schema(grows), read};
}

// ---- rule tables ----

// "sid1 rx 0" or "sid1 rx 0-2": the tables for frames with so many tags.
struct Tables {
    std::string device;
    unsigned direction = virtual_onu::kReceive;
    unsigned firstTags = 0, lastTags = 0;
};

Tables tablesOf(const std::string& name) {
    std::istringstream words(name);
    Tables tables;
    std::string direction, tags, more;
    words >> tables.device >> direction >> tags;
    const bool range = tags.size() == 3 && tags[1] == '-';
    const auto isDigit = [](char c) { return c >= '0' && c <= '4'; };
    const bool good = (direction == "rx" || direction == "tx") && (tags.size() == 1 || range) &&
                      isDigit(tags.front()) && isDigit(tags.back()) && !(words >> more);
    if (!good) throw Problem("the name must be device, rx or tx, and number of tags: \"sid1 rx 0\", \"gpon3 tx 0-2\"");
    tables.direction = direction == "rx" ? virtual_onu::kReceive : virtual_onu::kTransmit;
    tables.firstTags = static_cast<unsigned>(tags.front() - '0');
    tables.lastTags = static_cast<unsigned>(tags.back() - '0');
    return tables;
}

std::string nameOf(const Tables& tables, unsigned tags) {
    const char* direction = tables.direction == virtual_onu::kReceive ? " rx " : " tx ";
    return tables.device + direction + std::to_string(tags);
}

Check rulesCheck(const std::string& name, const Json& value, const ParseContext& context) {
    const Tables tables = tablesOf(name);
    const ListExpectation expected(value, false, context);
    return [tables, expected](const RunContext& run, std::vector<Failure>& failures) {
        for (unsigned tags = tables.firstTags; tags <= tables.lastTags; ++tags)
            expected.check("rules of " + nameOf(tables, tags), run.onu.ruleTexts(tables.device, tables.direction, tags),
                           failures);
    };
}

// "drop", or the VLAN device that frames without a rule go to; false when the table has no default action.
Check defaultCheck(const std::string& name, const Json& value, const ParseContext&) {
    const Tables tables = tablesOf(name);
    const std::string expected = value == false ? "(none)" : textOf(value);
    return [tables, expected](const RunContext& run, std::vector<Failure>& failures) {
        for (unsigned tags = tables.firstTags; tags <= tables.lastTags; ++tags) {
            const auto action = run.onu.defaultAction(tables.device, tables.direction, tags);
            const std::string actual = !action ? "(none)" : action->action == 1 ? "drop" : action->device;
            if (actual != expected) failures.push_back({"default of " + nameOf(tables, tags), {expected}, {actual}});
        }
    };
}

// ---- files ----

Check fileCheck(const std::string& path, const Json& value, const ParseContext& context) {
    if (value == false) {
        return [path](const RunContext& run, std::vector<Failure>& failures) {
            if (run.onu.readFile(path)) failures.push_back({"file " + path, {"does not exist"}, {"exists"}});
        };
    }
    const ListExpectation expected(value, false, context);
    return [path, expected](const RunContext& run, std::vector<Failure>& failures) {
        const auto content = run.onu.readFile(path);
        if (!content) {
            failures.push_back({"file " + path, {"exists"}, {"does not exist"}});
            return;
        }
        Lines lines;
        std::istringstream text(*content);
        for (std::string line; std::getline(text, line);) lines.push_back(line);
        expected.check("file " + path, lines, failures);
    };
}

// ---- rows whose members are expectations by name ----

using MemberCheck = Check (*)(const std::string& name, const Json& value, const ParseContext& context);

ExpectRow namedRow(const char* key, const char* doc, const Json& memberSchema, MemberCheck member) {
    const auto read = [member](const Json& value, const ParseContext& context) -> Check {
        if (!value.is_object()) throw Problem("must be an object, not " + shown(value));
        std::vector<Check> checks;
        for (const auto& [name, one] : value.items()) {
            const std::string itsName = name;
            const Json its = one;
            checks.push_back(inField(itsName, [&] { return member(itsName, its, context); }));
        }
        return [checks](const RunContext& run, std::vector<Failure>& failures) {
            for (const Check& check : checks) check(run, failures);
        };
    };
    return {key, doc, Json{{"type", "object"}, {"additionalProperties", memberSchema}}, read};
}

// ---- state against a mark ----

Lines stateLines(const std::string& text, const Lines& except) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        const bool excepted = std::any_of(except.begin(), except.end(),
                                          [&](const auto& part) { return line.find(part) != std::string::npos; });
        if (!excepted) lines.push_back(line);
    }
    return lines;
}

Lines onlyIn(Lines a, Lines b) {
    std::sort(a.begin(), a.end());
    std::sort(b.begin(), b.end());
    Lines only;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(only));
    return only;
}

// The name of a mark, or {"mark", "except"}: what is known to stay.
Check readNothingLeft(const Json& value, const ParseContext& context) {
    Lines except;
    if (value.is_object()) {
        checkKeys(value, {"mark", "except"});
        if (!value.contains("mark")) throw Problem("mark", "is missing; it names the moment to compare with");
        if (value.contains("except"))
            inField("except", [&] {
                if (!value["except"].is_array()) throw Problem("must be a list of texts");
                for (const Json& part : value["except"]) except.push_back(textOf(part));
            });
    }
    const std::string name = textOf(value.is_object() ? value["mark"] : value);
    if (context.marks.count(name) == 0) throw Problem("there is no mark '" + name + "' before this step");
    return [name, except](const RunContext& run, std::vector<Failure>& failures) {
        const Lines before = stateLines(run.marks.at(name).state, except);
        const Lines now = stateLines(run.onu.stateText(), except);
        const Lines missing = onlyIn(before, now);
        const Lines extra = onlyIn(now, before);
        if (missing.empty() && extra.empty()) return;
        failures.push_back({"the device as it was at '" + name + "', and nothing else", missing, extra});
    };
}

Json nothingLeftSchema() {
    const Json text = {{"type", "string"}};
    const Json withExceptions =
        objectSchema({{"mark", text}, {"except", {{"type", "array"}, {"items", text}}}}, Json::array({"mark"}));
    return {{"anyOf", Json::array({text, withExceptions})}};
}

}  // namespace

std::vector<ExpectRow> listExpectations() {
    std::vector<ExpectRow> rows;
    for (const ListRow& row : listRows()) rows.push_back(rowOf(row));
    rows.push_back(namedRow("rules",
                            "rules by table: {\"sid1 rx 0\": [\"any | push vid0:=100\"]}; \"0-2\" for several tables",
                            ListExpectation::schema(false), rulesCheck));
    rows.push_back(namedRow("defaults", "default actions by table: \"drop\", a device, or false",
                            Json{{"anyOf", Json::array({Json{{"type", "string"}}, Json{{"const", false}}})}},
                            defaultCheck));
    rows.push_back(namedRow("files", "lines of device files by path; false: there is no such file",
                            Json{{"anyOf", Json::array({ListExpectation::schema(false), Json{{"const", false}}})}},
                            fileCheck));
    rows.push_back({"nothingLeftSince",
                    "the device is as it was at this mark; \"except\" names lines of its state that may differ",
                    nothingLeftSchema(), readNothingLeft});
    return rows;
}

}  // namespace vorn_onu
