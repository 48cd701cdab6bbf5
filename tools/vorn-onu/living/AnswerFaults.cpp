#include "living/AnswerFaults.h"

#include <algorithm>
#include <vector>

#include <nlohmann/json.hpp>

#include "omci/message/Contents.h"
#include "running/io/Words.h"
#include "running/scenario/fields/Problem.h"

namespace vorn_onu {

namespace {

constexpr std::size_t kHeader = 8;  // bytes of a message in front of its content, in both sets at least

std::uint16_t added(std::uint16_t one, std::uint16_t other) {
    return static_cast<std::uint16_t>(std::min(0xFFFF, one + other));
}

// Takes one off; false where there is none.
bool takeOff(std::uint16_t& left) {
    if (left == 0) return false;
    --left;
    return true;
}

}  // namespace

void AnswerFaults::arm(const MessageFault& fault) {
    if (const auto* known = omci::findClass(fault.unknownClass); fault.unknownClass != 0 && known != nullptr)
        throw Problem("unknownClass", std::to_string(fault.unknownClass) + " is known: " + known->name());
    const std::lock_guard<std::mutex> lock(mutex_);
    left_.drop = added(left_.drop, fault.drop);
    left_.delay = added(left_.delay, fault.delay);
    left_.duplicate = added(left_.duplicate, fault.duplicate);
    left_.damage = added(left_.damage, fault.damage);
    if (fault.delay != 0) left_.delayMs = fault.delayMs;
    if (fault.unknownClass != 0) left_.unknownClass = fault.unknownClass;
}

void AnswerFaults::clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    left_ = {};
}

nlohmann::json AnswerFaults::armed() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    auto list = nlohmann::json::array();
    const auto add = [&list](nlohmann::json fault) { list.push_back({{"omci", std::move(fault)}}); };
    if (left_.drop != 0) add({{"drop", left_.drop}});
    if (left_.delay != 0) add({{"delay", left_.delay}, {"delayMs", left_.delayMs}});
    if (left_.duplicate != 0) add({{"duplicate", left_.duplicate}});
    if (left_.damage != 0) add({{"damage", left_.damage}});
    if (left_.unknownClass != 0) add({{"unknownClass", left_.unknownClass}});
    return list;
}

void AnswerFaults::alter(const omci::Message& request, omci::Message& answer) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (request.type == omci::MessageType::kMibUpload) {
        const auto content = omci::decodeContent(answer).content;
        const auto* count = std::get_if<omci::CommandNumber>(&content);
        isUploading_ = left_.unknownClass != 0 && count != nullptr && count->number < 0xFFFF;
        if (!isUploading_) return;
        parts_ = count->number;
        omci::encodeContent(answer, omci::CommandNumber{static_cast<std::uint16_t>(parts_ + 1)});
    } else if (request.type == omci::MessageType::kMibUploadNext && isUploading_) {
        const auto content = omci::decodeContent(request).content;
        const auto* part = std::get_if<omci::CommandNumber>(&content);
        if (part == nullptr || part->number != parts_) return;
        omci::UploadEntries entries;
        entries.entries.push_back({{left_.unknownClass, 0}, omci::maskOf(1), {1}});
        omci::encodeContent(answer, entries);
    }
}

AnswerFate AnswerFaults::next() {
    const std::lock_guard<std::mutex> lock(mutex_);
    AnswerFate fate;
    if (takeOff(left_.drop)) {
        fate.dropped = true;
        fate.words = "not sent";
        return fate;
    }
    std::vector<std::string> words;
    if (takeOff(left_.damage)) {
        fate.damaged = true;
        words.emplace_back("damaged");
    }
    if (takeOff(left_.duplicate)) {
        fate.twice = true;
        words.emplace_back("sent twice");
    }
    if (takeOff(left_.delay)) {
        fate.delayMs = left_.delayMs;
        words.push_back("sent " + std::to_string(left_.delayMs) + " ms later");
    }
    fate.words = joined(words);
    return fate;
}

void damage(omci::Bytes& frame) {
    if (frame.size() > kHeader) frame[kHeader] ^= 0x10;
}

}  // namespace vorn_onu
