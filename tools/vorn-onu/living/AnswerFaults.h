// Faults of an ONU's answers that somebody has asked for.
#ifndef VORN_ONU_ANSWER_FAULTS_H
#define VORN_ONU_ANSWER_FAULTS_H

#include <cstdint>
#include <mutex>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "omci/message/Message.h"
#include "running/scenario/MessageFaults.h"

namespace vorn_onu {

// What becomes of one answer.
struct AnswerFate {
    std::string words;  // "not sent"; "" for one that goes as it is
    bool dropped = false, damaged = false, twice = false;
    unsigned delayMs = 0;
};

// Safe for several threads at once.
class AnswerFaults {
public:
    // Counts add up. Throws a Problem for a class that is known. dataSync and reboot are not for the answers.
    void arm(const MessageFault& fault);
    void clear();
    nlohmann::json armed() const;  // as MessageFaults::armed()

    // An upload gets its entity of a class that nobody knows: one more part, which is the last.
    void alter(const omci::Message& request, omci::Message& answer);
    // Of the next answer; takes one off whatever it meets.
    AnswerFate next();

private:
    mutable std::mutex mutex_;
    MessageFault left_;
    std::uint16_t parts_ = 0;  // of the upload that was begun last
    bool isUploading_ = false;
};

// One bit of the content is another one; a code behind it stays.
void damage(omci::Bytes& frame);

}  // namespace vorn_onu

#endif
