// How an operation takes its arguments, as Operations.def says of each: what scenarios write, recordings hold and
// fuzzers vary.
#ifndef VORN_ONU_OPERATION_ARGUMENTS_H
#define VORN_ONU_OPERATION_ARGUMENTS_H

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "hal/CounterRecords.h"
#include "hal/ProvisioningRecords.h"
#include "running/scenario/fields/Field.h"
#include "running/scenario/operations/RecordFields.h"

namespace vorn_onu {

// Operation::changes
constexpr bool kQuery = false;
constexpr bool kChanges = true;

constexpr const char* kUnsupported = "not supported by this board: answers 0";

// ---- kinds of arguments ----

// None, or only such as other boards read (frames, callbacks, configurations): their layout is not known here.
// Scenarios pass zeros and null pointers, and recordings have no fields of them.
struct NoFields {};

// The last argument points to a record, or is null; the one before it is not looked at.
template <typename RecordType>
struct RecordArgument {
    using Record = RecordType;
    std::vector<Field> fields;
};

// A field an argument. Values can be made of the operation's arguments, and values() gives them back.
template <typename ValuesType>
struct ValueArguments {
    using Values = ValuesType;
    std::vector<Field> fields;
};

// The last argument is the place for one number; before it comes a number with a field, or nothing.
struct NumberAnswer {
    const char* output;
    const char* field;  // null: none
    const char* doc;
};
inline NumberAnswer numberAnswer(const char* output, const char* field = nullptr, const char* doc = nullptr) {
    return {output, field, doc};
}

// The first two arguments are the place for a text and its size in bytes.
struct TextAnswer {};

// The address of a port's number, and a value.
struct PortAndValue {};

// A PmRequest, and the place for its answer.
struct CountersAnswer {};

// ---- operations that take values ----

struct BridgeArguments {
    std::uint16_t bridgeId, uniPort;
    auto values() const { return std::make_tuple(bridgeId, uniPort); }
};
ValueArguments<BridgeArguments> bridgeArguments();

struct ActionArgument {
    std::int32_t action;
    auto values() const { return std::make_tuple(action); }
};
ValueArguments<ActionArgument> actionArgument();

struct FrameSizeArgument {
    std::uint32_t size;
    auto values() const { return std::make_tuple(size); }
};
ValueArguments<FrameSizeArgument> frameSizeArgument();

struct VeipArguments {
    VeipArguments() = default;
    VeipArguments(std::uint16_t gem, std::uint16_t bridge, std::uint16_t filter, std::uint8_t entries,
                  const unsigned char* list, std::uint16_t traffic);
    // The list belongs to this object.
    std::tuple<std::uint16_t, std::uint16_t, std::uint16_t, std::uint8_t, const unsigned char*, std::uint16_t> values()
        const;

    std::uint16_t gemPort = 0, bridgeId = 0, filterType = 0;
    std::uint8_t numberOfEntries = 0;
    std::optional<std::string> filterList = std::string();  // none: a null pointer
    std::uint16_t trafficType = 0;
};
ValueArguments<VeipArguments> veipArguments();

// ---- counters as answers hold them ----

Json countersJson(const EthernetPmDirection& counters);
Json countersJson(const IntfStats& counters);

}  // namespace vorn_onu

#endif
