// A file's messages, played to an ONU: what it answers, beside what the capture has, and what came of it.
#ifndef VORN_ONU_PLAYING_H
#define VORN_ONU_PLAYING_H

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "living/LivingOnu.h"
#include "living/MessageFile.h"
#include "omci/message/MessageText.h"

namespace vorn_onu {

// What a request's answer says beside success.
enum class RefusalKind : std::uint8_t {
    kNone,
    kAsInCapture,  // the ONU of the capture answered with the same result
    kRefused,      // another result than success, or no answer where one was asked for
};

// A message of the file with what belongs to it. An answer in the file is with its request.
struct Played {
    std::size_t number = 0;  // from 1, requests and what the ONU of the capture sent by itself
    std::size_t place = 0;   // in the file
    std::optional<double> seconds;
    std::optional<std::uint64_t> microseconds;  // since the epoch, of a message that came just now
    std::optional<double> latencyMs;            // until the answer
    omci::Message message;
    std::optional<omci::Message> answerMessage;  // of the ONU here
    omci::MessageText text;

    bool fromOnu = false;                       // reported by the ONU of the capture: only shown
    std::optional<omci::MessageText> answer;    // of the ONU here
    std::optional<omci::MessageText> captured;  // of the ONU of the capture
    std::string whyNoAnswer;
    std::string fault;  // that was asked for, and met the answer: "not sent"
    bool repeated = false;
    CodeState code = CodeState::kNotJudged;          // the message's integrity code
    CodeState capturedCode = CodeState::kNotJudged;  // that of the capture's answer
    RefusalKind refusal = RefusalKind::kNone;
    bool otherResult = false;              // than the capture's
    std::vector<std::string> differences;  // to the capture's answer, in words
    std::vector<std::string> madeUp;       // entities that the capture has from before its begin
    std::vector<HalStep> calls;
    std::vector<omci::services::Problem> problems;
    std::vector<omci::MessageText> autonomous;  // of the ONU here
    std::vector<omci::Message> autonomousMessages;
};

// Puts what a message of the OLT has done into played, whose message is there already. numberOf: the number shown for
// a message, by the agent's; the calls name their messages by it.
void addHandling(Played& played, const Handling& handling, const std::function<std::size_t(std::uint64_t)>& numberOf);

class Playing {
public:
    using Listener = std::function<void(const Played&)>;

    // until: stop behind this message; 0 plays all. strict: a refusal is one even where the capture has the same.
    Playing(LivingOnu& onu, const MessageFile& file, std::size_t until = 0, bool strict = false);
    void run(const Listener& listener);

    // The capture begins in the middle: before its first message entities were made that nobody here knows.
    bool beginsInTheMiddle() const { return beginsInTheMiddle_; }
    std::size_t count() const { return all_; }  // of messages that would be shown, answers not counted
    // The number shown for a message by the agent's number; 0 for one that was made up.
    std::size_t numberOf(std::uint64_t agentNumber) const;

private:
    Played play(const FileMessage& message);
    void makeUp(const omci::Message& request, Played& played);
    void compare(Played& played, const omci::Message& ours, const omci::Message& theirs) const;

    LivingOnu& onu_;
    const MessageFile& file_;
    std::size_t until_, all_ = 0;
    bool strict_;
    bool beginsInTheMiddle_ = false;
    std::map<std::size_t, const FileMessage*> answers_;  // by the request's place among the file's messages
    std::map<std::size_t, bool> isAnswer_;
    std::map<std::uint64_t, std::size_t> numbers_;
    std::size_t at_ = 0, number_ = 0;
    std::uint16_t transaction_ = 0x7F00;  // of made up messages
};

}  // namespace vorn_onu

#endif
