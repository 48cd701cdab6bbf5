// The operations of VornHal as scenarios call them: what their arguments are is said in Operations.def.
#include <algorithm>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "hal/VornHal.h"
#include "running/scenario/operations/OperationArguments.h"
#include "running/scenario/operations/Operations.h"

namespace vorn_onu {

namespace {

// What all rows have.
struct Head {
    const char* name;
    bool changes;
    const char* doc;
};

template <typename Arguments, typename Call>
Operation halOperation(const Head& head, std::vector<Field> fields, std::vector<std::string> outputs, Call call) {
    return operation<Arguments>(head.name, head.doc, head.changes, std::move(fields), std::move(outputs), call);
}

template <typename Result>
Outcome answered(Result result) {
    return {result, Json::object()};
}

template <typename Result, typename... Arguments>
Operation row(const Head& head, Result (VornHal::*member)(Arguments...), const NoFields&) {
    return halOperation<NoArguments>(
        head, {}, {}, [member](VornHal& hal, NoArguments&) { return answered((hal.*member)(Arguments{}...)); });
}

template <typename Pointer, typename Record>
Operation row(const Head& head, int (VornHal::*member)(Pointer), RecordArgument<Record> argument) {
    Operation made = halOperation<Record>(head, std::move(argument.fields), {}, [member](VornHal& hal, Record& record) {
        return answered((hal.*member)(&record));
    });
    made.onNull = [member](VornHal& hal) { return answered((hal.*member)(nullptr)); };
    return made;
}

template <typename Record>
Operation row(const Head& head, int (VornHal::*member)(void*, void*), RecordArgument<Record> argument) {
    Operation made = halOperation<Record>(head, std::move(argument.fields), {}, [member](VornHal& hal, Record& record) {
        return answered((hal.*member)(nullptr, &record));
    });
    made.onNull = [member](VornHal& hal) { return answered((hal.*member)(nullptr, nullptr)); };
    return made;
}

template <typename Member, typename Values>
Operation row(const Head& head, Member member, ValueArguments<Values> arguments) {
    return halOperation<Values>(head, std::move(arguments.fields), {}, [member](VornHal& hal, Values& values) {
        return answered(std::apply([&](auto... each) { return (hal.*member)(each...); }, values.values()));
    });
}

template <typename Arguments>
Field noBuffer() {
    return field("noBuffer", &Arguments::noBuffer, Numbers{0, 1, {}, true}, otherwise(false),
                 "true: a null pointer in place of the buffer");
}
template <typename Arguments, typename Value>
Value* placeFor(Value& value, const Arguments& arguments) {
    return arguments.noBuffer != 0 ? nullptr : &value;
}

struct OneNumber {
    std::uint32_t number;
    std::uint8_t noBuffer;
};

template <typename Number, typename Answer>
Operation row(const Head& head, int (VornHal::*member)(Number, Answer*), const NumberAnswer& answer) {
    const Numbers range{0, std::numeric_limits<Number>::max()};
    return halOperation<OneNumber>(
        head, {field(answer.field, &OneNumber::number, range, required(), answer.doc), noBuffer<OneNumber>()},
        {answer.output}, [member, answer](VornHal& hal, OneNumber& a) {
            Answer value = 0;
            const int result = (hal.*member)(static_cast<Number>(a.number), placeFor(value, a));
            return Outcome{result, {{answer.output, value}}};
        });
}

Operation row(const Head& head, int (VornHal::*member)(int*), const NumberAnswer& answer) {
    return halOperation<OneNumber>(head, {noBuffer<OneNumber>()}, {answer.output},
                                   [member, answer](VornHal& hal, OneNumber& a) {
                                       int value = 0;
                                       const int result = (hal.*member)(placeFor(value, a));
                                       return Outcome{result, {{answer.output, value}}};
                                   });
}

struct TextArguments {
    std::int64_t size;
    std::uint8_t noBuffer;
};

// Calls with a buffer that holds what its size claims, up to a limit that no text of a board comes near.
template <typename Byte, typename Size, typename... Unused>
Operation row(const Head& head, int (VornHal::*member)(Byte*, Size, Unused...), const TextAnswer&) {
    return halOperation<TextArguments>(
        head,
        {field("size", &TextArguments::size, Numbers{0, kMaxBuffer}, otherwise(64), "size of the buffer"),
         noBuffer<TextArguments>()},
        {"text"}, [member](VornHal& hal, TextArguments& a) {
            const auto room = std::clamp<std::int64_t>(a.size, 0, kMaxBuffer);
            std::vector<char> buffer(static_cast<std::size_t>(room) + 1, '\0');
            auto* const place = a.noBuffer != 0 ? nullptr : reinterpret_cast<Byte*>(buffer.data());
            const int result = (hal.*member)(place, static_cast<Size>(a.size), Unused{}...);
            return Outcome{result, {{"text", textJson(buffer.data())}}};
        });
}

struct PortArguments {
    std::uint16_t port;
    std::uint8_t value;
};

Operation row(const Head& head, int (VornHal::*member)(unsigned short*, unsigned char), const PortAndValue&) {
    using R = PortArguments;
    return halOperation<R>(head,
                           {field("port", &R::port, Numbers{}, required(), "number of the port"),
                            field("value", &R::value, Numbers{0, 255}, required(), "what to set")},
                           {}, [member](VornHal& hal, R& a) { return answered((hal.*member)(&a.port, a.value)); });
}

struct CountersArguments {
    std::uint16_t kind;
    std::uint8_t interval;
    std::uint8_t reader;
    std::uint8_t noBuffer;
};

std::vector<Field> countersFields() {
    using R = CountersArguments;
    return {
        field("kind", &R::kind,
              Numbers{0, 65535, {{"ethernet", kPmEthernet}, {"ethernetOfReader", kPmEthernetOfReader}}},
              otherwise("ethernet"), "which counters"),
        field("interval", &R::interval,
              Numbers{0, 255, {{"absolute", kPmAbsolute}, {"interval", kPmInterval}, {"intervalEnd", kPmIntervalEnd}}},
              otherwise("absolute"), "since the device was made, or since the 15-minute interval began"),
        field("reader", &R::reader, Numbers{0, 255, {}}, otherwise(0), "of ethernetOfReader: whose interval"),
        noBuffer<R>()};
}

Operation row(const Head& head, int (VornHal::*member)(void*, void*), const CountersAnswer&) {
    using R = CountersArguments;
    Operation made = halOperation<
        R>(head, countersFields(), {"received", "transmitted", "split"}, [member](VornHal& hal, R& a) {
        PmRequest request{a.kind, a.interval, a.reader};
        EthernetPmReaderRecord record{};
        const int result = (hal.*member)(&request, placeFor(record, a));
        Json output = {{"received", countersJson(record.received)}, {"transmitted", countersJson(record.transmitted)}};
        if (a.kind == kPmEthernetOfReader) output["split"] = record.split;
        return Outcome{result, output};
    });
    made.onNull = [member](VornHal& hal) {
        EthernetPmRecord record{};
        return answered((hal.*member)(nullptr, &record));
    };
    return made;
}

}  // namespace

std::vector<Operation> halOperations() {
    std::vector<Operation> rows;  // an initialiser list would copy each of them
#define OPERATION(slot, name, parameters, arguments, fields, changes, doc) \
    rows.push_back(row({#name, changes, doc}, &VornHal::name, fields));
#include "running/scenario/operations/Operations.def"
    return rows;
}

}  // namespace vorn_onu
