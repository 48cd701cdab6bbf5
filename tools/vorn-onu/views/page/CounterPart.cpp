#include "views/page/CounterPart.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "views/Html.h"

namespace vorn_onu::page {

namespace {

using namespace html;
using nlohmann::json;

constexpr std::size_t kMaxRows = 24;  // more are shown in a window of their own

// "1,234,567"
std::string grouped(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t i = text.size(); i > 3; i -= 3) text.insert(i - 3, ",");
    return text;
}

// Three digits are enough for what moves: "1.25 Mbit", "980 B".
std::string withPrefix(double value, const std::string& unit) {
    constexpr std::array<const char*, 5> kPrefixes{"", "k", "M", "G", "T"};
    std::size_t prefix = 0;
    while (value >= 999.5 && prefix + 1 < kPrefixes.size()) {
        value /= 1000;
        ++prefix;
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", prefix == 0 || value >= 99.5 ? 0 : value >= 9.95 ? 1 : 2, value);
    return std::string(text) + " " + kPrefixes[prefix] + unit;
}

struct Count {
    std::uint64_t frames = 0, octets = 0;
    bool any() const { return frames != 0 || octets != 0; }
};

std::uint64_t numberAt(const json& object, const char* key) {
    return object.is_object() ? object.value(key, std::uint64_t{0}) : 0;
}
std::uint64_t numberAt(const json& list, std::size_t place) {
    return list.is_array() && place < list.size() ? list[place].get<std::uint64_t>() : 0;
}

// Where frames and octets of both directions are among the counters.
template <typename Key>
struct Places {
    Key inFrames, inOctets, outFrames, outOctets;
    Count in(const json& counters) const { return {numberAt(counters, inFrames), numberAt(counters, inOctets)}; }
    Count out(const json& counters) const { return {numberAt(counters, outFrames), numberAt(counters, outOctets)}; }
    bool any(const json& counters) const { return in(counters).any() || out(counters).any(); }
};

std::string total(const Count& count) {
    if (!count.any()) return "";
    return grouped(count.frames) + (count.frames == 1 ? " frame, " : " frames, ") +
           withPrefix(static_cast<double>(count.octets), "B");
}

// A counter that went back was reset: nothing is known of its rate.
std::string rate(const Count& now, const Count& before, double seconds) {
    if (!now.any()) return "";
    if (seconds <= 0 || now.frames < before.frames || now.octets < before.octets) return "–";
    const double frames = static_cast<double>(now.frames - before.frames) / seconds;
    if (frames == 0) return "–";
    const double bits = static_cast<double>(now.octets - before.octets) * 8 / seconds;
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", frames < 9.95 ? 1 : 0, frames);
    return (frames < 9.95 ? std::string(text) : grouped(static_cast<std::uint64_t>(std::llround(frames)))) +
           " frames/s, " + withPrefix(bits, "bit/s");
}

// All cells of a row: where, both directions, what else is to be said.
template <typename Key>
std::vector<std::string> trafficRow(const std::string& where, const Places<Key>& places, const json& now,
                                    const json& before, double seconds, const std::string& besides) {
    const Count in = places.in(now), out = places.out(now);
    return {where,  total(in), rate(in, places.in(before), seconds), total(out), rate(out, places.out(before), seconds),
            besides};
}

// What else a device has counted: "3 rx_dropped".
std::string others(const json& counters) {
    std::string text;
    for (const auto& [name, value] : counters.items()) {
        const bool shown = name == "rx_packets" || name == "rx_bytes" || name == "tx_packets" || name == "tx_bytes";
        if (shown || !value.is_number_unsigned() || value == 0U) continue;
        text += (text.empty() ? "" : ", ") + grouped(value.get<std::uint64_t>()) + " " + name;
    }
    return escaped(text);
}

const json& memberOf(const json& object, const std::string& key) {
    static const json nothing;
    if (!object.is_object()) return nothing;
    const auto found = object.find(key);
    return found == object.end() ? nothing : *found;
}

// As people count: sid2.5 before sid2.25.
std::vector<std::string> namesIn(const json& object) {
    std::vector<std::string> names;
    for (const auto& [name, value] : object.items()) names.push_back(name);
    std::sort(names.begin(), names.end(),
              [](const auto& one, const auto& other) { return strverscmp(one.c_str(), other.c_str()) < 0; });
    return names;
}

RowGroup deviceRows(const json& now, const json& before, double seconds) {
    constexpr Places<const char*> kPlaces{"rx_packets", "rx_bytes", "tx_packets", "tx_bytes"};
    RowGroup rows;
    const json& devices = memberOf(now, "devices");
    for (const std::string& name : namesIn(devices)) {
        const std::string rest = others(devices[name]);
        if (!kPlaces.any(devices[name]) && rest.empty()) continue;
        rows.rows.push_back(
            trafficRow(code(name), kPlaces, devices[name], memberOf(memberOf(before, "devices"), name), seconds, rest));
    }
    return rows;
}

// The kit's record: frames and octets sent, frames and octets received, ..., discarded.
RowGroup gemPortRows(const json& now, const json& before, double seconds) {
    constexpr Places<std::size_t> kPlaces{2, 3, 0, 1};
    constexpr std::size_t kDiscarded = 6;
    RowGroup rows;
    const json& ports = memberOf(now, "gemPorts");
    for (const std::string& port : namesIn(ports)) {
        const std::uint64_t discarded = numberAt(ports[port], kDiscarded);
        if (!kPlaces.any(ports[port]) && discarded == 0) continue;
        rows.rows.push_back(trafficRow(escaped("GEM port " + port), kPlaces, ports[port],
                                       memberOf(memberOf(before, "gemPorts"), port), seconds,
                                       discarded == 0 ? "" : grouped(discarded) + " discarded"));
    }
    return rows;
}

RowGroup queueRows(const json& now, const json& before, double seconds) {
    constexpr Places<const char*> kPlaces{"", "", "frames", "octets"};
    RowGroup rows;
    for (const json& queue : memberOf(now, "queues")) {
        if (!kPlaces.any(queue)) continue;
        json earlier;
        for (const json& one : memberOf(before, "queues"))
            if (one.value("tcont", -1) == queue.value("tcont", -1) &&
                one.value("queue", -1) == queue.value("queue", -1))
                earlier = one;
        const std::string where =
            "T-CONT " + std::to_string(queue.value("tcont", 0)) + ", queue " + std::to_string(queue.value("queue", 0));
        rows.rows.push_back(trafficRow(where, kPlaces, queue, earlier, seconds, ""));
    }
    return rows;
}

// Ports that are TAP devices of the host.
RowGroup tapRows(const json& now, const json& before, double seconds) {
    constexpr Places<const char*> kPlaces{"framesIn", "octetsIn", "framesOut", "octetsOut"};
    RowGroup rows;
    const json& all = memberOf(now, "taps");
    for (std::size_t i = 0; i < all.size(); ++i) {
        const json& earlier = memberOf(before, "taps");
        const json& past = i < earlier.size() ? earlier[i] : memberOf(json(), "");
        const std::string became = all[i].value("became", "");
        std::string besides = !became.empty()                 ? "the interface was " + escaped(became)
                              : all[i].value("linkUp", false) ? ""
                                                              : "link down";
        for (const auto& [key, words] :
             {std::make_pair("dropped", "dropped by the board"), std::make_pair("lostIn", "lost in front"),
              std::make_pair("lostOut", "lost behind")})
            if (const std::uint64_t count = numberAt(all[i], key); count != 0)
                besides += (besides.empty() ? "" : ", ") + grouped(count) + " " + words;
        rows.rows.push_back(trafficRow(escaped(all[i].value("port", "")) + " " + code(all[i].value("interface", "")),
                                       kPlaces, all[i], past, seconds, besides));
    }
    return rows;
}

}  // namespace

std::string counterPart(const json& now, const json& before, double seconds) {
    RowGroup devices = deviceRows(now, before, seconds), ports = gemPortRows(now, before, seconds),
             queues = queueRows(now, before, seconds), taps = tapRows(now, before, seconds);
    devices.title = "devices";
    ports.title = "GEM ports";
    queues.title = "upstream queues";
    taps.title = "real packets";
    const std::string text = stackingTable({"where", "received", "received now", "sent", "sent now", "besides"},
                                           {taps, devices, ports, queues}, "counts");
    if (text.empty()) return "";
    const std::size_t rows = devices.rows.size() + ports.rows.size() + queues.rows.size() + taps.rows.size();
    if (rows <= kMaxRows) return card(text);
    return card("<div class=\"tall most\" role=\"region\" aria-label=\"Counters\" tabindex=\"0\">" + text + "</div>");
}

}  // namespace vorn_onu::page
