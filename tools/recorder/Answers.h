// Forwarding a call and recording it, by the kind of its arguments.
#ifndef RECORDER_ANSWERS_H
#define RECORDER_ANSWERS_H

#include <cstring>
#include <string>
#include <tuple>

#include <nlohmann/json.hpp>

#include "Recording.h"
#include "running/scenario/operations/OperationArguments.h"

namespace recorder {

// A call that answers with its return value only.
template <typename Call>
int recordedCall(const char* operation, const Json& fields, Call call) {
    RecordedCall step(operation, fields);
    const int result = call();
    step.answered(result);
    return result;
}

inline Json withoutBuffer(Json fields) {
    fields["noBuffer"] = true;
    return fields;
}

// The JSON of a return value has to be a text: one that is not UTF-8 is left out.
template <typename Call>
std::string recordedText(const char* operation, Call call) {
    RecordedCall step(operation, Json::object());
    const std::string result = call();
    const Json text = vorn_onu::textJson(result);
    step.answered(text.is_string() ? text : Json(nullptr));
    return result;
}

// recorded(): given are the operation's arguments.

template <typename Call, typename Given>
auto recorded(const char* operation, const vorn_onu::NoFields&, Call call, const Given&) {
    if constexpr (std::is_same_v<decltype(call()), std::string>)
        return recordedText(operation, call);
    else
        return recordedCall(operation, Json::object(), call);
}

// The record is recorded as it is before the call.
template <typename Record, typename Call, typename Given>
int recorded(const char* operation, const vorn_onu::RecordArgument<Record>& argument, Call call, const Given& given) {
    const void* const record = std::get<std::tuple_size_v<Given> - 1>(given);
    if (record == nullptr) return recordedCall(operation, {{"record", nullptr}}, call);
    return recordedCall(operation, *vorn_onu::fieldsOf(*static_cast<const Record*>(record), argument.fields), call);
}

template <typename Values, typename Call, typename Given>
int recorded(const char* operation, const vorn_onu::ValueArguments<Values>& arguments, Call call, const Given& given) {
    const auto values = std::apply([](auto... each) { return Values{each...}; }, given);
    return recordedCall(operation, *vorn_onu::fieldsOf(values, arguments.fields), call);
}

// A value that is unchanged and not 0 may be the caller's own: a replay, which begins with 0, could not tell.
template <typename Call, typename Given>
int recorded(const char* operation, const vorn_onu::NumberAnswer& answer, Call call, const Given& given) {
    Json fields = Json::object();
    if constexpr (std::tuple_size_v < Given >> 1) fields[answer.field] = std::get<0>(given);
    const auto* const place = std::get<std::tuple_size_v<Given> - 1>(given);
    if (place == nullptr) return recordedCall(operation, withoutBuffer(fields), call);
    const auto before = *place;
    RecordedCall step(operation, fields);
    const int result = call();
    if (*place != before || *place == 0)
        step.answered(result, {{answer.output, *place}});
    else
        step.answered(result);
    return result;
}

// The same for a text. A size that scenarios do not allow is marked as such.
template <typename Call, typename Given>
int recorded(const char* operation, const vorn_onu::TextAnswer&, Call call, const Given& given) {
    const auto* const buffer = reinterpret_cast<const char*>(std::get<0>(given));
    const std::int64_t size = std::get<1>(given);
    Json fields = {{"size", size}};
    if (size < 0 || size > vorn_onu::kMaxBuffer) fields = {{vorn_onu::kUnchecked, fields}};
    if (buffer == nullptr) return recordedCall(operation, withoutBuffer(fields), call);
    const auto text = [&] {
        return std::string(buffer, size > 0 ? strnlen(buffer, static_cast<std::size_t>(size)) : 0);
    };
    const std::string before = text();
    RecordedCall step(operation, fields);
    const int result = call();
    const std::string after = text();
    if (after != before || after.empty())
        step.answered(result, {{"text", vorn_onu::textJson(after)}});
    else
        step.answered(result);
    return result;
}

template <typename Call, typename Given>
int recorded(const char* operation, const vorn_onu::PortAndValue&, Call call, const Given& given) {
    const auto [port, value] = given;
    Json fields = {{"port", port != nullptr ? *port : 0}, {"value", value}};
    if (port == nullptr) fields["note"] = "the port was a null pointer";
    return recordedCall(operation, fields, call);
}

template <typename Call, typename Given>
int recorded(const char* operation, const vorn_onu::CountersAnswer&, Call call, const Given& given) {
    const auto [request, result] = given;
    if (request == nullptr) return recordedCall(operation, {{"record", nullptr}}, call);
    const auto& asked = *static_cast<const PmRequest*>(request);
    // The record of a reader begins like the other one. The layout of other results is not known.
    const bool ofReader = asked.kind == kPmEthernetOfReader;
    const bool ethernet = asked.kind == kPmEthernet || ofReader;
    Json fields = {{"kind", asked.kind}, {"interval", asked.interval}};
    if (ofReader) fields["reader"] = asked.reader;
    if (result == nullptr) return recordedCall(operation, withoutBuffer(fields), call);
    RecordedCall step(operation, fields);
    const int code = call();
    if (code == 0 && ethernet) {
        const auto& counters = *static_cast<const EthernetPmRecord*>(result);
        Json answer = {{"received", vorn_onu::countersJson(counters.received)},
                       {"transmitted", vorn_onu::countersJson(counters.transmitted)}};
        if (ofReader) answer["split"] = static_cast<const EthernetPmReaderRecord*>(result)->split;
        step.answered(code, answer);
    } else {
        step.answered(code);
    }
    return code;
}

}  // namespace recorder

#endif
