// vorn-onu omci FILE: what it tells of captures, whole ones and parts of them.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <utility>

#include <nlohmann/json.hpp>

#include "VirtualOnu.h"
#include "living/BoardDevice.h"
#include "living/MessageFile.h"
#include "omci/message/Integrity.h"
#include "omci/message/Numbers.h"
#include "omci/message/ValueText.h"
#include "running/io/Files.h"
#include "support/Emulated.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

const std::string kCapture = VORN_SCENARIO_DIR "/omci/internet.pcap";

ProgramResult omciOf(const std::vector<std::string>& words) {
    return runTool({"omci"}, words);
}

// Messages in hexadecimal digits, a line each.
std::string inText(const std::string& name, const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    const std::string path = ::testing::TempDir() + name;
    vorn_onu::writeFile(path, text);
    return path;
}

// A message that begins so, with its trailer; blanks are for the reader.
std::string filled(std::string head) {
    head.erase(std::remove(head.begin(), head.end(), ' '), head.end());
    return head + std::string(80 - head.size(), '0') + "00000028";
}

TEST(Omci, WhatIsAcceptedInVainIsNotCalledAnEffect) {
    const std::string reset = filled("00014f0a00020000");
    const std::string tree = filled("0002440a002d0003 010101 8000 1400 0200 0f00 0000");
    const std::string path = inText("omci-in-vain.txt", {reset, tree});
    expectTool({"omci", path}, 0,
               {"! MAC bridge service profile 0x0003: there is no spanning tree",
                "✓ every message was answered with success: 2 messages of the OLT, 0 HAL calls, 1 piece"});
    expectTool({"omci", path, "--until", "3"}, 2, {"has 2 messages, there is no message 3"});
}

TEST(Omci, ARefusalThatTheCaptureHasTooFailsOnlyAStrictRun) {
    const std::string reset = filled("00014f0a00020000"), set = filled("0002480a01069000 80000400");
    const std::string refused = filled("0002280a01069000 05");
    const std::string path = inText("omci-as-captured.txt", {reset, filled("00012f0a00020000"), set, refused});
    expectTool({"omci", path}, 0, {"!    2  0x0002  OLT  set", "1 refused as in the"});
    EXPECT_EQ(omciOf({path, "--strict"}).code, 1);
    // Another refusal than the capture's is a failure in any case.
    const std::string busy = filled("0002280a01069000 06");
    EXPECT_EQ(omciOf({inText("omci-other.txt", {reset, filled("00012f0a00020000"), set, busy})}).code, 1);
}

// The messages of a capture as another ONU's: Ethernet ports in slot 10, T-CONTs and upstream queues from 0x8100 on.
std::vector<std::string> renumbered() {
    const std::pair<std::regex, const char*> changes[] = {
        {std::regex("^(.{6}0a0106)80"), "$0181"},           // a T-CONT
        {std::regex("^(.{6}0a000b)01"), "$010a"},           // an Ethernet port
        {std::regex("^(.{4}440a010c.{8})80"), "$0181"},     // the T-CONT of a new GEM port
        {std::regex("^(.{4}440a010c.{14})80"), "$0181"},    // its upstream queue
        {std::regex("^(.{4}440a002f.{10}01)01"), "$010a"},  // the Ethernet port of a new bridge port
        {std::regex("^(.{4}440a00ab.{4}02)01"), "$010a"},   // and of new tagging rows
    };
    std::vector<std::string> lines;
    for (const auto& one : vorn_onu::readMessages(vorn_onu::readFile(kCapture, 1U << 20U), kCapture).messages) {
        if (one.message.isAnswer) continue;
        lines.push_back(omci::hexText(omci::encodeFrame(one.message)));
        for (const auto& [from, to] : changes) lines.back() = std::regex_replace(lines.back(), from, to);
    }
    return lines;
}

nlohmann::json stateAfter(std::vector<std::string> words, int code) {
    words.insert(words.end(), {"--json", "-"});
    const auto played = omciOf(words);
    EXPECT_EQ(played.code, code) << played.output;
    return nlohmann::json::parse(played.output).at("device");
}

TEST(Omci, AnotherOnusNumbersAreTakenFromOptionsOrTheCapturesUpload) {
    SKIP_WHEN_EMULATED(kNoLibpcap);
    const auto wanted = stateAfter({kCapture}, 0);
    std::vector<std::string> lines = renumbered();
    const std::string bare = inText("omci-renumbered.txt", lines);
    EXPECT_TRUE(stateAfter({bare}, 1).at("pon").at("gemPorts").empty());
    const std::string ports = "ethernetPorts=0x0A01..0x0A04", tConts = "tConts=0x8100..0x8107";
    const std::string queues = "upstreamQueues=0x8100..0x813F";
    // An upload says it entity by entity; the answers only, as the requests say nothing.
    std::vector<std::string> upload;
    const auto digits = [](std::size_t number, int width) {
        char text[9];
        std::snprintf(text, sizeof text, "%0*zx", width, number);
        return std::string(text);
    };
    const auto entry = [&](const std::string& entity) {
        upload.push_back(filled(digits(upload.size() + 1, 4) + "2e0a00020000" + entity));
    };
    for (unsigned at = 1; at <= 4; ++at) entry("000b0a" + digits(at, 2) + "800000");
    for (unsigned at = 0; at < 8; ++at) entry("010681" + digits(at, 2) + "8000ffff");
    for (unsigned at = 0; at < 64; ++at)
        entry("011581" + digits(at, 2) + "040081" + digits(at / 8, 2) + digits(at % 8, 4));
    upload.insert(upload.end(), lines.begin(), lines.end());
    const std::vector<std::string> runs[] = {{bare, "--layout", ports, "--layout", tConts, "--layout", queues},
                                             {inText("omci-upload.txt", upload)}};
    for (const auto& run : runs) {
        const auto device = stateAfter(run, 0);
        for (const char* section : {"network", "pon", "vlan"})
            EXPECT_EQ(device.at(section), wanted.at(section)) << run.back() << " " << section;
    }
    for (const char* wrong : {"ports=1", "tConts=", "tConts=0x8107..0x8100", "tConts=65535",
                              "upstreamQueues=0x8000..0x8006", "ethernetPorts=x", "/nowhere.json"})
        EXPECT_EQ(omciOf({bare, "--layout", wrong}).code, 2) << wrong;
}

TEST(Omci, WrongIntegrityCodesInAFileAreMarked) {
    const std::string reset = filled("00014f0a00020000"), get = filled("8000490a01000000 0080");
    expectTool({"omci", inText("omci-codes.txt", {reset + "00000000", get + "a116eef3", get + "a116eef2"})}, 0,
               {"1 wrong integrity code,"});
    // None is right as a CRC-32: they are of another kind, which only a key can judge.
    const std::string cmac = inText("omci-cmac.txt", {get + "78dca53d", reset + "11111111"});
    EXPECT_EQ(omciOf({cmac}).output.find("wrong integrity"), std::string::npos);
    if (!omci::hasAes()) return;
    const auto judged = omciOf({cmac, "--mic", "cmac:184b8ad4d1ac4af4dd4b339ecc0d3370"});
    expectHas(judged.output, {"1 wrong integrity code,"});
    for (const char* wrong : {"cmac:184b", "cmac:184b8ad4d1ac4af4dd4b339ecc0d337g", "md5", "cmac"})
        EXPECT_EQ(omciOf({cmac, "--mic", wrong}).code, 2) << wrong;
}

TEST(Omci, ACaptureThatBeginsInTheMiddleIsToldAndPlayed) {
    SKIP_WHEN_EMULATED(kNoLibpcap);
    const auto file = vorn_onu::readMessages(vorn_onu::readFile(kCapture, 1U << 20U), kCapture);
    std::vector<std::string> lines;
    for (std::size_t at = 24; at < file.messages.size(); ++at)
        lines.push_back(omci::hexText(omci::encodeFrame(file.messages[at].message)));
    expectTool({"omci", inText("omci-middle.txt", lines)}, 0,
               {"begins in the middle", "from before the capture begins: Extended VLAN tagging"});
}

TEST(Omci, TheDeviceIsAsTheMibSaysAndTheRecordedCallsMakeTheSameOne) {
    SKIP_WHEN_EMULATED(kNoLibpcap);
    const std::pair<const char*, nlohmann::json> captures[] = {
        {"gateway", {"VEIP service of message 9", "VEIP service of message 15"}},
        {"internet", nlohmann::json::array()},
        {"management", {"IP host of message 14"}},
        {"priorities", nlohmann::json::array()},
        {"television", {"multicast service of message 22"}},
        {"transparent", nlohmann::json::array()}};
    const ScratchDirectory scratch;
    const std::string record = scratch.file("calls.json");
    for (const auto& [name, notCovered] : captures) {
        SCOPED_TRACE(name);
        const std::string capture = VORN_SCENARIO_DIR "/omci/" + std::string(name) + ".pcap";
        const auto played =
            nlohmann::json::parse(omciOf({capture, "--audit", "--json", "-", "--record", record}).output);
        const auto& audit = played.at("audit");
        EXPECT_EQ(audit.at("differing"), 0);
        EXPECT_EQ(audit.at("open"), 0);
        EXPECT_EQ(audit.at("notCovered"), notCovered);
        const auto again = runTool({"run", record, "--json", "-"});  // by G.988, as the file says
        EXPECT_EQ(again.code, 0) << again.output;
        const auto device = nlohmann::json::parse(again.output).at("device");
        const bool hasThread = name == std::string("gateway");  // which works on the device meanwhile
        for (const char* part : {"network", "pon", "vlan"})
            EXPECT_TRUE(hasThread || device.at(part) == played.at("device").at(part)) << part;
        EXPECT_EQ(runTool({"audit", record, "--strict", "--forwarding", "g988"}).code, 0);
    }
}

TEST(Omci, TheAgentSeesTheBoardsLinksAndCountsEveryRoundOfADriversCounter) {
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.reset();
    const omci::InstanceId first = 0x0101;  // sid1, PHY 4
    vorn_onu::BoardDevice device({first, first + 1, first + 2, first + 3});
    onu.setPhy(4, true, 100, 1);
    onu.setPhy(0, false, 1000, 1);
    EXPECT_EQ(device.portState(first)->configuration, 2);
    EXPECT_FALSE(device.portState(first + 1)->linkUp);
    EXPECT_TRUE(device.portState(first + 2)->linkUp);
    EXPECT_FALSE(device.portState(first + 4).has_value());
    // Of a port that nobody has set up, too.
    for (const char* state : {"down", "", "up"}) {
        onu.setOperState("sid2", state);
        EXPECT_EQ(device.portState(first + 2)->linkUp, std::string(state) != "down");
    }
    ASSERT_EQ(std::system("ifconfig sid1 up"), 0);
    onu.sendFromPort("sid1", {});
    EXPECT_EQ(device.portCounters({omci::class_id::kEthernetUni, first})->rxFrames, 1u);
    // A cable has one truth: pulled at the device, the port has no link either, and frames do not pass.
    onu.setOperState("sid1", "down");
    EXPECT_FALSE(device.portState(first)->linkUp);
    onu.setOperState("sid1", "");
    EXPECT_TRUE(device.portState(first)->linkUp);
    EXPECT_EQ(device.imageVersion({reinterpret_cast<const std::uint8_t*>("V2.1-rc3\0\1"), 10}), "V2.1-rc3");
    const std::uint8_t unnamed[] = {0, '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(device.imageVersion({unnamed, sizeof unnamed}).size(), 8u);
    onu.addGemPort(1001, 7);
    onu.setGemCounter(1001, 3, 0xFFFFFFF0);
    EXPECT_EQ(device.gemPortCounters(1001)->receivedBytes, 0xFFFFFFF0u);
    onu.setGemCounter(1001, 3, 0x10);
    EXPECT_EQ(device.gemPortCounters(1001)->receivedBytes, 0x100000010u);
    EXPECT_FALSE(device.gemPortCounters(1002).has_value());
}

}  // namespace
