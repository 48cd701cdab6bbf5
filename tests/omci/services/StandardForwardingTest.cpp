// An OLT's services on a HAL that forwards by G.988.
#include <gtest/gtest.h>

#include "hal/HalForwarding.h"
#include "omci/olt/Olt.h"
#include "omci/olt/OperatorServices.h"
#include "omci/services/Apart.h"
#include "omci/services/FrameFile.h"
#include "omci/services/OnuLine.h"

namespace {

void startByTheStandard() {
    vorn_hal_set_forwarding(VORN_HAL_FORWARDING_G988);
    startHal();
}

std::string callsThatFailed(const OnuLine& line) {
    std::string text;
    for (const auto& made : line.calls)
        if (made.result != 0) text += std::string("failed: ") + omci::services::nameOf(made.call.operation) + "\n";
    return text;
}

class StandardForwarding : public ::testing::TestWithParam<std::string> {};

TEST_P(StandardForwarding, PassesTheFramesOfACaptureAndNoOthers) {
    const std::string wrong = apart([] {
        startByTheStandard();
        OnuLine line;
        for (const auto& message : olt::capturedMessages(GetParam()))
            if (!omci::isUpstream(message)) line.exchange(message);
        return callsThatFailed(line) + wrongFrames(GetParam()) + "end";
    });
    EXPECT_EQ(wrong, "end");
}

INSTANTIATE_TEST_SUITE_P(Services, StandardForwarding, ::testing::ValuesIn(olt::serviceNames()),
                         [](const auto& each) { return each.param; });

TEST(StandardForwardingOrder, IsOfNoMatterAndNothingIsLeft) {
    for (unsigned seed = 1; seed <= 10; ++seed) {
        const std::string wrong = apart([seed] {
            startByTheStandard();
            OnuLine line;
            olt::Olt olt(line);
            std::string text = olt.send(olt::shuffled(olt::allServices(), seed));
            for (const std::string& name : olt::serviceNames()) text += wrongFrames(name);
            text += olt.send(olt::shuffled(olt.removal(), seed + 1)) + callsThatFailed(line);
            const auto left = virtual_onu::VirtualOnu::instance().ruleCount();
            return text + std::to_string(left) + " rules are left";
        });
        ASSERT_EQ(wrong, "0 rules are left") << "order " << seed;
    }
}

}  // namespace
