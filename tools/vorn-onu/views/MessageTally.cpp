#include "views/MessageTally.h"

#include <algorithm>

namespace vorn_onu {

bool isAsExpected(const Played& played) {
    const bool failed =
        std::any_of(played.calls.begin(), played.calls.end(), [](const HalStep& call) { return call.result != 0; });
    return !played.otherResult && played.refusal != RefusalKind::kRefused && !failed;
}

void MessageTally::add(const Played& played) {
    requests += played.fromOnu ? 0 : 1;
    captured += played.captured ? 1 : 0;
    same += played.captured && played.differences.empty() ? 1 : 0;
    wrongCodes += played.code == CodeState::kWrong ? 1 : 0;
    wrongCodes += played.capturedCode == CodeState::kWrong ? 1 : 0;
    otherResults += played.otherResult ? 1 : 0;
    calls += played.calls.size();
    problems += played.problems.size();
    for (const HalStep& call : played.calls) failedCalls += call.result != 0 ? 1 : 0;
    if (played.refusal == RefusalKind::kNone) return;
    ++(played.refusal == RefusalKind::kRefused ? refused : refusedAsCaptured);
    if (firstRefused.size() >= kMaxNamed) return;
    const std::string why = played.answer ? played.answer->result : "no answer, " + played.whyNoAnswer;
    firstRefused.push_back(std::to_string(played.number) + " " + played.text.type + " " + played.text.entity + ": " +
                           why);
}

}  // namespace vorn_onu
