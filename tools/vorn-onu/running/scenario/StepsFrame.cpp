// Steps that send a frame through the device and say where it must leave.
#include <algorithm>
#include <memory>

#include <nlohmann/json.hpp>

#include "running/scenario/Scenario.h"
#include "running/scenario/fields/Field.h"
#include "running/scenario/fields/FrameFields.h"
#include "running/state/WalkWords.h"

namespace vorn_onu {

namespace {

using virtual_onu::Exit;
using virtual_onu::VlanTag;
using virtual_onu::Walk;

// One expected exit. What is not given is not compared.
struct ExpectedExit {
    std::string at;
    std::optional<std::vector<VlanTag>> tags;
    std::optional<std::uint16_t> etherType;
    std::optional<unsigned> gemPort, tcont, queue;

    bool fits(const Exit& exit) const {
        const auto same = [](const auto& expected, const auto& actual) { return !expected || actual == expected; };
        return exit.device == at && same(tags, exit.frame.tags) && same(etherType, exit.frame.etherType) &&
               same(gemPort, exit.gemPort) && same(tcont, exit.tcont) && same(queue, exit.queue);
    }
    std::string words() const {
        std::string text = gemPort ? "GEM port " + std::to_string(*gemPort) : at;
        if (tcont) text += ", T-CONT " + std::to_string(*tcont);
        if (queue) text += ", queue " + std::to_string(*queue);
        if (tags) {
            std::string frame;
            for (const VlanTag& tag : *tags) frame += (frame.empty() ? "" : ", ") + tag.text();
            text += ": " + (frame.empty() ? "untagged" : frame);
        }
        return text;
    }
};

struct FrameExpectation {
    std::optional<std::vector<ExpectedExit>> leaves;
    std::optional<std::string> dropped;  // part of the reason; "" for any
};

std::optional<unsigned> optionalNumber(const Json& value, const char* key, std::int64_t highest) {
    if (!value.contains(key)) return std::nullopt;
    return inField(key, [&] { return static_cast<unsigned>(Numbers{0, highest}.read(value[key])); });
}

ExpectedExit exitOf(const Json& value) {
    checkKeys(value, {"at", "tags", "etherType", "gemPort", "tcont", "queue"});
    if (!value.contains("at")) throw Problem("at", "is missing; it names the port: \"sid0\", \"gpondef\", \"veip0\"");
    ExpectedExit exit;
    exit.at = inField("at", [&] { return textOf(value["at"]); });
    if (value.contains("tags")) exit.tags = inField("tags", [&] { return tagsOf(value["tags"]); });
    if (value.contains("etherType"))
        exit.etherType = inField("etherType", [&] { return etherTypeOf(value["etherType"]); });
    exit.gemPort = optionalNumber(value, "gemPort", 65535);
    exit.tcont = optionalNumber(value, "tcont", 65535);
    exit.queue = optionalNumber(value, "queue", 65535);
    return exit;
}

FrameExpectation expectationOf(const Json& value) {
    checkKeys(value, {"leaves", "dropped"});
    if (value.contains("leaves") == value.contains("dropped"))
        throw Problem("must have one of the fields leaves and dropped");
    FrameExpectation expectation;
    if (value.contains("dropped")) {
        const Json& dropped = value["dropped"];
        if (dropped != true && !dropped.is_string())
            throw Problem("dropped", "must be true or a part of the reason, not " + shown(dropped));
        expectation.dropped = dropped.is_string() ? dropped.get<std::string>() : "";
        return expectation;
    }
    const Json& leaves = value["leaves"];
    if (!leaves.is_array() || leaves.empty()) throw Problem("leaves", "must be a list of exits, not " + shown(leaves));
    expectation.leaves.emplace();
    inField("leaves", [&] {
        for (std::size_t i = 0; i < leaves.size(); ++i)
            expectation.leaves->push_back(inField("[" + std::to_string(i) + "]", [&] { return exitOf(leaves[i]); }));
    });
    return expectation;
}

// Whether every exit can be given one expected exit of its own, and none is left. Exits are few: trying is cheap.
bool pairsUp(const std::vector<ExpectedExit>& expected, std::vector<Exit> actual) {
    if (expected.size() != actual.size()) return false;
    if (expected.empty()) return true;
    const std::vector<ExpectedExit> rest(expected.begin() + 1, expected.end());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (!expected.front().fits(actual[i])) continue;
        std::vector<Exit> others = actual;
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(i));
        if (pairsUp(rest, std::move(others))) return true;
    }
    return false;
}

bool isDroppedFor(const Walk& walk, const std::string& reason) {
    return walk.exits.empty() && std::any_of(walk.drops.begin(), walk.drops.end(), [&](const auto& drop) {
               return dropWords(walk, drop).find(reason) != std::string::npos;
           });
}

void check(const FrameExpectation& expectation, const SentFrame& sent, std::vector<Failure>& failures) {
    const Walk& walk = sent.walk;
    std::vector<std::string> expected, actual;
    if (expectation.leaves) {
        if (pairsUp(*expectation.leaves, walk.exits)) return;
        for (const ExpectedExit& exit : *expectation.leaves) expected.push_back("leaves at " + exit.words());
    } else {
        if (isDroppedFor(walk, *expectation.dropped)) return;
        expected.push_back("is dropped" + (expectation.dropped->empty() ? "" : ": " + *expectation.dropped));
    }
    for (const Exit& exit : walk.exits) actual.push_back("leaves at " + exitWords(exit));
    for (const auto& drop : walk.drops) actual.push_back(dropWords(walk, drop));
    actual.emplace_back("on this way:");
    for (const std::string& line : hopLines(walk)) actual.push_back("  " + line);
    if (walk.hops.empty()) actual.back() = "before any look-up";
    failures.push_back({sent.input.text(), expected, actual});
}

void parseFrame(Step& step, const Json& whole, ParseContext&) {
    const FrameInput input = inField("frame", [&] { return frameInputOf(whole["frame"]); });
    std::optional<FrameExpectation> expectation;
    if (whole.contains("expect")) expectation = inField("expect", [&] { return expectationOf(whole["expect"]); });
    step.words = input.text();
    step.run = [input, expectation](RunContext& context) {
        StepResult done;
        const auto sent = std::make_shared<SentFrame>();
        *sent = {input, input.send(context.onu, virtual_onu::Learning::On)};
        done.answer = verdictOf(sent->walk);
        if (expectation) check(*expectation, *sent, done.failures);
        done.sent = sent;
        return done;
    };
}

Json expectationSchema() {
    const Json number = {{"type", "integer"}, {"minimum", 0}, {"maximum", 65535}};
    const Json exit = objectSchema({{"at", {{"type", "string"}}},
                                    {"tags", tagsSchema()},
                                    {"etherType", etherTypeSchema()},
                                    {"gemPort", number},
                                    {"tcont", number},
                                    {"queue", number}},
                                   Json::array({"at"}));
    const Json dropped = {{"anyOf", Json::array({Json{{"const", true}}, Json{{"type", "string"}}})}};
    Json schema =
        objectSchema({{"leaves", {{"type", "array"}, {"minItems", 1}, {"items", exit}}}, {"dropped", dropped}});
    schema["minProperties"] = schema["maxProperties"] = 1;
    return schema;
}

}  // namespace

std::vector<StepKind> frameSteps() {
    StepKind frame{
        "frame",
        "sends a frame into a port or a GEM port; \"expect\" says where its copies leave, or that it is dropped",
        {"expect"},
        frameInputSchema(),
        parseFrame};
    frame.companionSchemas["expect"] = expectationSchema();
    return {frame};
}

}  // namespace vorn_onu
