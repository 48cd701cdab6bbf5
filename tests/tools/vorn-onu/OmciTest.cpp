// vorn-onu omci FILE: what it tells of captures, whole ones and parts of them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <set>
#include <utility>

#include <nlohmann/json.hpp>

#include "VirtualOnu.h"
#include "living/BoardDevice.h"
#include "living/MessageFile.h"
#include "running/io/Files.h"
#include "omci/message/ValueText.h"
#include "support/Emulated.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

const std::string kCapture = VORN_SCENARIO_DIR "/omci/internet.pcap";

ProgramResult omciOf(std::vector<std::string> words) {
    words.insert(words.begin(), {VORN_ONU_BINARY, "omci"});
    return runProgram(words);
}

// The messages of a capture as text, but for the first ones, and the answers changed by `change`.
std::string asText(std::size_t first, const std::function<void(omci::Message&)>& change) {
    const auto file = vorn_onu::readMessages(vorn_onu::readFile(kCapture, 1U << 20U), kCapture);
    std::string text;
    for (std::size_t at = first; at < file.messages.size(); ++at) {
        omci::Message message = file.messages[at].message;
        if (message.isAnswer) change(message);
        text += omci::hexText(omci::encodeFrame(message)) + "\n";
    }
    const std::string path = ::testing::TempDir() + "omci-messages.txt";
    vorn_onu::writeFile(path, text);
    return path;
}

TEST(Omci, ACallNamesTheMessagesBehindItAndTheRecordedScenarioMakesTheSameDevice) {
    SKIP_WHEN_EMULATED(kNoLibpcap);
    const std::string record = ::testing::TempDir() + "omci-calls.json";
    const auto played = omciOf({kCapture, "--json", "-", "--record", record});
    ASSERT_EQ(played.code, 0) << played.output;
    const auto json = nlohmann::json::parse(played.output);
    std::vector<std::size_t> causes;
    for (const auto& message : json.at("messages"))
        for (const auto& call : message.at("calls"))
            if (call.at("call").at("call") == "vorn_omci_hal_gemflow_add")
                causes = call.at("messages").get<std::vector<std::size_t>>();
    EXPECT_EQ(causes, (std::vector<std::size_t>{3, 6}));
    const auto again = runProgram({VORN_ONU_BINARY, "run", record, "--json", "-"});
    ASSERT_EQ(again.code, 0) << again.output;
    const auto device = nlohmann::json::parse(again.output).at("device");
    for (const char* part : {"network", "pon", "vlan"}) EXPECT_EQ(device.at(part), json.at("device").at(part)) << part;
}

TEST(Omci, AnotherResultThanTheCapturesIsAFailure) {
    SKIP_WHEN_EMULATED(kNoLibpcap);
    const auto other = omciOf({asText(0, [](omci::Message& answer) {
        if (answer.entity.classId == 262) answer.content[0] = 6;
    })});
    EXPECT_EQ(other.code, 1);
    EXPECT_NE(other.output.find("≠ success here, device busy in the capture"), std::string::npos) << other.output;
}

TEST(Omci, ACaptureThatBeginsInTheMiddleIsToldAndPlayed) {
    SKIP_WHEN_EMULATED(kNoLibpcap);
    const auto part = omciOf({asText(24, [](omci::Message&) {})});
    EXPECT_NE(part.output.find("begins in the middle"), std::string::npos) << part.output;
    EXPECT_NE(part.output.find("from before the capture begins: Extended VLAN tagging"), std::string::npos)
        << part.output;
    EXPECT_EQ(part.code, 0) << part.output;
}

TEST(Omci, AFrameIsSentThroughWhatStandsAfterAMessage) {
    SKIP_WHEN_EMULATED(kNoLibpcap);
    EXPECT_EQ(omciOf({kCapture, "--from", "sid1", "--both-ways"}).code, 0);
    EXPECT_EQ(omciOf({kCapture, "--from", "sid1", "--vlan", "77"}).code, 1);
    const auto early = omciOf({kCapture, "--until", "10", "--from", "gem 1001"});
    EXPECT_EQ(early.code, 1);
    EXPECT_EQ(early.output.find(" 11 "), std::string::npos) << early.output;
}

// The frames by which the device differs from the rows and filters of the MIB, with the rows at fault.
std::pair<std::size_t, std::set<std::string>> differencesOf(const std::string& name) {
    const auto played = omciOf({VORN_SCENARIO_DIR "/omci/" + name + ".pcap", "--audit", "--json", "-"});
    const auto audit = nlohmann::json::parse(played.output).at("audit");
    std::set<std::string> subjects;
    for (const auto& group : audit.at("groups"))
        if (group.at("differs").get<bool>()) subjects.insert(group.at("subject").get<std::string>());
    return {audit.at("differing").get<std::size_t>(), subjects};
}

TEST(Omci, TheAuditComparesTheDeviceWithTheRowsOfTheMib) {
    SKIP_WHEN_EMULATED(kNoLibpcap);
    EXPECT_EQ(differencesOf("priorities").first, 0u);
    // The tag of a voice frame comes back with the p-bits of the row.
    EXPECT_EQ(differencesOf("internet").second,
              std::set<std::string>{"row of message 15: VID 10 → remove 1, add VID 110 p5"});
}

TEST(Omci, TheReportLeadsFromALookUpToTheCallAndFromTheCallToItsRowAndMessages) {
    SKIP_WHEN_EMULATED(kNoLibpcap);
    const std::string page = ::testing::TempDir() + "omci-report.html";
    ASSERT_EQ(omciOf({kCapture, "--from", "sid1", "--report", page}).code, 0);
    const std::string html = vorn_onu::readFile(page, 1U << 22U);
    const auto lookUp = html.find("untagged frames: push VID 100, p-bits 0 <small><a href=\"#step-12\">call 12</a>");
    EXPECT_NE(lookUp, std::string::npos);
    const auto call = html.find("<li id=\"step-12\">");
    ASSERT_NE(call, std::string::npos);
    const std::string item = html.substr(call, html.find("<li id=\"step-13\">") - call);
    EXPECT_NE(item.find("sid1: untagged → add VID 100 p0: "), std::string::npos) << item;
    EXPECT_NE(item.find("push VID 100, p-bits 0"), std::string::npos) << item;
    EXPECT_NE(item.find("<a href=\"#message-14\">14</a>"), std::string::npos) << item;
}

TEST(Omci, TheAgentSeesTheBoardsLinksAndCountsEveryRoundOfADriversCounter) {
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.reset();
    vorn_onu::BoardDevice device;
    const omci::InstanceId first = 0x0101;  // sid1, PHY 4
    onu.setPhy(4, true, 100, 1);
    onu.setPhy(0, false, 1000, 1);
    EXPECT_EQ(device.portState(first)->configuration, 2);
    EXPECT_FALSE(device.portState(first + 1)->linkUp);
    EXPECT_FALSE(device.portState(first + 2).has_value());
    ASSERT_EQ(std::system("ifconfig sid1 up"), 0);
    onu.sendFromPort("sid1", {});
    EXPECT_EQ(device.portCounters({omci::class_id::kEthernetUni, first})->rxFrames, 1u);
    onu.addGemPort(1001, 7);
    onu.setGemCounter(1001, 3, 0xFFFFFFF0);
    EXPECT_EQ(device.gemPortCounters(1001)->receivedBytes, 0xFFFFFFF0u);
    onu.setGemCounter(1001, 3, 0x10);
    EXPECT_EQ(device.gemPortCounters(1001)->receivedBytes, 0x100000010u);
    EXPECT_FALSE(device.gemPortCounters(1002).has_value());
}

TEST(Omci, WrongInputIsRefused) {
    EXPECT_EQ(omciOf({kCapture, "--until", "99"}).code, 2);
    EXPECT_EQ(omciOf({}).code, 2);
    EXPECT_EQ(omciOf({"--listen", "udp:192.0.2.1:7000"}).code, 2);
    EXPECT_EQ(omciOf({VORN_SCENARIO_DIR "/internet.json"}).code, 2);
}

}  // namespace
