// Messages out of files: captures of each kind. The forms of text that logs and dump tools have are recorded ("dump" of
// recorded_outputs.py).
#include <gtest/gtest.h>

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
const std::string kShort = "0003480a0106800080000400" + std::string(56, '0');
const std::string kWhole = kShort + "00000028" + "01020304";
const std::string kMacs = "020000000002020000000001";

TEST(MessageFile, TwoDumpsOneBehindTheOtherAreTwoMessages) {
    const std::string dump = "0000 " + kWhole.substr(0, 32) + "\n0010 " + kWhole.substr(32) + "\n";
    EXPECT_EQ(vorn_onu::readHexText(dump + dump).messages.size(), 2U);
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
