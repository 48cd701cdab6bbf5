// Messages out of files: the forms of text that logs and dump tools have, captures, and what is none.
#include <gtest/gtest.h>

#include <cstdio>

#include "living/MessageFile.h"
#include "running/capture/CaptureWriter.h"
#include "running/io/Files.h"
#include "support/Emulated.h"
#include "support/HexBytes.h"
#include "support/Pcap.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

using vorn_onu::MessageFile;

// Set of T-CONT 0x8000, alloc-ID 1024, with a trailer and without.
const std::string kHeader = "0003480a01068000", kValues = "80000400";
const std::string kShort = kHeader + kValues + std::string(56, '0');
const std::string kWhole = kShort + "00000028" + "01020304";
const std::string kMacs = "020000000002020000000001";

std::string spaced(const std::string& digits, const std::string& between) {
    std::string text;
    for (std::size_t at = 0; at < digits.size(); at += 2) text += (at == 0 ? "" : between) + digits.substr(at, 2);
    return text;
}

TEST(MessageFile, TextIsReadInTheFormsOfLogsAndDumpTools) {
    const std::string all = spaced(kWhole, " ");
    // Sixteen bytes a line, each with its offset and the characters.
    const auto dumpOf = [](const std::string& digits) {
        const std::string bytes = spaced(digits, " ");
        std::string text;
        for (std::size_t at = 0; at < bytes.size(); at += 48) {
            char offset[20];
            std::snprintf(offset, sizeof offset, "%04zx", at / 3);
            text += offset + ("  " + bytes.substr(at, 47)) + "   |................|\n";
        }
        return text;
    };
    const std::pair<const char*, std::string> forms[] = {
        {"a dump with an Ethernet header", dumpOf(kMacs + "88b5" + kWhole)},
        {"a dump with an Ethernet header and a VLAN tag", dumpOf(kMacs + "810000fe" + "88b5" + kWhole)},
        {"digits", kWhole},
        {"without trailer", kShort},
        {"bytes", all},
        {"colons", spaced(kWhole, ":")},
        {"0x", "0x" + spaced(kWhole, " 0x")},
        {"a comment behind", kWhole + "  # T-CONT"},
        {"time and direction", "12:00:01.5 [7] OLT->ONU: " + all},
        {"the transaction in front", "TCI 0x0003 " + all},
        {"an offset", "0000 " + kWhole},
        {"a dump", dumpOf(kWhole)},
        {"an Ethernet frame", kMacs + "88b5" + kWhole},
    };
    for (const auto& [name, text] : forms) {
        const MessageFile file = vorn_onu::readHexText("# a log\n\n" + text + "\n");
        ASSERT_EQ(file.messages.size(), 1U) << name;
        EXPECT_EQ(file.messages[0].message.transaction, 3) << name;
        EXPECT_EQ(file.messages[0].message.entity, (omci::EntityKey{262, 0x8000})) << name;
        EXPECT_EQ(file.messages[0].place, 3U) << name;
        EXPECT_TRUE(file.skipped.empty()) << name;
    }
}

TEST(MessageFile, TwoDumpsOneBehindTheOtherAreTwoMessages) {
    const std::string all = spaced(kWhole, " ");
    const std::string dump = "0000 " + all.substr(0, 47) + "\n0010 " + all.substr(48) + "\n";
    EXPECT_EQ(vorn_onu::readHexText(dump + dump).messages.size(), 2U);
}

TEST(MessageFile, WhatIsNoMessageIsToldWithItsPlace) {
    const MessageFile file = vorn_onu::readHexText(kWhole + "\n" + kHeader + "8000\nno digits here\n");
    EXPECT_EQ(file.messages.size(), 1U);
    ASSERT_EQ(file.skipped.size(), 1U);
    EXPECT_EQ(file.skipped[0].compare(0, 8, "line 2: "), 0) << file.skipped[0];
}

TEST(MessageFile, ACaptureIsReadUpToItsDamage) {
    SKIP_WHEN_EMULATED(kNoLibpcap);
    const std::string whole = vorn_onu::readFile(VORN_SCENARIO_DIR "/omci/internet.pcap", 1U << 20U);
    EXPECT_EQ(vorn_onu::readMessages(whole, "a").messages.size(), 36U);
    const MessageFile half = vorn_onu::readMessages(whole.substr(0, whole.size() / 2), "a");
    EXPECT_GT(half.messages.size(), 10U);
    EXPECT_EQ(half.skipped.size(), 1U);
    for (const std::string& bytes : {std::string(), whole.substr(0, 20), std::string(5000, 'x'), std::string(64, '\0')})
        EXPECT_THROW(vorn_onu::readMessages(bytes, "a"), vorn_onu::FileProblem);
}

// A capture of one packet.
std::string captureOf(std::uint32_t link, const std::string& packetDigits) {
    return pcapOf({hex(packetDigits)}, link);
}

TEST(MessageFile, CapturesOfEachLinkTypeAreReadAndOthersNamed) {
    SKIP_WHEN_EMULATED(kNoLibpcap);
    const std::string cooked = "0000000100060200000000010000", cookedTwo = "0000000000000001000100060200000000010000";
    const ScratchDirectory scratch;
    vorn_onu::CaptureWriter writer(scratch.file("new"));
    writer.add("PON", 0, hex(kMacs + "88b5" + kWhole));
    writer.finish();
    const std::pair<const char*, std::string> files[] = {
        {"Ethernet", captureOf(1, kMacs + "88b5" + kWhole)},
        {"with a VLAN tag", captureOf(1, kMacs + "8100" + "0fff" + "88b5" + kWhole)},
        {"with two tags", captureOf(1, kMacs + "88a8" + "0002" + "8100" + "0fff" + "88b5" + kShort)},
        {"cooked", captureOf(113, cooked + "88b5" + kWhole)},
        {"cooked, second version", captureOf(276, "88b5" + cookedTwo.substr(4) + kWhole)},
        {"the first user type", captureOf(147, kWhole)},
        {"the last user type, with an Ethernet header", captureOf(162, kMacs + "88b5" + kWhole)},
        {"pcapng", contentOf(scratch.file("new"))},
    };
    for (const auto& [name, file] : files) {
        const MessageFile read = vorn_onu::readMessages(file, "a");
        ASSERT_EQ(read.messages.size(), 1U) << name;
        EXPECT_EQ(read.messages[0].message.entity, (omci::EntityKey{262, 0x8000})) << name;
        EXPECT_EQ(read.others, 0U) << name;
    }
    for (const std::string& none : {captureOf(1, kMacs + "0800" + kWhole), captureOf(105, kWhole)})
        EXPECT_THROW(vorn_onu::readMessages(none, "a"), vorn_onu::FileProblem);
}

}  // namespace
