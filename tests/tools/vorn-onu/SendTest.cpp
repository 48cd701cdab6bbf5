// vorn-onu send: captures, and what a protocol analyser says of frames.
#include <sys/resource.h>

#include <algorithm>
#include <map>

#include <nlohmann/json.hpp>

#include "VirtualOnu.h"
#include "running/capture/CaptureReader.h"
#include "running/capture/CaptureWriter.h"
#include "support/Emulated.h"
#include "support/Pcap.h"
#include "tools/vorn-onu/ReadJson.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

using nlohmann::json;
using virtual_onu::Frame;

// An untagged frame with a payload that shows whether it is whole.
std::vector<std::uint8_t> withPayload(const Frame& frame, std::size_t octets) {
    std::vector<std::uint8_t> bytes = frame.header();
    for (std::size_t i = 0; i < octets; ++i) bytes.push_back(static_cast<std::uint8_t>(i * 7 + 3));
    return bytes;
}

Frame tagged(std::uint16_t vid) {
    Frame frame;
    frame.etherType = 0x88B5;  // for experiments: nobody looks into it
    if (vid != 0) frame.tags.push_back({0x8100, 0, false, vid});
    return frame;
}

TEST(SendCapture, TellsTheFateOfEachFrameAndWritesWhatLeftWhole) {
    SKIP_WHEN_EMULATED(kNoLibpcap);
    const ScratchDirectory scratch;
    const std::vector<std::vector<std::uint8_t>> frames = {withPayload(tagged(0), 700),
                                                           withPayload(tagged(20), 801),
                                                           withPayload(tagged(21), 90),
                                                           withPayload(tagged(0), 60),
                                                           {1, 2, 3}};
    scratch.write("in.pcap", pcapOf(frames));
    vorn_onu::CaptureWriter writer(scratch.file("in.pcapng"));
    for (const auto& frame : frames) writer.add("sid0", 0, frame);
    writer.finish();
    for (const char* file : {"in.pcap", "in.pcapng"}) {
        const ProgramResult run = expectTool({"send", kInternet, "--from", "sid0", "--pcap-in", scratch.file(file),
                                              "--pcap", scratch.file("out.pcapng"), "--json"},
                                             0, {});
        const json answer = json::parse(run.output, nullptr, false);
        ASSERT_FALSE(answer.is_discarded()) << run.output;
        EXPECT_EQ(answer["frames"], 5);
        EXPECT_EQ(answer["left"], 3);
        std::map<std::string, int> fates;
        for (const json& fate : answer["fates"]) fates[fate["fate"]] = fate["frames"];
        EXPECT_EQ(fates.size(), 4u) << answer;
        EXPECT_EQ(answer["fates"][0]["frames"], 2) << "the most frequent one first";
        vorn_onu::CaptureReader reader(scratch.file("out.pcapng"));
        vorn_onu::CaptureReader::Captured left;
        const std::size_t whole[] = {700, 801, 60};
        for (const std::size_t octets : whole) {
            ASSERT_TRUE(reader.next(left));
            const auto& sent = frames.at(octets == 700 ? 0 : octets == 801 ? 1 : 3);
            ASSERT_EQ(left.size, 18 + octets) << "one tag, whatever it came with";
            EXPECT_TRUE(std::equal(left.bytes + 18, left.bytes + left.size, sent.end() - static_cast<long>(octets)));
        }
        EXPECT_FALSE(reader.next(left));
    }
}

TEST(SendCapture, RefusesWhatIsNoCaptureOfEthernetFrames) {
    const ScratchDirectory scratch;
    for (const std::string& file : {scratch.write("a.pcap", "no capture"),
                                    scratch.write("b.pcap", pcapOf({}, 105 /* 802.11 */)), scratch.file("none")}) {
        expectTool({"send", kInternet, "--from", "sid0", "--pcap-in", file, "--pcap", scratch.file("o")}, 2, {});
        EXPECT_NE(runProgram({"test", "-e", scratch.file("o")}).code, 0) << "nothing is written";
    }
}

TEST(SendCapture, NeedsNoMoreMemoryForMoreFrames) {
    if (*VORN_SANITIZERS != '\0') GTEST_SKIP() << "the sanitizers hold back what is freed";
    SKIP_WHEN_EMULATED(kNoLibpcap);
    const ScratchDirectory scratch;
    const auto memoryAfter = [&](int frames) {
        vorn_onu::CaptureWriter writer(scratch.file("m.pcapng"));
        for (int i = 0; i < frames; ++i) {
            Frame frame = tagged(static_cast<std::uint16_t>(i % 40));
            frame.source = "02:00:00:00:00:" + std::to_string(10 + i % 90);
            writer.add("sid0", static_cast<std::uint64_t>(i), withPayload(frame, 200));
        }
        writer.finish();
        expectTool({"send", kInternet, "--from", "sid0", "--pcap-in", scratch.file("m.pcapng"), "--pcap",
                    scratch.file("out.pcapng")},
                   0, {});
        rusage usage{};
        getrusage(RUSAGE_CHILDREN, &usage);
        return usage.ru_maxrss;  // KiB, of the largest child so far
    };
    const long few = memoryAfter(1000), many = memoryAfter(40000);
    EXPECT_LT(many, few + 4096) << "40,000 frames are 9 MB";
}

TEST(FramesOnTheWire, AreWholeForAProtocolAnalyser) {
    if (runProgram({"tshark", "--version"}).code != 0) GTEST_SKIP() << "there is no tshark";
    const ScratchDirectory scratch;
    json scenario = readJson(kScenarios + "/bridge-forwarding.json");
    for (const char* kind :
         {R"("etherType": "ipv4", "ipProtocol": "udp")", R"("etherType": "ipv4", "ipProtocol": "tcp", "payload": 900)",
          R"("etherType": "ipv4", "ipProtocol": "icmp")", R"("etherType": "ipv6")",
          R"("etherType": "ipv6", "ipProtocol": "udp")", R"("etherType": "ipv6", "ipProtocol": "tcp", "dscp": 46)",
          R"("etherType": "arp")", R"("etherType": "pppoeDiscovery")", R"("etherType": "pppoeSession")",
          R"("etherType": "eapol")", R"("destination": "01:00:5e:01:02:03", "group": {"report": "239.1.2.3"})",
          R"("destination": "33:33:00:00:00:01", "etherType": "ipv6", "group": {"query": ""})"})
        for (const char* tags : {"[]", R"([{"vid": 7}, {"vid": 8, "tpid": "0x88a8"}])"})
            scenario["steps"].push_back(
                {{"frame", json::parse(std::string(R"({"from": "sid0", "tags": )") + tags + ", " + kind + "}")}});
    const ProgramResult run =
        runTool({"run", scratch.write("w.json", scenario.dump()), "--quiet", "--pcap", scratch.file("w.pcapng")});
    ASSERT_EQ(run.code, 0) << run.output;
    const auto analysed = [&](const char* filter) {
        return runProgram({"sh", "-c", "tshark -r " + scratch.file("w.pcapng") + " -Y '" + filter + "' 2>/dev/null"})
            .output;
    };
    EXPECT_EQ(analysed("_ws.malformed || _ws.short"), "");
    for (const char* filter : {"ipv6 && udp", "pppoed", "pppoes", "eapol", "igmp", "icmpv6", "tcp"})
        EXPECT_NE(analysed(filter), "") << filter;
}

}  // namespace
