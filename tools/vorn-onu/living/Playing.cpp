#include "living/Playing.h"

#include <algorithm>
#include <set>
#include <utility>

#include "omci/message/ValueText.h"

namespace vorn_onu {

namespace {

using omci::MessageType;

bool belongsTo(const omci::Message& answer, const omci::Message& request) {
    return answer.transaction == request.transaction && answer.type == request.type && answer.entity == request.entity;
}

bool isOurs(omci::ClassId classId) {
    const omci::ClassInfo* info = omci::findClass(classId);
    return info != nullptr && info->takes(MessageType::kCreate);
}

bool needsItsEntity(MessageType type) {
    return type == MessageType::kSet || type == MessageType::kSetTable || type == MessageType::kDelete ||
           type == MessageType::kGet || type == MessageType::kGetNext;
}

const omci::NamedValue* find(const std::vector<omci::NamedValue>& values, const std::string& name) {
    const auto found = std::find_if(values.begin(), values.end(), [&](const auto& one) { return one.name == name; });
    return found != values.end() ? &*found : nullptr;
}

bool begins(const omci::Message& first) {
    return first.type == MessageType::kMibReset || first.type == MessageType::kMibUpload ||
           (first.type == MessageType::kGet && first.entity.classId == 2);
}

}  // namespace

void addHandling(Played& played, const Handling& handling, const std::function<std::size_t(std::uint64_t)>& numberOf) {
    const omci::Handled& handled = handling.handled;
    played.repeated = handled.repeated;
    for (HalStep call : handling.calls) {
        std::set<std::uint64_t> shown;
        for (const std::uint64_t message : call.messages) shown.insert(numberOf(message));
        shown.erase(0);
        call.messages.assign(shown.begin(), shown.end());
        played.calls.push_back(std::move(call));
    }
    played.problems.insert(played.problems.end(), handling.problems.begin(), handling.problems.end());
    for (const auto& message : handling.autonomous) played.autonomous.push_back(omci::textOf(message));
    played.autonomousMessages = handling.autonomous;
    if (!handled.answer) {
        played.whyNoAnswer = omci::nameOf(handled.dropped);
        if (handled.dropped != omci::Dropped::kNoAnswerAsked) played.refusal = RefusalKind::kRefused;
        return;
    }
    played.answer = omci::textOf(*handled.answer);
    played.answerMessage = handled.answer;
    const auto result = omci::resultOf(omci::decodeContent(*handled.answer).content);
    if (result.value_or(omci::Result::kSuccess) != omci::Result::kSuccess) played.refusal = RefusalKind::kRefused;
}

Playing::Playing(LivingOnu& onu, const MessageFile& file, std::size_t until, bool strict)
    : onu_(onu), file_(file), until_(until), strict_(strict) {
    const auto& messages = file.messages;
    const omci::Message* first = nullptr;
    std::map<std::uint16_t, std::vector<std::size_t>> open;  // requests by transaction
    for (std::size_t at = 0; at < messages.size(); ++at) {
        const omci::Message& message = messages[at].message;
        if (!omci::isUpstream(message)) {
            if (first == nullptr) first = &message;
            open[message.transaction].push_back(at);
        } else if (message.isAnswer) {
            auto& requests = open[message.transaction];
            const auto found = std::find_if(requests.rbegin(), requests.rend(),
                                            [&](std::size_t one) { return belongsTo(message, messages[one].message); });
            if (found != requests.rend() && answers_.emplace(*found, &messages[at]).second) {
                isAnswer_[at] = true;
                continue;
            }
        }
        ++all_;
    }
    beginsInTheMiddle_ = first == nullptr || !begins(*first);
}

std::size_t Playing::numberOf(std::uint64_t agentNumber) const {
    const auto found = numbers_.find(agentNumber);
    return found != numbers_.end() ? found->second : 0;
}

void Playing::run(const Listener& listener) {
    for (at_ = 0; at_ < file_.messages.size(); ++at_) {
        if (isAnswer_.count(at_) != 0) continue;
        if (until_ != 0 && number_ >= until_) return;
        listener(play(file_.messages[at_]));
    }
}

Played Playing::play(const FileMessage& one) {
    Played played;
    played.number = ++number_;
    played.place = one.place;
    played.seconds = one.seconds;
    played.message = one.message;
    played.text = omci::textOf(one.message);
    played.code = one.code;
    if (omci::isUpstream(one.message)) {
        played.fromOnu = true;
        return played;
    }
    makeUp(one.message, played);
    Handling handling = onu_.handle(one.message);
    numbers_[handling.handled.message] = played.number;
    addHandling(played, handling, [this](std::uint64_t message) { return numberOf(message); });
    const auto captured = answers_.find(at_);
    if (captured == answers_.end()) return played;
    played.captured = omci::textOf(captured->second->message);
    if (one.seconds && captured->second->seconds) played.latencyMs = (*captured->second->seconds - *one.seconds) * 1000;
    played.capturedCode = captured->second->code;
    if (handling.handled.answer)
        compare(played, *handling.handled.answer, captured->second->message);
    else {
        played.otherResult = true;
        played.differences.push_back("no answer here, " + played.captured->result + " in the capture");
    }
    if (played.refusal == RefusalKind::kRefused && !played.otherResult && !strict_)
        played.refusal = RefusalKind::kAsInCapture;
    return played;
}

// A capture that begins in the middle speaks of entities that the OLT made before. They are made with the values of a
// create of zeros, as far as the ONU takes it, so that what is set later has a place.
void Playing::makeUp(const omci::Message& request, Played& played) {
    if (request.type == MessageType::kMibReset) beginsInTheMiddle_ = beginsInTheMiddle_ && number_ > 1;
    const bool missing =
        needsItsEntity(request.type) && isOurs(request.entity.classId) && onu_.mib().find(request.entity) == nullptr;
    if (!beginsInTheMiddle_ || !missing) return;
    const auto answer = answers_.find(at_);
    if (answer != answers_.end()) {
        const std::string result = omci::textOf(answer->second->message).result;
        if (result.compare(0, 7, "success") != 0 && result.compare(0, 9, "attribute") != 0) return;
    }
    omci::Message create;
    create.transaction = transaction_++;
    create.type = MessageType::kCreate;
    create.answerWanted = true;
    create.entity = request.entity;
    omci::encodeContent(create, omci::CreateValues{omci::Bytes(omci::findClass(request.entity.classId)->createSize())});
    Handling handling = onu_.handle(create);
    if (onu_.mib().find(request.entity) == nullptr) return;
    played.madeUp.push_back(omci::entityText(request.entity));
    for (HalStep& call : handling.calls) {
        call.messages.clear();  // nobody has sent this one
        played.calls.push_back(std::move(call));
    }
}

void Playing::compare(Played& played, const omci::Message& ours, const omci::Message& theirs) const {
    if (ours.content == theirs.content) return;
    const omci::MessageText& here = *played.answer;
    const omci::MessageText& there = *played.captured;
    if (here.result != there.result) {
        played.otherResult = true;
        played.differences.push_back(here.result + " here, " + there.result + " in the capture");
    }
    for (const omci::NamedValue& value : there.values) {
        const omci::NamedValue* mine = find(here.values, value.name);
        const std::string said = value.name + " " + value.value + " in the capture";
        if (mine == nullptr)
            played.differences.push_back(said + ", not reported here");
        else if (mine->value != value.value)
            played.differences.push_back(said + ", " + mine->value + " here");
    }
    for (const omci::NamedValue& value : here.values)
        if (find(there.values, value.name) == nullptr)
            played.differences.push_back(value.name + " " + value.value + " here, not in the capture");
}

}  // namespace vorn_onu
