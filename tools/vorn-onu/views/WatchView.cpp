#include "views/WatchView.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "running/io/Printed.h"
#include "running/io/Words.h"
#include "running/state/DeviceState.h"
#include "running/state/FailedCalls.h"
#include "running/state/FaultWords.h"
#include "running/state/ServiceWords.h"
#include "running/state/Services.h"
#include "views/Terminal.h"

namespace vorn_onu {

namespace {

using nlohmann::json;
using Cells = std::vector<std::string>;

constexpr std::size_t kWide = 110;            // columns from which rates in bits have room
constexpr std::size_t kFewestCalls = 3;       // of the last calls, in any window
constexpr std::size_t kMaxWarningsShown = 4;  // lines

// Columns of their own widths, each as wide as its widest cell; the first is aligned to the left, numbers to the right.
struct Columns {
    struct Row {
        Cells cells;
        std::uint64_t frames = 0;  // since the look before
    };
    Cells headings;
    std::vector<Row> rows;
    std::size_t textColumns = 1;  // so many are aligned to the left
};

std::string padded(const std::string& text, std::size_t width, bool left) {
    const std::size_t used = widthOf(text);
    const std::string blanks(used < width ? width - used : 0, ' ');
    return left ? text + blanks : blanks + text;
}

bool holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::vector<std::string> linesOf(Columns columns, const WatchChoice& choice) {
    if (choice.byTraffic)
        std::stable_sort(columns.rows.begin(), columns.rows.end(),
                         [](const Columns::Row& a, const Columns::Row& b) { return a.frames > b.frames; });
    std::vector<std::size_t> widths(columns.headings.size(), 0);
    std::vector<Cells> all = {columns.headings};
    for (const Columns::Row& row : columns.rows)
        if (holds(joined(row.cells, "  "), choice.filter)) all.push_back(row.cells);
    for (const Cells& row : all)
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], widthOf(row[i]));
    std::vector<std::string> lines;
    for (const Cells& row : all) {
        std::string line = " ";
        for (std::size_t i = 0; i < row.size(); ++i)
            line += (i == 0 ? " " : "  ") + padded(row[i], widths[i], i < columns.textColumns);
        line.erase(line.find_last_not_of(' ') + 1);
        lines.push_back(line);
    }
    return lines;
}

// 950, 12.3k, 4.5M
std::string shortNumber(double number) {
    const char* unit = "";
    for (const char* next : {"k", "M", "G"}) {
        if (number < 1000) break;
        number /= 1000;
        unit = next;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), *unit != '\0' && number < 100 ? "%.1f%s" : "%.0f%s", number, unit);
    return text.data();
}

// A counter now, and how fast it grows.
class Counter {
public:
    Counter(const Watched& watched, const json::json_pointer& place) : seconds_(watched.seconds) {
        now_ = numberAt(*watched.counters, place);
        before_ = numberAt(*watched.before, place);
        isKnown_ = seconds_ > 0 && watched.before->is_object() && watched.before->contains(place);
    }
    std::string total() const { return std::to_string(now_); }
    std::string rate(double times = 1) const {
        if (!isKnown_ || now_ < before_) return "-";
        return shortNumber(static_cast<double>(now_ - before_) * times / seconds_);
    }
    std::uint64_t value() const { return now_; }
    std::uint64_t growth() const { return isKnown_ && now_ > before_ ? now_ - before_ : 0; }

private:
    static std::uint64_t numberAt(const json& counters, const json::json_pointer& place) {
        return counters.is_object() && counters.contains(place) ? counters.at(place).get<std::uint64_t>() : 0;
    }
    double seconds_;
    std::uint64_t now_ = 0, before_ = 0;
    bool isKnown_ = false;
};

constexpr double kBits = 8;

// Both directions of something with counters: rates, bits where there is room, totals, what was dropped.
Columns trafficColumns(Cells headings, bool wide) {
    Columns columns{{}, {}, headings.size()};
    headings.insert(headings.end(), {"in/s", "out/s"});
    if (wide) headings.insert(headings.end(), {"in bit/s", "out bit/s"});
    headings.insert(headings.end(), {"frames in", "out", "dropped"});
    columns.headings = std::move(headings);
    return columns;
}

Columns::Row trafficRow(Cells cells, const Counter& in, const Counter& inOctets, const Counter& out,
                        const Counter& outOctets, std::uint64_t dropped, bool wide) {
    cells.insert(cells.end(), {in.rate(), out.rate()});
    if (wide) cells.insert(cells.end(), {inOctets.rate(kBits), outOctets.rate(kBits)});
    cells.insert(cells.end(), {in.total(), out.total(), std::to_string(dropped)});
    return {std::move(cells), in.growth() + out.growth()};
}

bool isPort(const virtual_onu::NetworkDevice& device) {
    return device.realDevice.empty() && !device.isBridge && device.name != "gpondef";
}

Columns portsOf(const Watched& watched, const DeviceState& state, bool wide) {
    Columns columns = trafficColumns({"port", "link"}, wide);
    for (const json& one : watched.device->at("network").at("devices")) {
        const auto* device = state.device(oneLine(one.at("name").get<std::string>()));
        if (device == nullptr || !isPort(*device)) continue;
        const auto counter = [&](const char* key) {
            return Counter(watched, json::json_pointer() / "devices" / one.at("name").get<std::string>() / key);
        };
        const Counter in = counter("rx_packets"), out = counter("tx_packets");
        const std::uint64_t dropped = counter("rx_dropped").value() + counter("tx_dropped").value();
        const bool linked = one.at("operState") == "up";
        if (!device->up && in.value() + out.value() + dropped == 0) continue;
        columns.rows.push_back(trafficRow({device->name, !device->up ? "off"
                                                         : linked    ? "up"
                                                                     : "no link"},
                                          in, counter("rx_bytes"), out, counter("tx_bytes"), dropped, wide));
    }
    return columns;
}

// The device counts what it sends as sent: down the fibre comes what it has received.
Columns gemPortsOf(const Watched& watched, const DeviceState& state, bool wide) {
    Columns columns = trafficColumns({"GEM port", "alloc-id"}, wide);
    for (const auto& port : state.gemPorts) {
        const auto counter = [&](std::size_t index) {
            return Counter(watched, json::json_pointer() / "gemPorts" / std::to_string(port.portId) / index);
        };
        constexpr unsigned kNoAllocId = 65535;
        const std::string allocId = port.allocId == kNoAllocId ? "-" : std::to_string(port.allocId);
        columns.rows.push_back(trafficRow({std::to_string(port.portId), allocId}, counter(2), counter(3), counter(0),
                                          counter(1), counter(6).value(), wide));
    }
    return columns;
}

// Real packets: what came out of the host's interfaces and went into them.
Columns tapsOf(const Watched& watched, bool wide) {
    Columns columns = trafficColumns({"port", "TAP", "link"}, wide);
    columns.headings.emplace_back("lost");
    const json& taps = watched.counters->at("taps");
    for (std::size_t i = 0; i < taps.size(); ++i) {
        const auto counter = [&](const char* key) { return Counter(watched, json::json_pointer() / "taps" / i / key); };
        const std::string became = taps[i].value("became", "");
        const std::string link = taps[i].value("linkUp", false) ? "up"
                                 : became.empty()               ? "down"
                                                                : became.substr(0, became.find(' '));
        columns.rows.push_back(trafficRow({taps[i].value("port", ""), taps[i].value("interface", ""), link},
                                          counter("framesIn"), counter("octetsIn"), counter("framesOut"),
                                          counter("octetsOut"), counter("dropped").value(), wide));
        columns.rows.back().cells.push_back(std::to_string(counter("lostIn").value() + counter("lostOut").value()));
    }
    return columns;
}

std::vector<std::string> servicesLines(const DeviceState& state, const WatchChoice& choice) {
    Columns columns{{"service", "GEM ports", "at its ports"}, {}, 3};
    for (const Service& service : servicesOf(state)) {
        std::vector<std::string> gemPorts, ends;
        for (const auto& port : state.gemPorts)
            if (service.gemIndexes.count(port.index) != 0) gemPorts.push_back(std::to_string(port.portId));
        for (const ServiceEnd& end : service.unis) ends.push_back(end.port + " " + joined(vlansAt(service, end), ", "));
        columns.rows.push_back({{service.name, gemPorts.empty() ? "-" : joined(gemPorts, " "), joined(ends, "; ")}});
    }
    return columns.rows.empty() ? std::vector<std::string>{"  none"} : linesOf(std::move(columns), choice);
}

std::vector<std::string> warningsOf(const Watched& watched, const DeviceState& state) {
    std::vector<std::string> lines;
    for (const std::string& command : state.strangeCommands) lines.push_back("not understood: " + command);
    for (const FailedCallWords& call : failedCallWords(state.failedCalls, {})) lines.push_back(call.sentence());
    if (watched.device->at("bus").value("gateway", "") == "silent")
        lines.insert(lines.begin(), "the gateway is silent");
    return lines;
}

// A part of the screen: a title and lines, of which some may have no room.
struct Section {
    std::string title;
    std::vector<std::string> lines;
    std::size_t least = 1;     // lines that are shown in any case
    bool latestLast = false;   // the last lines are the ones that count
    bool hasHeadings = false;  // its first line, which stays where the others are scrolled
    std::size_t shown = 0;
};

// Gives every section its least and then one line after the other, in turns.
void share(std::vector<Section>& sections, std::size_t rows) {
    for (Section& section : sections) {
        section.shown = std::min({section.lines.size(), section.least, rows});
        rows -= section.shown;
    }
    for (bool given = true; given && rows > 0;) {
        given = false;
        for (Section& section : sections) {
            if (rows == 0 || section.shown == section.lines.size()) continue;
            ++section.shown;
            --rows;
            given = true;
        }
    }
}

class Painter {
public:
    Painter(std::size_t columns, bool colour) : columns_(columns), colour_(colour) {}
    void line(const std::string& text, const char* code = nullptr) {
        const std::string fitting = cut(oneLine(text), columns_);
        lines_.push_back(colour_ && code != nullptr ? painted(code, fitting) : fitting);
    }
    std::vector<std::string> take(std::size_t rows) {
        if (lines_.size() > rows) lines_.resize(rows);
        return std::move(lines_);
    }

private:
    std::size_t columns_;
    bool colour_;
    std::vector<std::string> lines_;
};

void paint(Painter& painter, const Section& section, std::size_t scrolled, const char* code) {
    const std::size_t hidden = section.lines.size() - section.shown;
    const std::size_t first = section.latestLast ? hidden : std::min(scrolled, hidden);
    const std::size_t headings = section.hasHeadings && section.shown > 0 ? 1 : 0;
    const std::size_t last = first + section.shown - headings;
    const std::string which = (last > first ? std::to_string(first + 1) + " to " + std::to_string(last) : "none") +
                              " of " + std::to_string(section.lines.size() - headings);
    painter.line(section.title + (hidden > 0 && !section.latestLast ? " (" + which + ")" : ""), "1");
    if (headings == 1) painter.line(section.lines.front(), code);
    for (std::size_t i = first + headings; i < first + section.shown; ++i) painter.line(section.lines[i], code);
}

std::string keysLine(const WatchChoice& choice) {
    if (choice.isTyping) return "filter: " + choice.filter + "_  (Enter keeps it, Esc takes it away)";
    return std::string("q ends  ↑ ↓ scroll  / filters  s sorts by ") + (choice.byTraffic ? "name" : "frames") +
           (choice.filter.empty() ? "" : "  shown: lines with \"" + choice.filter + "\"");
}

}  // namespace

std::vector<std::string> watchLines(const Watched& watched, WatchChoice& choice, std::size_t rows, std::size_t columns,
                                    bool colour) {
    Painter painter(columns, colour);
    painter.line(watched.title, "1");
    if (!watched.problem.empty()) painter.line(watched.problem, "33");
    if (watched.device->is_null()) return painter.take(rows);
    const bool wide = columns >= kWide;
    const DeviceState state = readState(*watched.device);
    std::vector<Section> sections = {{"Services", servicesLines(state, choice), 3, false, true, 0},
                                     {"Ports", linesOf(portsOf(watched, state, wide), choice), 3, false, true, 0}};
    if (!state.gemPorts.empty())
        sections.push_back({"GEM ports", linesOf(gemPortsOf(watched, state, wide), choice), 3, false, true, 0});
    if (watched.counters->is_object() && watched.counters->contains("taps"))
        sections.push_back({"Real packets", linesOf(tapsOf(watched, wide), choice), 3, false, true, 0});
    const auto indented = [&choice](const std::vector<std::string>& texts) {
        std::vector<std::string> lines;
        for (const std::string& text : texts)
            if (holds(text, choice.filter)) lines.push_back("  " + text);
        return lines;
    };
    // They are armed without a change of the board: what is counted each second has them.
    const std::vector<std::string> faults =
        indented(faultWords(watched.counters->is_object() ? watched.counters->value("faults", json::array()) : json()));
    if (!faults.empty())
        sections.push_back({"Armed faults", faults, std::min(faults.size(), kMaxWarningsShown), false, false, 0});
    // How often a call has failed is at the end of its line.
    std::vector<std::string> warnings;
    for (const std::string& text : indented(warningsOf(watched, state))) {
        std::vector<std::string> lines = wrapped(oneLine(text.substr(2)), columns > 4 ? columns - 4 : 1);
        for (std::size_t i = 0; i < lines.size(); ++i) warnings.push_back((i == 0 ? "  " : "    ") + lines[i]);
    }
    if (!warnings.empty())
        sections.push_back({"Warnings", warnings, std::min(warnings.size(), kMaxWarningsShown), false, false, 0});
    sections.push_back(
        {"Last calls, of " + std::to_string(state.calls), indented(watched.calls), kFewestCalls, true, false, 0});
    const std::size_t around = (watched.problem.empty() ? 1U : 2U) + sections.size() + 1;  // titles, the line of keys
    share(sections, rows > around ? rows - around : 0);
    std::size_t hidden = 0;
    for (const Section& section : sections)
        if (!section.latestLast) hidden = std::max(hidden, section.lines.size() - section.shown);
    choice.scrolled = std::min(choice.scrolled, hidden);
    for (const Section& section : sections)
        paint(painter, section, choice.scrolled, section.title == "Warnings" ? "33" : nullptr);
    painter.line(keysLine(choice), "2");
    return painter.take(rows);
}

}  // namespace vorn_onu
