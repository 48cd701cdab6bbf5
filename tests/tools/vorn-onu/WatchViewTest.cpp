// The screen of watch, whole: a board with the internet service between two looks at its counters.
#include <nlohmann/json.hpp>

#include "support/FileContent.h"
#include "tools/vorn-onu/RunProgram.h"
#include "views/WatchView.h"

namespace {

using namespace vorn_onu;
using nlohmann::json;

Watched internetBoard() {
    const ScratchDirectory scratch;
    const std::string file = scratch.file("state");
    EXPECT_EQ(runProgram({kTool, "run", kInternet, "--quiet", "--after-step", "14", "--json", file}).code, 0);
    Watched watched;
    watched.title = "lab: exec ./daemon";
    watched.device = json::parse(contentOf(file)).at("device");
    watched.device->at("bus")["gateway"] = "silent";
    const json before = json::parse(R"({
        "devices": {"sid0": {"rx_packets": 100, "tx_packets": 50, "rx_bytes": 6400, "tx_bytes": 3200,
                             "rx_dropped": 1, "tx_dropped": 2},
                    "sid1": {"rx_packets": 7, "tx_packets": 0, "rx_bytes": 448, "tx_bytes": 0,
                             "rx_dropped": 0, "tx_dropped": 0}},
        "gemPorts": {"1001": [50, 3200, 100, 6400, 0, 0, 4, 0, 0, 0], "1002": [0, 0, 0, 0, 0, 0, 0, 0, 0, 0]}})");
    json now = before;
    now["devices"]["sid0"]["rx_packets"] = 2500;   // 1,200 a second
    now["devices"]["sid0"]["rx_bytes"] = 3006400;  // 12 Mbit/s
    now["devices"]["sid0"]["tx_packets"] = 249;
    now["devices"]["sid1"]["rx_packets"] = 5;  // the counter has begun anew
    now["gemPorts"]["1001"][2] = 2500;
    watched.before = before;
    watched.counters = now;
    watched.seconds = 2;
    for (int i = 1; i <= 30; ++i) watched.calls.push_back("call " + std::to_string(i));
    return watched;
}

std::string screen(const Watched& watched, WatchChoice choice, std::size_t rows, std::size_t columns) {
    std::string text;
    for (const std::string& line : watchLines(watched, choice, rows, columns, false)) text += line + "\n";
    return text;
}

TEST(WatchView, DrawsTheBoardInItsWindow) {
    const Watched watched = internetBoard();
    EXPECT_EQ(screen(watched, {}, 20, 109), R"(lab: exec ./daemon
Services
  service  GEM ports  at its ports
  br3      1001 1002  sid0 untagged, VID 20
Ports
  port  link  in/s  out/s  frames in  out  dropped
  sid0  up    1.2k    100       2500  249        3
  sid1  off      -      0          5    0        0
GEM ports
  GEM port  alloc-id  in/s  out/s  frames in  out  dropped
  1001      256       1.2k      0       2500   50        4
  1002      257          0      0          0    0        0
Warnings
  the gateway is silent
Last calls, of 251
  call 27
  call 28
  call 29
  call 30
q ends  ↑ ↓ scroll  / filters  s sorts by frames
)");
    WatchChoice scrolled;
    scrolled.scrolled = 9;
    expectHas(screen(watched, scrolled, 14, 60), {"GEM ports (2 to 2 of 2)\n", "  1002 ", "Last calls, of 251\n"});
}

// Units change at a thousand, decimals go at a hundred; nothing is known of a counter that has begun anew.
TEST(WatchView, SortsAndFiltersWhatRealPacketsAndOthersCount) {
    Watched watched = internetBoard();
    (*watched.before)["taps"] = json::parse(R"([{"framesIn": 1, "framesOut": 2, "octetsIn": 64, "octetsOut": 6},
        {"framesIn": 3, "framesOut": 4, "octetsIn": 192, "octetsOut": 12}, {"framesIn": 5, "framesOut": 6}])");
    (*watched.counters)["taps"] = json::parse(R"([
        {"port": "sid0", "interface": "tap0", "linkUp": true, "framesIn": 1999, "framesOut": 2002, "octetsIn": 127936, "octetsOut": 6006},
        {"port": "sid1", "interface": "tap1", "framesIn": 199902, "framesOut": 200005, "octetsIn": 102399808, "octetsOut": 600015,
         "dropped": 5, "lostIn": 20, "lostOut": 1},
        {"port": "gpon", "interface": "tap2", "became": "gone by itself", "framesIn": 4, "framesOut": 6}])");
    (*watched.counters)["faults"] = json::array({{{"function", "tmctl_setQueueCfg"}, {"nth", 2}}});
    watched.problem = "does not answer";
    WatchChoice choice;
    choice.byTraffic = true;
    expectHas(screen(watched, choice, 30, 110),
              {R"(
Real packets
  port  TAP   link   in/s  out/s  in bit/s  out bit/s  frames in     out  dropped  lost
  sid1  tap1  down  99.9k   100k      410M       2.4M     199902  200005        5    21
  sid0  tap0  up      999   1.0k      511k      24.0k       1999    2002        0     0
  gpon  tap2  gone      -      0         -          -          4       6        0     0
Armed faults
  call 2 of tmctl_setQueueCfg from now on fails with 0
Warnings
  the gateway is silent
Last calls, of 251
  call 25
)",
               "lab: exec ./daemon\ndoes not answer\nServices\n",
               "\n  sid0  up    1.2k    100     12.0M          0       2500  249        3\n", "s sorts by name\n"});
    choice.filter = "sid1";
    choice.isTyping = true;
    expectHas(screen(watched, choice, 17, 60), {R"(
  sid1  tap1  down  99.9k   100k     199902  200005        …
Last calls, of 251
filter: sid1_  (Enter keeps it, Esc takes it away)
)"});
}

}  // namespace
