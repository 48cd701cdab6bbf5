#include "views/MessageLog.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <ctime>
#include <stdexcept>

#include "omci/message/ValueText.h"
#include "views/MessageOutput.h"

namespace vorn_onu {

namespace {

constexpr unsigned kMessageTypes = 32;
constexpr std::size_t kBytesInLine = 16;

std::uint16_t numberFrom(const std::string& option, const std::string& text) {
    std::size_t end = 0;
    unsigned long number = 0x10000;
    try {
        if (!text.empty() && std::isdigit(static_cast<unsigned char>(text.front())) != 0)
            number = std::stoul(text, &end, 0);
    } catch (const std::exception&) {
        end = 0;
    }
    if (end != text.size() || number > 0xFFFF)
        throw std::invalid_argument(option + ": must be a number up to 0xFFFF, not '" + text + "'");
    return static_cast<std::uint16_t>(number);
}

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

omci::MessageType typeFrom(const std::string& text) {
    for (unsigned number = 0; number < kMessageTypes; ++number) {
        const auto type = static_cast<omci::MessageType>(number);
        if (omci::isKnown(type) && lowered(omci::nameOf(type)) == lowered(text)) return type;
    }
    throw std::invalid_argument("--type: there is no message '" + text + "'");
}

std::string timeText(const Played& played) {
    char text[40] = "";
    if (played.microseconds) {
        const auto seconds = static_cast<std::time_t>(*played.microseconds / 1000000);
        std::tm day{};
        localtime_r(&seconds, &day);
        std::snprintf(text, sizeof text, "%02d:%02d:%02d.%06u  ", day.tm_hour, day.tm_min, day.tm_sec,
                      static_cast<unsigned>(*played.microseconds % 1000000));
    } else if (played.seconds) {
        std::snprintf(text, sizeof text, "%10.6f  ", *played.seconds);
    }
    return text;
}

std::string resultText(const Played& played) {
    if (played.fromOnu) return "";
    if (!played.answer) return "  no answer: " + played.whyNoAnswer;
    std::string text = "  " + (played.answer->result.empty() ? "answered" : played.answer->result);
    if (played.repeated) text += ", repeated";
    if (!played.fault.empty()) text += ", " + played.fault + " by a fault";
    if (!played.latencyMs) return text;
    char latency[32];
    std::snprintf(latency, sizeof latency, "  %.2f ms", *played.latencyMs);
    return text + latency;
}

std::string bytesText(const omci::Bytes& bytes) {
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += kBytesInLine) {
        char offset[32];
        std::snprintf(offset, sizeof offset, "    %04zx ", at);
        text += offset;
        for (std::size_t one = at; one < std::min(at + kBytesInLine, bytes.size()); ++one)
            text += " " + omci::hexText(omci::ByteView(bytes).part(one, 1));
        text += "\n";
    }
    return text;
}

std::string valuesBelow(const char* whose, const omci::MessageText& text) {
    const std::string words = valueWords(text);
    return words.empty() ? "" : std::string("    ") + whose + words + "\n";
}

}  // namespace

bool LogChoice::shows(const omci::Message& message) const {
    return (classes.empty() || classes.count(message.entity.classId) != 0) &&
           (instances.empty() || instances.count(message.entity.instance) != 0) &&
           (types.empty() || types.count(message.type) != 0);
}

LogChoice logChoice(const std::vector<std::string>& classes, const std::vector<std::string>& instances,
                    const std::vector<std::string>& types) {
    LogChoice choice;
    for (const std::string& one : classes) choice.classes.insert(numberFrom("--class", one));
    for (const std::string& one : instances) choice.instances.insert(numberFrom("--instance", one));
    for (const std::string& one : types) choice.types.insert(typeFrom(one));
    return choice;
}

std::string logText(const Played& played, const LogChoice& choice) {
    if (!choice.shows(played.message)) return "";
    std::string text = timeText(played) + (played.fromOnu ? "ONU  " : "OLT  ") + played.text.transaction + "  " +
                       played.text.type + "  " + played.text.entity + resultText(played) + "\n";
    if (choice.values) {
        text += valuesBelow("", played.text);
        if (played.answer) text += valuesBelow("answer: ", *played.answer);
    }
    if (choice.bytes) {
        text += bytesText(omci::encodeFrame(played.message));
        if (played.answerMessage) text += "    answer:\n" + bytesText(omci::encodeFrame(*played.answerMessage));
    }
    for (const omci::MessageText& message : played.autonomous)
        text += timeText(played) + "ONU  " + message.transaction + "  " + message.type + "  " + message.entity + "  " +
                valueWords(message) + "\n";
    return text;
}

}  // namespace vorn_onu
