// Start-up, identity, state and the operations that this board answers at once.
#include <algorithm>
#include <string>
#include <vector>

#include "hal/CounterRecords.h"
#include "hal/VornHal.h"
#include "scenario/operations/Operations.h"

namespace vorn_onu {

namespace {

// A query with one number, or none, and the place for its answer.
struct OneNumber {
    std::uint32_t number;
    std::uint8_t noBuffer;
};
template <typename Arguments>
Field noBuffer() {
    return field("noBuffer", &Arguments::noBuffer, Numbers{0, 1, {}, true}, otherwise(false),
                 "true: a null pointer in place of the buffer");
}
std::vector<Field> numberField(const char* name, const char* doc, std::int64_t highest = 0xFFFFFFFF) {
    return {field(name, &OneNumber::number, Numbers{0, highest}, required(), doc), noBuffer<OneNumber>()};
}
template <typename Arguments, typename Value>
Value* placeFor(Value& value, const Arguments& a) {
    return a.noBuffer != 0 ? nullptr : &value;
}

// Reads a text into a buffer of the given size, as the daemon does.
struct TextArguments {
    std::int64_t size;
    std::uint8_t noBuffer;
};
std::vector<Field> textFields() {
    return {field("size", &TextArguments::size, Numbers{0, kLargestBuffer}, otherwise(64), "size of the buffer"),
            noBuffer<TextArguments>()};
}

// Calls with a buffer that holds what its size claims, up to a limit that no text of a board comes near.
template <typename Call>
Outcome textOutcome(const TextArguments& a, Call call) {
    const auto room = std::clamp<std::int64_t>(a.size, 0, kLargestBuffer);
    std::vector<char> buffer(static_cast<std::size_t>(room) + 1, '\0');
    const int result = call(a.noBuffer != 0 ? nullptr : buffer.data());
    return {result, {{"text", textJson(buffer.data())}}};
}

using TextGetter = int (VornHal::*)(unsigned char*, unsigned int);
Operation textQuery(const char* name, const char* doc, TextGetter member) {
    return operation<TextArguments>(
        name, doc, kQuery, textFields(), {"text"}, [member](VornHal& hal, TextArguments& a) {
            return textOutcome(a, [&](char* buffer) {
                return (hal.*member)(reinterpret_cast<unsigned char*>(buffer), static_cast<unsigned int>(a.size));
            });
        });
}

using NumberGetter = int (VornHal::*)(unsigned int, unsigned int*);
Operation portQuery(const char* name, const char* doc, const char* output, NumberGetter member) {
    return operation<OneNumber>(name, doc, kQuery, numberField("port", "number of the port"), {output},
                                [member, output](VornHal& hal, OneNumber& a) {
                                    unsigned int value = 0;
                                    const int result = (hal.*member)(a.number, placeFor(value, a));
                                    return Outcome{result, {{output, value}}};
                                });
}

using LevelGetter = int (VornHal::*)(int*);
Operation levelQuery(const char* name, const char* doc, LevelGetter member) {
    return operation<OneNumber>(name, doc, kQuery, {noBuffer<OneNumber>()}, {"level"},
                                [member](VornHal& hal, OneNumber& a) {
                                    int level = 0;
                                    const int result = (hal.*member)(placeFor(level, a));
                                    return Outcome{result, {{"level", level}}};
                                });
}

constexpr const char* kUnsupported = "not supported by this board: answers 0";

// Operations of other boards, called without their records.
template <typename Call>
Operation unsupported(const char* name, Call call) {
    return plain(name, kUnsupported, kQuery, call);
}

std::vector<Operation> unsupportedOperations() {
    return {
        unsupported("vorn_omci_hal_register_link_st",
                    [](VornHal& hal) { return hal.vorn_omci_hal_register_link_st(nullptr); }),
        unsupported("vorn_omci_hal_pkt_send", [](VornHal& hal) { return hal.vorn_omci_hal_pkt_send(nullptr, 0); }),
        unsupported("vorn_omci_hal_init_onu_config", [](VornHal& hal) { return hal.vorn_omci_hal_init_onu_config(); }),
        unsupported("vorn_omci_hal_fetch_onu_config",
                    [](VornHal& hal) { return hal.vorn_omci_hal_fetch_onu_config(nullptr); }),
        unsupported("vorn_omci_hal_register_eth_st",
                    [](VornHal& hal) { return hal.vorn_omci_hal_register_eth_st(nullptr); }),
        unsupported("vorn_omci_hal_mic_build", [](VornHal& hal) { return hal.vorn_omci_hal_mic_build(nullptr, 0, 0); }),
        unsupported("vorn_omci_hal_mic_check", [](VornHal& hal) { return hal.vorn_omci_hal_mic_check(nullptr); }),
        unsupported("vorn_omci_hal_gen_mic_init", [](VornHal& hal) { return hal.vorn_omci_hal_gen_mic_init(); }),
        unsupported("vorn_omci_hal_hw_rev_get", [](VornHal& hal) { return hal.vorn_omci_hal_hw_rev_get(nullptr); }),
        unsupported("vorn_omci_hal_clei_code_get",
                    [](VornHal& hal) { return hal.vorn_omci_hal_clei_code_get(nullptr); }),
        unsupported("vorn_omci_hal_iphost_rule_add",
                    [](VornHal& hal) { return hal.vorn_omci_hal_iphost_rule_add(nullptr, nullptr); }),
        unsupported("vorn_omci_hal_get_gem_count",
                    [](VornHal& hal) { return hal.vorn_omci_hal_get_gem_count(nullptr); }),
        unsupported("vorn_omci_hal_filter_flow_del",
                    [](VornHal& hal) { return hal.vorn_omci_hal_filter_flow_del(nullptr); }),
        unsupported("vorn_omci_hal_us_flow_del", [](VornHal& hal) { return hal.vorn_omci_hal_us_flow_del(nullptr); }),
        unsupported("vorn_omci_hal_us_flow_add", [](VornHal& hal) { return hal.vorn_omci_hal_us_flow_add(nullptr); }),
        unsupported("vorn_omci_hal_mcast_cfg",
                    [](VornHal& hal) { return hal.vorn_omci_hal_mcast_cfg(nullptr, nullptr); }),
        unsupported("vorn_pon_state_mechanism", [](VornHal& hal) { return hal.vorn_pon_state_mechanism(); }),
    };
}

Operation portMode(const char* name, int (VornHal::*member)(unsigned short*, unsigned char)) {
    struct Arguments {
        std::uint16_t port;
        std::uint8_t value;
    };
    return operation<Arguments>(name, kUnsupported, kQuery,
                                {field("port", &Arguments::port, Numbers{}, required(), "number of the port"),
                                 field("value", &Arguments::value, Numbers{0, 255}, required(), "what to set")},
                                {}, [member](VornHal& hal, Arguments& a) {
                                    return Outcome{(hal.*member)(&a.port, a.value), Json::object()};
                                });
}

Operation versionQuery() {
    return operation<TextArguments>("vorn_omci_hal_swimage_version_get", "version of the booted software image", kQuery,
                                    textFields(), {"text"}, [](VornHal& hal, TextArguments& a) {
                                        return textOutcome(a, [&](char* buffer) {
                                            return hal.vorn_omci_hal_swimage_version_get(buffer,
                                                                                         static_cast<int>(a.size), 0);
                                        });
                                    });
}

Json directionJson(const EthernetPmDirection& d) {
    return {{"octets", d.octets},
            {"frames", d.frames},
            {"multicastFrames", d.multicastFrames},
            {"broadcastFrames", d.broadcastFrames},
            {"errors", d.errors},
            {"discards", d.discards}};
}

struct CountersArguments {
    std::uint16_t kind;
    std::uint8_t interval;
    std::uint8_t reader;
    std::uint8_t noBuffer;
};

Operation countersQuery() {
    using R = CountersArguments;
    Operation row = operation<R>(
        "vorn_omci_hal_pm_get", "performance monitoring of the subscriber side", kQuery,
        {field("kind", &R::kind,
               Numbers{0, 65535, {{"ethernet", kPmEthernet}, {"ethernetOfReader", kPmEthernetOfReader}}},
               otherwise("ethernet"), "which counters"),
         field("interval", &R::interval,
               Numbers{0, 255, {{"absolute", kPmAbsolute}, {"interval", kPmInterval}, {"intervalEnd", kPmIntervalEnd}}},
               otherwise("absolute"), "since the device was made, or since the 15-minute interval began"),
         field("reader", &R::reader, Numbers{0, 255, {}}, otherwise(0), "of ethernetOfReader: whose interval"),
         noBuffer<R>()},
        {"received", "transmitted", "split"}, [](VornHal& hal, R& a) {
            PmRequest request{a.kind, a.interval, a.reader};
            EthernetPmReaderRecord record{};
            const int result = hal.vorn_omci_hal_pm_get(&request, placeFor(record, a));
            Outcome outcome{
                result,
                {{"received", directionJson(record.received)}, {"transmitted", directionJson(record.transmitted)}}};
            if (a.kind == kPmEthernetOfReader) outcome.output["split"] = record.split;
            return outcome;
        });
    row.onNull = [](VornHal& hal) {
        EthernetPmRecord record{};
        return Outcome{hal.vorn_omci_hal_pm_get(nullptr, &record), Json::object()};
    };
    return row;
}

Operation maxFrameSize() {
    struct Arguments {
        std::uint32_t size;
    };
    return operation<Arguments>(
        "vorn_omci_hal_eth_port_max_frame_set", kUnsupported, kQuery,
        {field("size", &Arguments::size, Numbers{0, 0xFFFFFFFF}, otherwise(0), "largest frame in bytes")}, {},
        [](VornHal& hal, Arguments& a) {
            return Outcome{hal.vorn_omci_hal_eth_port_max_frame_set(a.size), Json::object()};
        });
}

Operation gemIndexQuery() {
    return operation<OneNumber>(
        "vorn_omci_hal_gem_get_idx_from_id", kUnsupported, kQuery, numberField("gemPort", "GEM port id", 65535),
        {"index"}, [](VornHal& hal, OneNumber& a) {
            unsigned short index = 0;
            const auto gemPort = static_cast<unsigned short>(a.number);
            const int result = hal.vorn_omci_hal_gem_get_idx_from_id(gemPort, placeFor(index, a));
            return Outcome{result, {{"index", index}}};
        });
}

Operation setAction() {
    struct Arguments {
        std::int32_t action;
    };
    return operation<Arguments>(
        "vorn_hal_set_omci_action", "notes the OMCI action that the daemon works on", kChanges,
        {field("action", &Arguments::action, Numbers{0, kHighestAction}, required(), "action code")}, {},
        [](VornHal& hal, Arguments& a) {
            return Outcome{hal.vorn_hal_set_omci_action(a.action), Json::object()};
        });
}

}  // namespace

std::vector<Operation> queryOperations() {
    std::vector<Operation> rows = {
        plain("vorn_test_call", "life sign: answers 4", kQuery, [](VornHal& hal) { return hal.vorn_test_call(); }),
        plain("vorn_omci_hal_init", "connects to the gateway side and starts the listener", kQuery,
              [](VornHal& hal) { return hal.vorn_omci_hal_init(); }),
        portQuery("vorn_omci_hal_eth_port_speed_get", "writes nothing on this board", "speed",
                  &VornHal::vorn_omci_hal_eth_port_speed_get),
        portQuery("vorn_omci_hal_eth_port_duplex_get", "writes nothing on this board", "duplex",
                  &VornHal::vorn_omci_hal_eth_port_duplex_get),
        portQuery("vorn_omci_hal_eth_port_id_get", kUnsupported, "id", &VornHal::vorn_omci_hal_eth_port_id_get),
        portMode("vorn_omci_hal_eth_port_mode_set", &VornHal::vorn_omci_hal_eth_port_mode_set),
        portQuery("vorn_omci_hal_port_enable_get", "has the gateway made this sub-device of the VEIP?", "enabled",
                  &VornHal::vorn_omci_hal_port_enable_get),
        portMode("vorn_omci_hal_eth_port_admin_set", &VornHal::vorn_omci_hal_eth_port_admin_set),
        setAction(),
        textQuery("vorn_omci_hal_vid_get", "writes nothing on this board", &VornHal::vorn_omci_hal_vid_get),
        textQuery("vorn_omci_hal_sn_get", "serial number", &VornHal::vorn_omci_hal_sn_get),
        textQuery("vorn_omci_hal_mac_get", "MAC address", &VornHal::vorn_omci_hal_mac_get),
        textQuery("vorn_omci_hal_pn_get", "part number", &VornHal::vorn_omci_hal_pn_get),
        plain("vorn_omci_hal_nvram_info_get", "reads the board's NVRAM; comes before the identity", kChanges,
              [](VornHal& hal) { return hal.vorn_omci_hal_nvram_info_get(); }),
        levelQuery("vorn_omci_hal_rx_laser_power_get", "received optical level in 0.002 dB",
                   &VornHal::vorn_omci_hal_rx_laser_power_get),
        levelQuery("vorn_omci_hal_tx_laser_power_get", "transmitted optical level in 0.002 dB",
                   &VornHal::vorn_omci_hal_tx_laser_power_get),
        plain("vorn_omci_hal_gponctl_state_set", "starts the GPON link in its stored state", kChanges,
              [](VornHal& hal) { return hal.vorn_omci_hal_gponctl_state_set(); }),
        versionQuery(),
        countersQuery(),
        gemIndexQuery(),
        maxFrameSize(),
        plain("vorn_hal_get_mac_ip_host", "MAC address of the management host", kQuery,
              [](VornHal& hal) { return hal.vorn_hal_get_mac_ip_host(); }),
        plain("vorn_hal_get_mac_sub_host", "MAC address of the sub-host", kQuery,
              [](VornHal& hal) { return hal.vorn_hal_get_mac_sub_host(); }),
    };
    for (Operation& row : unsupportedOperations()) rows.push_back(std::move(row));
    return rows;
}

}  // namespace vorn_onu
