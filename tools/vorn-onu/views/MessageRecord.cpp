#include "views/MessageRecord.h"

#include <stdexcept>

#include <nlohmann/json.hpp>

#include "omci/message/ValueText.h"
#include "running/scenario/fields/Field.h"
#include "views/MessageOutput.h"

namespace vorn_onu {

namespace {

std::string frameDigits(const omci::Message& message) {
    return omci::hexText(omci::encodeFrame(message));
}

omci::Message messageOfDigits(const nlohmann::json& digits) {
    const omci::DecodedFrame frame = omci::decodeFrame(bytesOfDigits(digits.get<std::string>()));
    if (frame.error != omci::FrameError::kNone)
        throw std::runtime_error(std::string("is no message: ") + omci::nameOf(frame.error));
    return frame.message;
}

}  // namespace

nlohmann::json messageRecord(const Played& played) {
    nlohmann::json record = playedJson(played);
    record["bytes"] = frameDigits(played.message);
    if (played.answerMessage) record["answerBytes"] = frameDigits(*played.answerMessage);
    if (played.microseconds) record["microseconds"] = *played.microseconds;
    if (played.latencyMs) record["latencyMs"] = *played.latencyMs;
    for (std::size_t at = 0; at < played.autonomousMessages.size(); ++at)
        record["autonomous"][at]["bytes"] = frameDigits(played.autonomousMessages[at]);
    return record;
}

Played playedOf(const nlohmann::json& record) {
    Played played;
    record.at("number").get_to(played.number);
    played.message = messageOfDigits(record.at("bytes"));
    played.text = omci::textOf(played.message);
    played.fromOnu = record.at("from") == "onu";
    played.whyNoAnswer = record.value("whyNoAnswer", "");
    played.fault = record.value("fault", "");
    played.repeated = record.value("repeated", false);
    if (record.contains("microseconds")) played.microseconds = record["microseconds"].get<std::uint64_t>();
    if (record.contains("latencyMs")) played.latencyMs = record["latencyMs"].get<double>();
    if (record.contains("answerBytes")) {
        played.answerMessage = messageOfDigits(record["answerBytes"]);
        played.answer = omci::textOf(*played.answerMessage);
    }
    for (const nlohmann::json& one : record.at("autonomous"))
        played.autonomous.push_back(omci::textOf(messageOfDigits(one.at("bytes"))));
    return played;
}

}  // namespace vorn_onu
