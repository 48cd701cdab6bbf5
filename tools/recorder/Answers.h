// Forwarding a call and recording it, by what it answers.
#ifndef RECORDER_ANSWERS_H
#define RECORDER_ANSWERS_H

#include <cstring>
#include <string>

#include "Recording.h"
#include "scenario/fields/Field.h"

namespace recorder {

// A call that answers with its return value only.
template <typename Call>
int recorded(const char* operation, const Json& fields, Call call) {
    RecordedCall step(operation, fields);
    const int result = call();
    step.answered(result);
    return result;
}

// A call whose argument is a record, or a null pointer in its place. The record is recorded as it is before the call.
template <typename Record, typename Call>
int recordedOn(const char* operation, const void* record, const std::vector<vorn_onu::Field>& fields, Call call) {
    if (record == nullptr) return recorded(operation, {{"record", nullptr}}, call);
    return recorded(operation, vorn_onu::fieldsOf(*static_cast<const Record*>(record), fields), call);
}

// A number that scenarios allow up to a limit; beyond it, it is marked as such.
inline Json upTo(std::int64_t highest, const char* field, std::int64_t value) {
    if (value >= 0 && value <= highest) return {{field, value}};
    return {{vorn_onu::kUnchecked, {{field, value}}}};
}

inline Json withoutBuffer(Json fields) {
    fields["noBuffer"] = true;
    return fields;
}

// A call that may write a number for its caller. What stands there unchanged and is not 0 may be the caller's own: a
// replay, which begins with 0, could not tell.
template <typename Number, typename Call>
int recordedNumber(const char* operation, const Json& fields, const char* output, Number* place, Call call) {
    if (place == nullptr) return recorded(operation, withoutBuffer(fields), call);
    const Number before = *place;
    RecordedCall step(operation, fields);
    const int result = call();
    if (*place != before || *place == 0)
        step.answered(result, {{output, *place}});
    else
        step.answered(result);
    return result;
}

// The same for a text in a buffer of size bytes.
template <typename Call>
int recordedText(const char* operation, char* buffer, std::int64_t size, Call call) {
    const Json fields = upTo(vorn_onu::kLargestBuffer, "size", size);
    if (buffer == nullptr) return recorded(operation, withoutBuffer(fields), call);
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

}  // namespace recorder

#endif
