// Start-up, identity, state and the operations that this board answers at once.
// What only other boards read (frames, configurations, callbacks) is passed on and not recorded: its layout is not
// known here.
#include "Answers.h"
#include "RecordingHal.h"
#include "hal/CounterRecords.h"

namespace recorder {

namespace {

const Json& noFields() {
    static const Json& none = *new Json(Json::object());
    return none;
}

char* textOf(unsigned char* buffer) {
    return reinterpret_cast<char*>(buffer);
}

// An operation that is given a port by its address and one value.
template <typename Call>
int recordedPort(const char* operation, const unsigned short* port, unsigned char value, Call call) {
    Json fields = {{"port", port != nullptr ? *port : 0}, {"value", value}};
    if (port == nullptr) fields["note"] = "the port was a null pointer";
    return recorded(operation, fields, call);
}

// The JSON of a return value has to be a text: one that is not UTF-8 is left out.
template <typename Call>
std::string recordedAnswer(const char* operation, Call call) {
    RecordedCall step(operation, noFields());
    const std::string result = call();
    const Json text = vorn_onu::textJson(result);
    step.answered(text.is_string() ? text : Json(nullptr));
    return result;
}

Json directionJson(const EthernetPmDirection& d) {
    return {{"octets", d.octets},
            {"frames", d.frames},
            {"multicastFrames", d.multicastFrames},
            {"broadcastFrames", d.broadcastFrames},
            {"errors", d.errors},
            {"discards", d.discards}};
}

}  // namespace

// ---- start-up ----

int RecordingHal::vorn_test_call() {
    return recorded("vorn_test_call", noFields(), [&] { return inner_.vorn_test_call(); });
}

int RecordingHal::vorn_omci_hal_init() {
    return recorded("vorn_omci_hal_init", noFields(), [&] { return inner_.vorn_omci_hal_init(); });
}

int RecordingHal::vorn_omci_hal_register_link_st(HalNotifyCallback callback) {
    return recorded("vorn_omci_hal_register_link_st", noFields(),
                    [&] { return inner_.vorn_omci_hal_register_link_st(callback); });
}

int RecordingHal::vorn_omci_hal_pkt_send(unsigned char* frame, unsigned int length) {
    return recorded("vorn_omci_hal_pkt_send", noFields(), [&] { return inner_.vorn_omci_hal_pkt_send(frame, length); });
}

// ---- Ethernet UNIs ----

int RecordingHal::vorn_omci_hal_eth_port_max_frame_set(unsigned int size) {
    return recorded("vorn_omci_hal_eth_port_max_frame_set", {{"size", size}},
                    [&] { return inner_.vorn_omci_hal_eth_port_max_frame_set(size); });
}

int RecordingHal::vorn_omci_hal_eth_port_speed_get(unsigned int port, unsigned int* speed) {
    return recordedNumber("vorn_omci_hal_eth_port_speed_get", {{"port", port}}, "speed", speed,
                          [&] { return inner_.vorn_omci_hal_eth_port_speed_get(port, speed); });
}

int RecordingHal::vorn_omci_hal_eth_port_duplex_get(unsigned int port, unsigned int* duplex) {
    return recordedNumber("vorn_omci_hal_eth_port_duplex_get", {{"port", port}}, "duplex", duplex,
                          [&] { return inner_.vorn_omci_hal_eth_port_duplex_get(port, duplex); });
}

int RecordingHal::vorn_omci_hal_init_onu_config() {
    return recorded("vorn_omci_hal_init_onu_config", noFields(),
                    [&] { return inner_.vorn_omci_hal_init_onu_config(); });
}

int RecordingHal::vorn_omci_hal_fetch_onu_config(ontConfig* config) {
    return recorded("vorn_omci_hal_fetch_onu_config", noFields(),
                    [&] { return inner_.vorn_omci_hal_fetch_onu_config(config); });
}

int RecordingHal::vorn_omci_hal_register_eth_st(HalNotifyCallback callback) {
    return recorded("vorn_omci_hal_register_eth_st", noFields(),
                    [&] { return inner_.vorn_omci_hal_register_eth_st(callback); });
}

int RecordingHal::vorn_omci_hal_eth_port_mode_set(unsigned short* port, unsigned char mode) {
    return recordedPort("vorn_omci_hal_eth_port_mode_set", port, mode,
                        [&] { return inner_.vorn_omci_hal_eth_port_mode_set(port, mode); });
}

int RecordingHal::vorn_omci_hal_mic_build(unsigned char* frame, unsigned int length, unsigned int direction) {
    return recorded("vorn_omci_hal_mic_build", noFields(),
                    [&] { return inner_.vorn_omci_hal_mic_build(frame, length, direction); });
}

int RecordingHal::vorn_omci_hal_mic_check(unsigned char* frame) {
    return recorded("vorn_omci_hal_mic_check", noFields(), [&] { return inner_.vorn_omci_hal_mic_check(frame); });
}

int RecordingHal::vorn_omci_hal_gen_mic_init() {
    return recorded("vorn_omci_hal_gen_mic_init", noFields(), [&] { return inner_.vorn_omci_hal_gen_mic_init(); });
}

int RecordingHal::vorn_omci_hal_eth_port_id_get(unsigned int port, unsigned int* id) {
    return recordedNumber("vorn_omci_hal_eth_port_id_get", {{"port", port}}, "id", id,
                          [&] { return inner_.vorn_omci_hal_eth_port_id_get(port, id); });
}

int RecordingHal::vorn_omci_hal_port_enable_get(unsigned int port, unsigned int* enabled) {
    return recordedNumber("vorn_omci_hal_port_enable_get", {{"port", port}}, "enabled", enabled,
                          [&] { return inner_.vorn_omci_hal_port_enable_get(port, enabled); });
}

int RecordingHal::vorn_omci_hal_eth_port_admin_set(unsigned short* port, unsigned char adminState) {
    return recordedPort("vorn_omci_hal_eth_port_admin_set", port, adminState,
                        [&] { return inner_.vorn_omci_hal_eth_port_admin_set(port, adminState); });
}

int RecordingHal::vorn_hal_set_omci_action(int action) {
    return recorded("vorn_hal_set_omci_action", upTo(vorn_onu::kHighestAction, "action", action),
                    [&] { return inner_.vorn_hal_set_omci_action(action); });
}

// ---- identity, optics, counters ----

int RecordingHal::vorn_omci_hal_vid_get(unsigned char* buffer, unsigned int size) {
    return recordedText("vorn_omci_hal_vid_get", textOf(buffer), size,
                        [&] { return inner_.vorn_omci_hal_vid_get(buffer, size); });
}

int RecordingHal::vorn_omci_hal_sn_get(unsigned char* buffer, unsigned int size) {
    return recordedText("vorn_omci_hal_sn_get", textOf(buffer), size,
                        [&] { return inner_.vorn_omci_hal_sn_get(buffer, size); });
}

int RecordingHal::vorn_omci_hal_mac_get(unsigned char* buffer, unsigned int size) {
    return recordedText("vorn_omci_hal_mac_get", textOf(buffer), size,
                        [&] { return inner_.vorn_omci_hal_mac_get(buffer, size); });
}

int RecordingHal::vorn_omci_hal_pn_get(unsigned char* buffer, unsigned int size) {
    return recordedText("vorn_omci_hal_pn_get", textOf(buffer), size,
                        [&] { return inner_.vorn_omci_hal_pn_get(buffer, size); });
}

int RecordingHal::vorn_omci_hal_hw_rev_get(unsigned char* buffer) {
    return recorded("vorn_omci_hal_hw_rev_get", noFields(), [&] { return inner_.vorn_omci_hal_hw_rev_get(buffer); });
}

int RecordingHal::vorn_omci_hal_clei_code_get(unsigned char* buffer) {
    return recorded("vorn_omci_hal_clei_code_get", noFields(),
                    [&] { return inner_.vorn_omci_hal_clei_code_get(buffer); });
}

int RecordingHal::vorn_omci_hal_nvram_info_get() {
    return recorded("vorn_omci_hal_nvram_info_get", noFields(), [&] { return inner_.vorn_omci_hal_nvram_info_get(); });
}

int RecordingHal::vorn_omci_hal_rx_laser_power_get(int* level) {
    return recordedNumber("vorn_omci_hal_rx_laser_power_get", noFields(), "level", level,
                          [&] { return inner_.vorn_omci_hal_rx_laser_power_get(level); });
}

int RecordingHal::vorn_omci_hal_tx_laser_power_get(int* level) {
    return recordedNumber("vorn_omci_hal_tx_laser_power_get", noFields(), "level", level,
                          [&] { return inner_.vorn_omci_hal_tx_laser_power_get(level); });
}

int RecordingHal::vorn_omci_hal_gponctl_state_set() {
    return recorded("vorn_omci_hal_gponctl_state_set", noFields(),
                    [&] { return inner_.vorn_omci_hal_gponctl_state_set(); });
}

int RecordingHal::vorn_omci_hal_swimage_version_get(char* buffer, int size, int unused) {
    return recordedText("vorn_omci_hal_swimage_version_get", buffer, size,
                        [&] { return inner_.vorn_omci_hal_swimage_version_get(buffer, size, unused); });
}

int RecordingHal::vorn_pon_state_mechanism() {
    return recorded("vorn_pon_state_mechanism", noFields(), [&] { return inner_.vorn_pon_state_mechanism(); });
}

int RecordingHal::vorn_omci_hal_pm_get(void* request, void* result) {
    constexpr const char* kOperation = "vorn_omci_hal_pm_get";
    const auto call = [&] { return inner_.vorn_omci_hal_pm_get(request, result); };
    if (request == nullptr) return recorded(kOperation, {{"record", nullptr}}, call);
    const auto& asked = *static_cast<const PmRequest*>(request);
    Json fields = {{"kind", asked.kind}, {"interval", asked.interval}};
    if (asked.kind == kPmEthernetOfReader) fields["reader"] = asked.reader;
    if (result == nullptr) return recorded(kOperation, withoutBuffer(fields), call);
    // The record of a reader begins like the other one. The layout of other results is not known.
    const bool ofReader = asked.kind == kPmEthernetOfReader;
    const bool ethernet = asked.kind == kPmEthernet || ofReader;
    RecordedCall step(kOperation, fields);
    const int code = call();
    if (code == 0 && ethernet) {
        const auto& counters = *static_cast<const EthernetPmRecord*>(result);
        Json answer = {{"received", directionJson(counters.received)},
                       {"transmitted", directionJson(counters.transmitted)}};
        if (ofReader) answer["split"] = static_cast<const EthernetPmReaderRecord*>(result)->split;
        step.answered(code, answer);
    } else {
        step.answered(code);
    }
    return code;
}

// ---- flows of other boards ----

int RecordingHal::vorn_omci_hal_iphost_rule_add(void* rule, void* unused) {
    return recorded("vorn_omci_hal_iphost_rule_add", noFields(),
                    [&] { return inner_.vorn_omci_hal_iphost_rule_add(rule, unused); });
}

int RecordingHal::vorn_omci_hal_get_gem_count(void* count) {
    return recorded("vorn_omci_hal_get_gem_count", noFields(),
                    [&] { return inner_.vorn_omci_hal_get_gem_count(count); });
}

int RecordingHal::vorn_omci_hal_filter_flow_del(void* record) {
    return recorded("vorn_omci_hal_filter_flow_del", noFields(),
                    [&] { return inner_.vorn_omci_hal_filter_flow_del(record); });
}

int RecordingHal::vorn_omci_hal_us_flow_del(void* record) {
    return recorded("vorn_omci_hal_us_flow_del", noFields(), [&] { return inner_.vorn_omci_hal_us_flow_del(record); });
}

int RecordingHal::vorn_omci_hal_us_flow_add(void* record) {
    return recorded("vorn_omci_hal_us_flow_add", noFields(), [&] { return inner_.vorn_omci_hal_us_flow_add(record); });
}

int RecordingHal::vorn_omci_hal_mcast_cfg(void* request, void* result) {
    return recorded("vorn_omci_hal_mcast_cfg", noFields(),
                    [&] { return inner_.vorn_omci_hal_mcast_cfg(request, result); });
}

int RecordingHal::vorn_omci_hal_gem_get_idx_from_id(unsigned short gemPortId, unsigned short* index) {
    return recordedNumber("vorn_omci_hal_gem_get_idx_from_id", {{"gemPort", gemPortId}}, "index", index,
                          [&] { return inner_.vorn_omci_hal_gem_get_idx_from_id(gemPortId, index); });
}

// ---- management addresses ----

std::string RecordingHal::vorn_hal_get_mac_ip_host() {
    return recordedAnswer("vorn_hal_get_mac_ip_host", [&] { return inner_.vorn_hal_get_mac_ip_host(); });
}

std::string RecordingHal::vorn_hal_get_mac_sub_host() {
    return recordedAnswer("vorn_hal_get_mac_sub_host", [&] { return inner_.vorn_hal_get_mac_sub_host(); });
}

}  // namespace recorder
