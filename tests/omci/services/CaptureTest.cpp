// The captures in scenarios/omci/: what they say is what the OLT's side sends, and the frames that belong to them pass.
#include <cstdlib>
#include <fstream>

#include "omci/olt/Olt.h"
#include "omci/olt/OperatorServices.h"
#include "omci/services/Apart.h"
#include "omci/services/FrameFile.h"
#include "omci/services/OnuLine.h"
#include "support/Pcap.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

std::string capturePath(const std::string& name) {
    return VORN_SCENARIO_DIR "/omci/" + name + ".pcap";
}

// A line to an ONU that keeps what goes over it.
class KeptLine : public olt::Line {
public:
    std::optional<omci::Message> exchange(const omci::Message& request) override {
        messages.push_back(request);
        auto answer = onu_.exchange(request);
        if (answer) messages.push_back(*answer);
        return answer;
    }
    std::vector<omci::Message> messages;

private:
    OnuLine onu_;
};

// A pcap file of the management channel, Ethernet type 0x88b5, from the beginning of 2026 on.
std::string captureOf(const std::vector<omci::Message>& messages) {
    constexpr std::uint32_t kBegin = 1767225600;  // seconds: the first of January 2026
    std::vector<omci::Bytes> packets;
    for (const omci::Message& message : messages) {
        omci::Bytes packet{0x02, 0, 0, 0, 0, 0x02, 0x02, 0, 0, 0, 0, 0x01, 0x88, 0xB5};
        if (omci::isUpstream(message)) std::swap(packet[5], packet[11]);
        const omci::Bytes bytes = omci::encodeFrame(message);
        packet.insert(packet.end(), bytes.begin(), bytes.end());
        packets.push_back(std::move(packet));
    }
    return pcapOf(packets, 1, kBegin);
}

// One service alone, from the MIB reset on, as the OLT's side sends it.
std::string captureOfService(const std::string& name) {
    virtual_onu::VirtualOnu::instance().reset();
    KeptLine line;
    olt::Olt olt(line);
    olt.mibReset();
    for (const auto& service : olt::operatorServices())
        if (service.name == name) olt.send(service.requests);
    return captureOf(line.messages);
}

class Capture : public ::testing::TestWithParam<std::string> {};

TEST_P(Capture, PlaysIntoAServiceThatPassesItsFramesAndNoOthers) {
    const std::string wrong = apart([] {
        startHal();
        OnuLine line;
        std::string text;
        std::optional<omci::Message> answer;
        for (const auto& message : capturedMessages(GetParam())) {
            if (!omci::isUpstream(message)) {
                answer = line.exchange(message);
            } else if (!answer || answer->transaction != message.transaction ||
                       omci::encodeFrame(*answer) != omci::encodeFrame(message)) {
                text += "another answer to message " + std::to_string(message.transaction) + "\n";
            }
        }
        return text + wrongFrames(GetParam()) + "end";
    });
    EXPECT_EQ(wrong, "end");
}

// Rewrite them with VORN_WRITE_CAPTURES=1 in the environment of this test.
TEST_P(Capture, IsWhatTheOltSends) {
    const std::string capture = apart([] { return captureOfService(GetParam()); });
    if (std::getenv("VORN_WRITE_CAPTURES") != nullptr)
        std::ofstream(capturePath(GetParam()), std::ios::binary) << capture;
    EXPECT_TRUE(capture == contentOf(capturePath(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Services, Capture, ::testing::ValuesIn(olt::serviceNames()),
                         [](const auto& each) { return each.param; });

}  // namespace
