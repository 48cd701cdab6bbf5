// The page's table of counters.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include <nlohmann/json.hpp>

#include "views/page/CounterPart.h"

namespace {

using nlohmann::json;

// A row on each line, "|" in front of each cell.
std::string cellsOf(std::string html) {
    html.erase(std::remove(html.begin(), html.end(), '\n'), html.end());
    for (const auto& [tag, text] :
         {std::pair("</tr>", "\n"), std::pair("<t[dh]( [^>]*)?>", "|"), std::pair("<[^>]*>", "")})
        html = std::regex_replace(html, std::regex(tag), text);
    return html;
}

json countersOf(std::uint64_t frames, std::uint64_t octets) {
    return {
        {"devices",
         {{"sid2.25", {{"rx_packets", frames}, {"rx_bytes", octets}, {"rx_dropped", 3U}}},
          {"sid2.5", {{"tx_packets", 1}, {"tx_bytes", 60}}},
          {"idle", {{"rx_packets", 0}}}}},
        {"gemPorts",
         {{"1001", {frames, octets, 0, 0, 0, 0, 1234}}, {"1002", {0, 0, 7, 448, 0, 0, 0}}, {"1003", {0, 0}}}},
        {"queues", {{{"tcont", 1}, {"queue", 2}, {"frames", frames}, {"octets", octets}}}},
        {"taps",
         {{{"port", "sid0"}, {"interface", "tap0"}, {"linkUp", false}, {"dropped", 5}, {"lostOut", 1000}},
          {{"port", "sid1"}, {"interface", "tap1"}, {"linkUp", true}, {"framesIn", frames}, {"octetsIn", octets}}}}};
}

TEST(CounterPart, HasARowForWhateverHasCounted) {
    EXPECT_EQ(vorn_onu::page::counterPart(json::object(), json::object(), 1), "");
    EXPECT_EQ(cellsOf(vorn_onu::page::counterPart(countersOf(1234567, 1250000), countersOf(1234547, 1000000), 2)),
              R"(|where|received|received now|sent|sent now|besides
|real packets
|sid0 tap0|||||link down, 5 dropped by the board, 1,000 lost behind
|sid1 tap1|1,234,567 frames, 1.25 MB|10 frames/s, 1.00 Mbit/s|||
|devices
|sid2.5|||1 frame, 60 B|–|
|sid2.25|1,234,567 frames, 1.25 MB|10 frames/s, 1.00 Mbit/s|||3 rx_dropped
|GEM ports
|GEM port 1001|||1,234,567 frames, 1.25 MB|10 frames/s, 1.00 Mbit/s|1,234 discarded
|GEM port 1002|7 frames, 448 B|–|||
|upstream queues
|T-CONT 1, queue 2|||1,234,567 frames, 1.25 MB|10 frames/s, 1.00 Mbit/s|
)");
}

// Three digits, where there are as many.
TEST(CounterPart, RatesAndOctetsAreShort) {
    const struct {
        std::uint64_t frames, octets;
        const char* cells;  // received, received now
    } kCounts[] = {
        {1, 980, "1 frame, 980 B|1.0 frames/s, 7.84 kbit/s\n"},
        {9, 999, "9 frames, 999 B|9.0 frames/s, 7.99 kbit/s\n"},
        {10, 1000, "10 frames, 1.00 kB|10 frames/s, 8.00 kbit/s\n"},
        {99, 9949, "99 frames, 9.95 kB|99 frames/s, 79.6 kbit/s\n"},
        {100, 9960, "100 frames, 10.0 kB|100 frames/s, 79.7 kbit/s\n"},
        {1000, 99499, "1,000 frames, 99.5 kB|1,000 frames/s, 796 kbit/s\n"},
        {1001, 99500, "1,001 frames, 100 kB|1,001 frames/s, 796 kbit/s\n"},
        {1002, 999499, "1,002 frames, 999 kB|1,002 frames/s, 8.00 Mbit/s\n"},
        {1003, 999500, "1,003 frames, 1.00 MB|1,003 frames/s, 8.00 Mbit/s\n"},
        {1000000, 1500000000, "1,000,000 frames, 1.50 GB|1,000,000 frames/s, 12.0 Gbit/s\n"},
        {1000001, 2000000000000000, "1,000,001 frames, 2000 TB|1,000,001 frames/s, 16000 Tbit/s\n"},
    };
    for (const auto& one : kCounts) {
        const auto counters = [](std::uint64_t frames, std::uint64_t octets) {
            return json{{"gemPorts", {{"5", {0, 0, frames, octets}}}}};
        };
        const std::string cells =
            cellsOf(vorn_onu::page::counterPart(counters(one.frames, one.octets), counters(0, 0), 1));
        const std::size_t at = cells.find("GEM port 5|") + 11;
        EXPECT_EQ(cells.substr(at, cells.find("||", at) - at), one.cells);
    }
    const json before = {{"gemPorts", {{"5", {0, 0, 10, 1000}}}}}, reset = {{"gemPorts", {{"5", {0, 0, 9, 1001}}}}};
    EXPECT_NE(vorn_onu::page::counterPart(reset, before, 1).find("–"), std::string::npos);
    EXPECT_NE(vorn_onu::page::counterPart(before, json::object(), 0).find("–"), std::string::npos);
}

// More than 24 rows are looked at through a window.
TEST(CounterPart, ManyRowsHaveAWindow) {
    for (const int ports : {17, 18}) {
        json counters = countersOf(1, 60);  // seven rows: two devices, two GEM ports, a queue, two TAPs
        for (int port = 0; port < ports; ++port) counters["gemPorts"][std::to_string(2000 + port)] = {1, 60};
        const bool window =
            vorn_onu::page::counterPart(counters, counters, 1).find("class=\"tall") != std::string::npos;
        EXPECT_EQ(window, ports == 18) << ports;
    }
}

}  // namespace
