// The captures in scenarios/omci/: the ONU answers as it did then, and the frames that belong to them pass.
#include "omci/olt/OperatorServices.h"
#include "omci/services/FrameFile.h"
#include "omci/services/OnuLine.h"

namespace {

class Capture : public OltAndOnu, public ::testing::WithParamInterface<std::string> {};

TEST_P(Capture, PlaysIntoAServiceThatPassesItsFramesAndNoOthers) {
    std::optional<omci::Message> answer;
    for (const auto& message : olt::capturedMessages(GetParam())) {
        if (!omci::isUpstream(message)) {
            answer = line_.exchange(message);
            continue;
        }
        ASSERT_TRUE(answer) << message.transaction;
        EXPECT_EQ(omci::encodeFrame(*answer), omci::encodeFrame(message)) << message.transaction;
    }
    EXPECT_EQ(wrongFrames(GetParam()), "");
}

INSTANTIATE_TEST_SUITE_P(Services, Capture, ::testing::ValuesIn(olt::serviceNames()),
                         [](const auto& each) { return each.param; });

}  // namespace
