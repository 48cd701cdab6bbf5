// The captures in scenarios/omci/: what they say is what the OLT's side sends, and the frames that belong to them pass.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "omci/olt/CaptureFile.h"
#include "omci/olt/Olt.h"
#include "omci/olt/OperatorServices.h"
#include "omci/services/Apart.h"
#include "omci/services/FrameFile.h"
#include "omci/services/OnuLine.h"

namespace {

std::string capturePath(const std::string& name) {
    return VORN_SCENARIO_DIR "/omci/" + name + ".pcap";
}

std::string content(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

// One service alone, from the MIB reset on, as the OLT's side sends it.
void provision(olt::Line& line, const std::string& name) {
    olt::Olt olt(line);
    olt.mibReset();
    for (const auto& service : olt::operatorServices()) {
        if (service.name == name) olt.send(service.requests);
    }
}

class Capture : public ::testing::TestWithParam<std::string> {};

TEST_P(Capture, PlaysIntoAServiceThatPassesItsFramesAndNoOthers) {
    const std::string wrong = apart([] {
        startHal();
        OnuLine line;
        std::string text;
        std::optional<omci::Message> answer;
        for (const auto& message : olt::readCapture(capturePath(GetParam()))) {
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
    const bool anew = std::getenv("VORN_WRITE_CAPTURES") != nullptr;
    const std::string path = anew ? capturePath(GetParam()) : ::testing::TempDir() + GetParam() + ".pcap";
    apart([&] {
        virtual_onu::VirtualOnu::instance().reset();
        OnuLine line;
        olt::CaptureWriter writer(line, path);
        provision(writer, GetParam());
        return std::string();
    });
    EXPECT_TRUE(content(path) == content(capturePath(GetParam())));
    if (!anew) std::remove(path.c_str());
}

std::vector<std::string> names() {
    std::vector<std::string> names;
    for (const auto& service : olt::operatorServices()) names.emplace_back(service.name);
    return names;
}
INSTANTIATE_TEST_SUITE_P(Services, Capture, ::testing::ValuesIn(names()), [](const auto& each) { return each.param; });

}  // namespace
