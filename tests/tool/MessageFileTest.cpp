// Messages out of files: the forms of text that logs and dump tools have, captures, and what is none.
#include <gtest/gtest.h>

#include "channel/MessageFile.h"
#include "io/Files.h"
#include "support/Emulated.h"

namespace {

using vorn_onu::MessageFile;

// Set of T-CONT 0x8000, alloc-ID 1024, with a trailer and without.
const std::string kHeader = "0003480a01068000", kValues = "80000400";
const std::string kShort = kHeader + kValues + std::string(56, '0');
const std::string kWhole = kShort + "00000028" + "01020304";

std::string spaced(const std::string& digits, const std::string& between) {
    std::string text;
    for (std::size_t at = 0; at < digits.size(); at += 2) text += (at == 0 ? "" : between) + digits.substr(at, 2);
    return text;
}

TEST(MessageFile, TextIsReadInTheFormsOfLogsAndDumpTools) {
    const std::string all = spaced(kWhole, " ");
    const std::string dump = "0000  " + all.substr(0, 47) + "   |..H.............|\n0010  " + all.substr(48, 47) +
                             "   |................|\n0020  " + all.substr(96) + "   |................|\n";
    const std::pair<const char*, std::string> forms[] = {
        {"digits", kWhole},
        {"without trailer", kShort},
        {"bytes", all},
        {"colons", spaced(kWhole, ":")},
        {"0x", "0x" + spaced(kWhole, " 0x")},
        {"a comment behind", kWhole + "  # T-CONT"},
        {"time and direction", "12:00:01.5 [7] OLT->ONU: " + all},
        {"the transaction in front", "TCI 0x0003 " + all},
        {"an offset", "0000 " + kWhole},
        {"a dump", dump},
        {"an Ethernet frame",
         "020000000002020000000001"
         "88b5" +
             kWhole},
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

}  // namespace
