#include "EveryOperation.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <type_traits>
#include <vector>

#include <nlohmann/json.hpp>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "hal/HALFactory.h"
#include "hal/VornHal.h"
#include "running/scenario/operations/OperationArguments.h"

namespace {

using vorn_onu::Field;
using vorn_onu::Json;

constexpr std::size_t kMaxText = 1200;
constexpr std::size_t kMaxPbits = 20;

VornHal& hal() {
    static VornHal& only = *HALFactory::getInstance()->CreateHALObject(0);
    return only;
}

// Numbers that other operations have used, by the names of their fields.
struct Range {
    std::uint16_t first, last;
};
constexpr Range kBridges{0, 3}, kGemPorts{1000, 1004}, kAllocIds{256, 259}, kSmall{0, 6};
const std::map<std::string, Range> kUsedNumbers = {
    {"bridgeId", kBridges},    {"gemPort", kGemPorts},      {"gemPortId", kGemPorts},
    {"xgemPortId", kGemPorts}, {"tContAllocId", kAllocIds}, {"allocId", kAllocIds},
    {"tContIndex", {0, 4}},    {"uniPort", kSmall},         {"trafficType", kSmall}};
const std::map<std::string, const char*> kAddresses = {{"macAddress", "02:00:00:00:00:01"},
                                                       {"ipAddress", "10.0.0.5"},
                                                       {"subnetMask", "255.255.255.0"},
                                                       {"gateway", "10.0.0.1"}};

class Arguments {
public:
    explicit Arguments(FuzzedDataProvider& input) : input_(input) {}

    template <typename Number>
    Number any() {
        return input_.ConsumeIntegral<Number>();
    }
    // The place, or null at times.
    template <typename Value>
    Value* orNull(Value* place) {
        return input_.ConsumeIntegralInRange(0, 15) == 0 ? nullptr : place;
    }
    template <typename Record>
    Record record(const std::vector<Field>& fields) {
        Record made{};
        for (const Field& one : fields)
            (one.storeUnchecked != nullptr ? one.storeUnchecked : one.store)(&made, value(one));
        return made;
    }
    // What only other boards read: numbers, and the address of some bytes.
    template <typename Argument>
    Argument unread() {
        if constexpr (std::is_same_v<Argument, HalNotifyCallback>)
            return nullptr;
        else if constexpr (std::is_pointer_v<Argument>)
            return reinterpret_cast<Argument>(orNull(bytes_));
        else
            return any<Argument>();
    }
    unsigned textSize() { return input_.ConsumeIntegralInRange<unsigned>(0, 80); }

private:
    Json value(const Field& one) {
        if (one.name == "pbitMap") return vorn_onu::pbitMapJson(pbitMap());
        if (one.lowest > one.highest) return text(one);
        const auto used = kUsedNumbers.find(one.name);
        if (used != kUsedNumbers.end() && input_.ConsumeProbability<float>() < 0.7F)
            return input_.ConsumeIntegralInRange(used->second.first, used->second.last);
        return input_.ConsumeIntegralInRange(one.lowest, one.highest);
    }
    // Up to the last byte of its field, which then has no end.
    Json text(const Field& one) {
        const auto address = kAddresses.find(one.name);
        if (address != kAddresses.end() && input_.ConsumeBool()) return address->second;
        if (one.name == "filterList" && input_.ConsumeIntegralInRange(0, 15) == 0) return nullptr;
        const std::size_t longest =
            one.name == "vlanTciFilterList" ? sizeof(BridgeServiceProvisioning::vlanTciFilterList) : kMaxText;
        return {{"bytes", vorn_onu::hexText(input_.ConsumeRandomLengthString(longest))}};
    }
    vorn_onu::PbitMap pbitMap() {
        vorn_onu::PbitMap map;
        for (std::size_t n = input_.ConsumeIntegralInRange<std::size_t>(0, kMaxPbits); n > 0; --n) {
            const auto pbit = any<std::uint8_t>();
            map[pbit] = {input_.ConsumeIntegralInRange(kGemPorts.first, kGemPorts.last), any<std::uint16_t>()};
        }
        return map;
    }

    FuzzedDataProvider& input_;
    unsigned char bytes_[64] = {};
};

template <typename Result, typename... Types>
void call(Arguments& arguments, Result (VornHal::*member)(Types...), const vorn_onu::NoFields&) {
    const std::tuple<Types...> given{arguments.unread<Types>()...};
    std::apply([&](auto... each) { (hal().*member)(each...); }, given);
}

template <typename Pointer, typename Record>
void call(Arguments& arguments, int (VornHal::*member)(Pointer), const vorn_onu::RecordArgument<Record>& kind) {
    Record record = arguments.record<Record>(kind.fields);
    (hal().*member)(arguments.orNull(&record));
}

template <typename Record>
void call(Arguments& arguments, int (VornHal::*member)(void*, void*), const vorn_onu::RecordArgument<Record>& kind) {
    Record record = arguments.record<Record>(kind.fields);
    (hal().*member)(nullptr, arguments.orNull(&record));
}

template <typename Member, typename Values>
void call(Arguments& arguments, Member member, const vorn_onu::ValueArguments<Values>& kind) {
    const Values values = arguments.record<Values>(kind.fields);
    std::apply([&](auto... each) { (hal().*member)(each...); }, values.values());
}

template <typename Number, typename Answer>
void call(Arguments& arguments, int (VornHal::*member)(Number, Answer*), const vorn_onu::NumberAnswer&) {
    Answer answer = 0;
    const auto number = arguments.any<Number>();
    (hal().*member)(number, arguments.orNull(&answer));
}
void call(Arguments& arguments, int (VornHal::*member)(int*), const vorn_onu::NumberAnswer&) {
    int level = 0;
    (hal().*member)(arguments.orNull(&level));
}

// The buffer is as long as it is said to be: the address sanitizer sees a byte behind it.
template <typename Byte, typename Size, typename... Unused>
void call(Arguments& arguments, int (VornHal::*member)(Byte*, Size, Unused...), const vorn_onu::TextAnswer&) {
    const unsigned size = arguments.textSize();
    const std::unique_ptr<Byte[]> buffer(new Byte[size]);
    (hal().*member)(arguments.orNull(buffer.get()), static_cast<Size>(size), arguments.any<Unused>()...);
}

void call(Arguments& arguments, int (VornHal::*member)(unsigned short*, unsigned char), const vorn_onu::PortAndValue&) {
    auto port = arguments.any<unsigned short>();
    const auto value = arguments.any<unsigned char>();
    (hal().*member)(arguments.orNull(&port), value);
}

void call(Arguments& arguments, int (VornHal::*member)(void*, void*), const vorn_onu::CountersAnswer&) {
    PmRequest request{arguments.any<std::uint16_t>(), arguments.any<std::uint8_t>(), arguments.any<std::uint8_t>()};
    EthernetPmReaderRecord counters{};
    (hal().*member)(arguments.orNull(&request), arguments.orNull(&counters));
}

struct AnyCall {
    const char* name;
    bool changes;
    void (*make)(Arguments& arguments);
};
const AnyCall kOperations[] = {
#define OPERATION(slot, name, parameters, arguments, fields, changes, doc) \
    {#name, vorn_onu::changes, [](Arguments& any) {                        \
         using namespace vorn_onu;                                         \
         static const auto& kind = *new auto(fields);                      \
         call(any, &VornHal::name, kind);                                  \
     }},
#include "running/scenario/operations/Operations.def"
};

// Left out is what starts a thread, which a process does once.
std::vector<const AnyCall*> operationsThat(bool change) {
    std::vector<const AnyCall*> calls;
    for (const AnyCall& one : kOperations)
        if (one.changes == change && std::string("vorn_omci_hal_init") != one.name) calls.push_back(&one);
    return calls;
}

}  // namespace

void anyOperation(FuzzedDataProvider& input) {
    static const auto& provisioning = *new auto(operationsThat(vorn_onu::kChanges));
    static const auto& queries = *new auto(operationsThat(vorn_onu::kQuery));
    const auto& calls = input.ConsumeIntegralInRange(0, 9) < 8 ? provisioning : queries;
    Arguments arguments(input);
    calls[input.ConsumeIntegralInRange<std::size_t>(0, calls.size() - 1)]->make(arguments);
}

void answerForTheGateway() {
    std::thread([] {
        // The C library's sleep is the virtual ONU's.
        std::mutex mutex;
        std::condition_variable never;
        std::unique_lock<std::mutex> lock(mutex);
        for (;;) {
            never.wait_for(lock, std::chrono::milliseconds(1));
            pthread_mutex_lock(&syncOmciRgLock);
            pthread_cond_broadcast(&syncOmciRgCond);
            pthread_mutex_unlock(&syncOmciRgLock);
        }
    }).detach();
}
