// The report of a run, its picture, and the capture of its frames.
#include <algorithm>
#include <set>
#include <sstream>
#include <tuple>

#include "running/capture/CaptureReader.h"
#include "running/io/Words.h"
#include "running/state/FailedCalls.h"
#include "running/state/RuleReach.h"
#include "running/state/ServiceWords.h"
#include "running/state/Services.h"
#include "running/state/WalkWords.h"
#include "support/Emulated.h"
#include "tools/vorn-onu/RunProgram.h"
#include "views/Capture.h"
#include "views/Report.h"

namespace {

using namespace vorn_onu;

// Rules of one table, as the virtual ONU writes their terms.
TableState table(const std::string& device, bool receive, unsigned tags, const std::vector<std::string>& rules) {
    TableState made{device, receive, tags, {}, "drop"};
    for (const std::string& rule : rules) {
        std::istringstream words(rule);
        made.rules.emplace_back();
        for (std::string word; words >> word;) made.rules.back().terms.push_back(word);
    }
    return made;
}

virtual_onu::NetworkDevice device(const std::string& name, const std::string& on = "", const std::string& bridge = "") {
    virtual_onu::NetworkDevice made;
    made.name = name;
    made.realDevice = on;
    made.master = bridge;
    made.up = true;
    return made;
}

// Bridge 3 between sid0 and GEM port 1001, and a VEIP with GEM port 1002; br0 with bare ports only.
DeviceState twoServices() {
    DeviceState state;
    for (const auto& [name, members] : std::vector<std::pair<std::string, std::vector<std::string>>>{
             {"br0", {"sid0", "sid1"}}, {"br3", {"gpon3.3", "sid0.3"}}}) {
        virtual_onu::Bridge bridge;
        bridge.name = name;
        for (const auto& member : members) bridge.ports.push_back({member});
        state.bridges.push_back(bridge);
        state.devices.push_back(device(name));
        state.devices.back().isBridge = true;
    }
    for (const auto& one : {device("gpondef"), device("sid0", "", "br0"), device("sid0.3", "sid0", "br3"),
                            device("gpon3", "gpondef"), device("gpon3.3", "gpon3", "br3"), device("gpon0", "gpondef"),
                            device("gpon0.0", "gpon0"), device("veip0", "gpon0.0")})
        state.devices.push_back(one);
    state.devices.back().routed = true;
    state.tables = {table("sid0", true, 0, {"rxdev=sid0.3 push vid0:=100"}),
                    table("sid0", false, 1, {"txdev=sid0.3 vid0=100 pop", "txdev=sid0.3 vid0=100 pop"}),
                    table("gpondef", true, 0, {"rxdev=gpon3 gem=1", "rxdev=gpon0 gem=2"}),
                    table("gpondef", true, 1, {"rxdev=gpon3 gem=1", "rxdev=gpon0 gem=2"}),
                    table("gpon3", true, 1, {"rxdev=gpon3.3 gem=1 vid0=100"}),
                    table("gpon3", false, 1, {"txdev=gpon3.3 vid0=100 mark-gem:=1 mark-queue:=4"}),
                    table("gpon0.0", true, 1, {"rxdev=veip0"}),
                    table("sid7", true, 0, {"rxdev=sid7.9 drop"})};
    state.gemPorts = {{1, 1001, 1024, false, true, {}}, {2, 1002, 65535, true, true, {}}};
    state.tconts = {{0, 1024, true, {}}};
    return state;
}

TEST(ReportServices, RulesGemPortsAndDevicesAreSortedByServiceAndNoRuleIsLost) {
    const DeviceState state = twoServices();
    const auto services = servicesOf(state);
    ASSERT_EQ(services.size(), 2u) << "the default bridge with its bare ports is none";
    const auto& [bridge, veip] = std::tie(services[0], services[1]);
    EXPECT_EQ(bridge.name, "br3");
    EXPECT_EQ(bridge.unis.at(0).device, "sid0.3");
    EXPECT_EQ(bridge.anis.at(0).port, "gpon3");
    EXPECT_EQ(bridge.gemIndexes, std::set<unsigned>{1});
    EXPECT_EQ(bridge.queues.at(1), std::set<unsigned>{4});
    ASSERT_EQ(bridge.rules.size(), 5u);
    EXPECT_EQ(veip.name, "veip0");
    EXPECT_EQ(veip.rules.size(), 2u) << "on gpon0.0, and on gpondef for the device that is under it";
    const auto others = otherRules(state, services);
    ASSERT_EQ(others.size(), 1u);
    EXPECT_EQ(others[0].device, "sid7");

    std::vector<MergedRule> up, down;
    for (const MergedRule& rule : bridge.rules) (isUpstream(state, rule) ? up : down).push_back(rule);
    std::string order;
    for (const MergedRule& rule : inFrameOrder(state, up, true)) order += rule.device + " ";
    for (const MergedRule& rule : inFrameOrder(state, down, false))
        order += rule.device + (rule.times > 1 ? "(twice) " : " ");
    EXPECT_EQ(order, "sid0 gpon3 gpondef gpon3 sid0(twice) ");
}

TEST(ReportServices, EndsAndGemPortsNameTheVlansThatPass) {
    Service service;
    const auto add = [&service](const std::string& where, bool receive, const std::set<unsigned>& tags,
                                const std::vector<std::string>& terms) {
        service.rules.push_back({where, receive, tags, terms, 1});
    };
    const ServiceEnd port{"sid0", "sid0.3"}, other{"sid1", "sid1.3"}, bare{"sid2", "sid2.3"};
    add("sid0", true, {0}, {"rxdev=sid0.3", "push"});
    add("sid0", true, {1}, {"rxdev=sid0.3", "vid0=20", "pbits0=3", "vid0:=200"});
    add("sid0", true, {1}, {"rxdev=sid0.3", "vid0=21", "drop"});
    add("sid0", true, {2}, {"rxdev=sid0.3", "vid0=500", "vid1=7"});
    add("sid0", false, {1}, {"txdev=sid0.3", "vid0=77", "pop"});
    add("sid1", true, {0, 1, 2}, {"rxdev=sid1.3"});
    add("sid1", true, {1}, {"rxdev=sid1.3", "vid0=9"});
    add("gpon3", false, {1, 2}, {"txdev=gpon3.3", "vid0=100", "mark-gem:=1"});
    add("gpon3", true, {1, 2}, {"rxdev=gpon3.3", "gem=1", "vid0=101"});
    add("gpon3", true, {1, 2}, {"rxdev=gpon3.3", "gem=2", "vid0=300"});
    add("gpondef", true, {0, 1, 2}, {"rxdev=gpon3", "gem=2"});
    EXPECT_EQ(vlanList(vlansAt(service, port), 40), "untagged, VID 20 p3, 500/7");
    EXPECT_EQ(vlanList(vlansAt(service, port), 12), "untagged +2");
    EXPECT_EQ(vlanList(vlansAt(service, other), 40), "any frame") << "VID 9 is one of them";
    EXPECT_EQ(vlanList(vlansAt(service, bare), 40), "");
    EXPECT_EQ(vlanList(vlansOnGemPort(service, 1), 40), "VID 100") << "what goes up";
    EXPECT_EQ(vlanList(vlansOnGemPort(service, 2), 40), "VID 300") << "nothing goes up: what comes down";
}

TEST(ReportServices, AFlowToAnotherServiceBelongsToItsPonDevice) {
    DeviceState state = twoServices();
    state.flows = {{"gpon3.3", "sid0.3"}, {"sid0.3", "gpon3.3"}, {"veip0", "gpon3.3"}, {"gpon3.3", "veip0"}};
    const auto services = servicesOf(state);
    EXPECT_EQ(services.at(0).flowDevices, std::vector<std::string>{"veip0"});
    EXPECT_TRUE(services.at(1).flowDevices.empty());
    const std::string svg = topologyPicture(state);
    expectHas(svg, {"<path class=\"flow\""});
    EXPECT_EQ(topologyPicture(twoServices()).find("class=\"flow\""), std::string::npos);
}

TEST(ReportServices, TheIpHostIsAnEndOfItsBridge) {
    DeviceState state = twoServices();
    state.devices.push_back(device("br3.2", "br3"));
    const Service service = servicesOf(state).at(0);
    ASSERT_EQ(service.unis.size(), 2u);
    EXPECT_EQ(service.unis[1].port, "IP host");
    expectHas(topologyPicture(state), {">IP host<"});
}

TEST(ReportFailedCalls, SayWhatCameBackInWhichStepAndWhy) {
    const std::vector<RunStep> steps = {{1, "call", "gemflow_add", "", 10},
                                        {2, "fault", "fault", "call 1 of tmctl_setQueueCfg will fail with 5", 10},
                                        {3, "board", "board", "refuseDeletion (veip0.1 2)", 10},
                                        {4, "call", "tcont_set", "", 30}};
    const struct {
        FailedCall call;
        const char* words;
    } cases[] = {
        {{9, "gponCtl_enableGemPort", "1, 1001, 1", 2},
         "gponCtl_enableGemPort(1, 1001, 1) answered 2 (ENOENT, no such file or directory), in step 1, gemflow_add: "
         "there "
         "is no such GEM port"},
        {{11, "vlanCtl_createVlanInterface", "\"x\"", 19},
         "vlanCtl_createVlanInterface(\"x\") answered 19 (ENODEV, no such device), in step 4, tcont_set: a device that "
         "it "
         "names is not there"},
        {{12, "tmctl_setQueueCfg", "1", 5},
         "tmctl_setQueueCfg(1) answered 5, in step 4, tcont_set: the fault of step 2 asks for it"},
        {{12, "tmctl_setQueueCfg", "1", 6},
         "tmctl_setQueueCfg(1) answered 6 (ENXIO, no such device or address), in step 4, tcont_set"},
        {{13, "vlanCtl_deleteVlanInterface", "\"veip0.1\"", 1},
         "vlanCtl_deleteVlanInterface(\"veip0.1\") answered 1, in step 4, tcont_set: step 3 makes the board refuse it"},
        {{99, "other", "", -7}, "other() answered -7"},
        {{99, "other", "", 7000}, "other() answered 7000"},
    };
    for (const auto& one : cases) {
        const auto words = failedCallWords({one.call}, steps);
        ASSERT_EQ(words.size(), 1u);
        EXPECT_EQ(words[0].sentence(), one.words);
    }
    const FailedCall again{14, "vlanCtl_init", "", 1};
    const auto words = failedCallWords({again, again, {31, "vlanCtl_init", "", 1}}, steps);
    ASSERT_EQ(words.size(), 2u) << "the third call is of no step";
    expectHas(words[0].sentence(), {"), twice, in step 4"});
    EXPECT_EQ(failedCallWords({again}, {})[0].step, "") << "nothing is known of steps";
    const auto alike = failedCallWords({{1, "vlanCtl_createVlanFlows", "\"gpon7.7\", \"sid4.7\"", 19},
                                        {2, "vlanCtl_createVlanFlows", "\"gpon15.15\", \"sid4.15\"", 19},
                                        {3, "vlanCtl_createVlanFlows", "\"sid4.15\", \"gpon15.15\"", 19}},
                                       {});
    ASSERT_EQ(alike.size(), 2u) << "from the port to the PON is another flow";
    EXPECT_EQ(
        alike[0].sentence(),
        "vlanCtl_createVlanFlows(\"gpon7.7\", \"sid4.7\") answered 19 (ENODEV, no such device), twice with different "
        "numbers: a device that it names is not there");
}

// Bridge br3 sends copies to sid0.3, to gpon3.3 and to sid1.3; the second goes one look-up further.
virtual_onu::Walk floodedWalk() {
    using virtual_onu::Hop, virtual_onu::kTransmit;
    virtual_onu::Walk walk;
    const auto bridge = [](const char* to) { return Hop{Hop::Kind::Bridge, 0, "br3", 0, 0, {}, "flooded", to, {}}; };
    const auto table = [](int from, const char* device, const char* to) {
        return Hop{Hop::Kind::Table, from, device, kTransmit, 0, 1u, "", to, {}};
    };
    walk.hops = {table(-1, "sid2", "sid2.3"), bridge("sid0.3"),           bridge("gpon3.3"),   bridge("sid1.3"),
                 table(1, "sid0", "sid0"),    table(2, "gpon3", "gpon3"), table(3, "sid1", "")};
    walk.exits.resize(2);
    walk.exits[0].hop = 4;
    walk.exits[0].device = "sid0";
    walk.exits[1].hop = 5;
    walk.exits[1].device = "gpondef";
    walk.exits[1].gemPort = 1001;
    walk.drops = {{6, "sid1", "no rule matches"}};
    return walk;
}

TEST(ReportWalks, CopiesOfAFrameAreATree) {
    std::string tree;
    for (const HopWords& hop : hopWords(floodedWalk()))
        tree += hop.tree + hop.where + " " + hop.to + (hop.fate.empty() ? "" : " | " + hop.fate) + "\n";
    EXPECT_EQ(tree,
              "sid2 sends sid2.3\n"
              "├ bridge br3 sid0.3\n"
              "│ sid0 sends sid0 | leaves at sid0: untagged IPv4\n"
              "├ bridge br3 gpon3.3\n"
              "│ gpon3 sends gpon3 | leaves at GEM port 1001, T-CONT 0, queue 0: untagged IPv4\n"
              "└ bridge br3 sid1.3\n"
              "  sid1 sends  | dropped at sid1: no rule matches\n");
}

TEST(ReportRuleReach, ARuleBehindAWiderOneIsFoundAndADoubleIsNot) {
    const struct {
        std::vector<std::string> rules;
        std::string hidden;  // a part of the only line; "" for none
    } cases[] = {
        {{"rxdev=sid0.3 | push", "rxdev=sid0.4 vid0=7"}, "VID 7"},
        {{"rxdev=sid0.3 vid0=7", "rxdev=sid0.3 vid0=7 pbits0=5 | pop"}, "p-bits 5"},
        {{"rxdev=sid0.3 vid0=7", "rxdev=sid0.3 vid0=7"}, ""},
        {{"rxdev=sid0.3 vid0=7 pbits0=5", "rxdev=sid0.3 vid0=7"}, ""},
        {{"rxdev=sid0.3 vid0=7", "rxdev=sid0.3 vid0=70"}, ""},
        {{"rxdev=sid0.3 vid1=7", "rxdev=sid0.3 vid0=7"}, ""},
        {{"txdev=sid0.3", "txdev=sid0.4"}, ""},
    };
    for (const auto& c : cases) {
        DeviceState state;
        state.tables = {table("sid0", c.rules[0][0] == 'r', 1, c.rules)};
        const auto found = unreachableRules(state);
        EXPECT_EQ(found.size(), c.hidden.empty() ? 0u : 1u) << c.rules[1];
        if (!c.hidden.empty() && !found.empty()) {
            expectHas(found[0], {c.hidden});
        }
    }
}

// Elements that are open at the end, or closed without having been opened; attributes without quotes.
std::string faultsOf(const std::string& page) {
    std::vector<std::string> open;
    for (std::size_t at = page.find('<'); at != std::string::npos; at = page.find('<', at + 1)) {
        const std::size_t end = page.find('>', at);
        if (end == std::string::npos) return "an element without an end";
        const std::string inside = page.substr(at + 1, end - at - 1);
        const std::string name = inside.substr(0, inside.find_first_of(" />"));
        for (std::size_t equals = inside.find('='); equals != std::string::npos; equals = inside.find('=', equals + 1))
            if (inside.compare(equals, 2, "=\"") != 0 &&
                std::count(inside.begin(), inside.begin() + static_cast<long>(equals), '"') % 2 == 0)
                return "an attribute without quotes: " + inside;
        if (name == "style") at = page.find("</style>", at) - 1;  // what is in it is no element
        if (name == "meta" || name[0] == '!' || inside.back() == '/') continue;
        if (inside[0] != '/') {
            open.push_back(name);
        } else {
            if (open.empty() || open.back() != inside.substr(1)) return "closed out of turn: " + inside;
            open.pop_back();
        }
    }
    return open.empty() ? "" : "left open: " + open.back();
}

std::string pageOfTwoServices() {
    ReportInput input;
    input.title = "Tom & \"Jerry\" <script>alert('x')</script>";
    input.source = "a<b.json";
    input.moment = "after step 1 of 2";
    input.state = twoServices();
    input.state.strangeCommands = {"rm -rf <nothing>"};
    input.state.messages = {"service up <veip0>"};
    input.state.failedCalls = {{7, "vlanCtl_init", "", 5}};
    input.steps.push_back({1, "call", "vorn_<x>", "a & b", "1", "+ br3", "'note'", true, {}, 9});
    input.steps.push_back({2, "expect", "", "rules", "", "", "", false, {"rules\nexpected  <a>\nactual    \x01"}, 9});
    ReportWalk walk;
    walk.title = "untagged IPv4 from sid0";
    walk.verdict = "leaves at GEM port 1001";
    using virtual_onu::Hop, virtual_onu::kReceive;
    walk.walk.hops = {{Hop::Kind::Table, -1, "sid0", kReceive, 0, 7u, "rxdev=sid0.3 | push vid0:=100", "sid0.3", {}}};
    walk.walk.exits.emplace_back();
    input.walks.push_back(walk);
    return htmlReport(input);
}

TEST(ReportPage, StandsAloneIsWellFormedAndShowsForeignTextAsText) {
    const std::string page = pageOfTwoServices();
    EXPECT_EQ(faultsOf(page), "");
    for (const char* outside : {"http:", "https:", "url(", "<script", "<link", "<img", " src=", "@import", "onclick"})
        EXPECT_EQ(page.find(outside), std::string::npos) << outside;
    expectHas(page, {"Tom &amp; &quot;Jerry&quot; &lt;script&gt;", "rm -rf &lt;nothing&gt;",
                     "vlanCtl_init()</span> answered 5 (EIO, input/output error), <a href=\"#step-1\">in step "
                     "1, vorn_&lt;x&gt;</a>",
                     "service up &lt;veip0&gt;", "step not as expected", "after step 1 of 2",
                     "untagged frames: push VID 100", "T-CONT 0 · queue 4 · alloc-id 1024", "downstream only",
                     "prefers-color-scheme: dark", "expected  &lt;a&gt;\nactual    ?"});
}

TEST(ReportPage, SaysWhatColoursMeanAndKeepsBranchesOnAPhone) {
    ReportInput input;
    input.state = twoServices();
    input.state.adminState = 1;
    ReportWalk walk;
    walk.walk = floodedWalk();
    input.walks.push_back(walk);
    const std::string page = htmlReport(input);
    EXPECT_EQ(faultsOf(page), "");
    expectHas(page, {"<li class=\"out\">leaves the device</li>", "<li class=\"drop\">is dropped</li>",
                     "<li class=\"uni\">towards the user</li>",      // what the picture's colours mean
                     "<p class=\"soft wide\">The picture is wider",  // on a phone
                     "tabindex=\"0\"",                               // and can be pushed with the keyboard
                     "text-anchor=\"middle\">untagged<",             // VLANs in the picture
                     "<span class=\"tree\">├ </span>bridge br3", "role=\"cell\" data-label=\"goes to\">sid0<",
                     "<div class=\"drop\">dropped at sid1: no rule matches</div>", "<th scope=\"col\"",
                     "<nav aria-label=\"Contents\">", "started, from the initial state"});
    EXPECT_EQ(page.find("the frame then"), std::string::npos) << "a column with nothing in it takes no room";
}

TEST(ReportPage, GemPortsOfAServiceLieSideBySide) {
    DeviceState state = twoServices();
    state.gemPorts.push_back({5, 1005, 1024, false, true, {}});
    state.tables.push_back(table("gpon3", false, 2, {"txdev=gpon3.3 vid0=5 mark-gem:=5 mark-queue:=1"}));
    const std::string part = servicesPart(state);
    const auto last = part.find("GEM port 1005");
    ASSERT_NE(last, std::string::npos);
    EXPECT_NE(part.find("</li><li><span class=\"chip pon\">GEM port 1005", part.find("GEM port 1001")),
              std::string::npos)
        << part;
    expectHas(part, {"VID 5 → T-CONT 0 · queue 1 · alloc-id 1024"});
}

TEST(ReportPage, OfAnEmptyDeviceIsAPageToo) {
    const std::string page = htmlReport({});
    EXPECT_EQ(faultsOf(page), "");
    EXPECT_EQ(page.find("<svg"), std::string::npos);
}

// Bridges br1 to br<count>, each with a device of sid0.
DeviceState servicesOfOnePort(unsigned count) {
    DeviceState state;
    for (unsigned n = 1; n <= count; ++n) {
        const std::string number = std::to_string(n);
        virtual_onu::Bridge bridge;
        bridge.name = "br" + number;
        bridge.ports = {{"gpon" + number + "." + number}, {"sid0." + number}};
        state.bridges.push_back(bridge);
        for (const auto& one :
             {device("gpon" + number, "gpondef"), device("gpon" + number + "." + number, "gpon" + number),
              device("sid0." + number, "sid0")})
            state.devices.push_back(one);
    }
    return state;
}

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

TEST(ReportPage, FoldsManyServicesAndWarningsUp) {
    for (const unsigned count : {8U, 9U}) {
        const std::string part = servicesPart(servicesOfOnePort(count));
        EXPECT_EQ(faultsOf(part), "");
        EXPECT_EQ(occurrences(part, "<details class=\"card folded\" data-key=\"br"), count > 8 ? count : 0);
        EXPECT_EQ(occurrences(part, "data-key=\"br"), count);
    }
    expectHas(servicesPart(servicesOfOnePort(9)), {"<b>br9</b> <span class=\"soft\">sid0.9 · 0 rules</span>"});
    ReportInput input;
    for (char letter = 'a'; letter <= 'z'; ++letter) input.state.strangeCommands.push_back(std::string(1, letter));
    const std::string warnings = warningsPart(input);
    expectHas(warnings, {"<li>l</li></ul><details><summary>and 14 more</summary><ul><li>m</li>"});
}

TEST(Words, SayOnceWhatDiffersByNumbersAlone) {
    const std::vector<std::string> lines = {"sid0.3 drops VID 100", "sid0 drops all", "sid1.14 drops VID 7",
                                            "sid2.5 drops VID 20"};
    EXPECT_EQ(withoutLikes(lines),
              (std::vector<std::string>{"sid0.3 drops VID 100; 2 more with different numbers", "sid0 drops all"}));
    EXPECT_EQ(withoutLikes({"1", "a1", "1a"}), (std::vector<std::string>{"1", "a1", "1a"}));
}

// ---- capture ----

TEST(ReportCapture, TheFileReadsBack) {
    SKIP_WHEN_EMULATED(kNoLibpcap);
    Capture capture;
    capture.add("sid0", Capture::Direction::In, {1, 2, 3, 4, 5}, "step 1");
    capture.add("gem 1001", Capture::Direction::Out, {6}, "");
    capture.add("sid0", Capture::Direction::Out, {7, 8}, "step 2");
    const ScratchDirectory folder;
    ASSERT_TRUE(capture.write(folder.file("frames.pcapng")));
    CaptureReader reader(folder.file("frames.pcapng"));
    std::string read;
    for (CaptureReader::Captured one; reader.next(one);)
        read +=
            std::to_string(one.size) + "/" + std::to_string(one.bytes[0]) + "/" + std::to_string(one.timeMs) + "ms ";
    EXPECT_EQ(read, "5/1/0ms 1/6/1ms 2/7/2ms ");
    expectHas(contentOf(folder.file("frames.pcapng")), {"sid0", "gem 1001", "step 2"});
}

// ---- the tool ----

TEST(ReportTool, SendAnswersWhereAFrameGoesOnceTheServicesStand) {
    const struct {
        std::vector<std::string> arguments;  // behind "send FILE --from sid0"
        int code;
        std::vector<std::string_view> answers;
    } cases[] = {
        {{},
         0,
         {"when the device holds most", "sid0 receives", "bridge br3",
          "leaves at GEM port 1001, T-CONT 1, queue 0: VID 100 p0, IPv4"}},
        {{"--vlan", "1", "--vlan", "2", "--pbits", "3", "--dei", "--tpid", "0x88a8"},
         1,
         {"VID 1 p0, VID 2 p3 DEI TPID 0x88a8, IPv4 from sid0", "dropped at sid0"}},
        {{"--vlan", "20", "--protocol", "udp", "--dscp", "46"}, 0, {"VID 200 p5, IPv4 protocol 17 DSCP 46"}},
        {{"--ethertype", "arp"}, 0, {"untagged ARP from sid0"}},
        {{"--after-step", "1"}, 1, {"after step 1 of", "dropped at sid0: sid0 is down"}},
        {{"--json"}, 0, {"\"afterStep\": ", "\"gemPort\": 1001", "\"rule\": "}},
        {{"--payload", "1600"}, 1, {"too long for sid0, whose MTU is 1500"}},
        {{"--source", "01:00:5e:00:00:01"}, 1, {"a bridge takes no frame from 01:00:5e:00:00:01"}},
        {{"--pbits", "5"}, 2, {"belongs behind the --vlan"}},
        {{"--vlan", "5000"}, 2, {"field 'tags[0].vid'"}},
        {{"--ethertype", "ipx"}, 2, {"field 'etherType'"}},
        {{"--source", "02:00"}, 2, {"field 'source'"}},
        {{"--after-step", "999"}, 2, {"there is no step 999"}},
    };
    for (auto c : cases) {
        c.arguments.insert(c.arguments.begin(), {"send", kInternet, "--from", "sid0"});
        const std::string text = expectTool(c.arguments, c.code, c.answers).output;
        EXPECT_TRUE(text[0] == '{' || std::count(text.begin(), text.end(), '\n') <= 24) << "more than a screen:\n"
                                                                                        << text;
    }
    expectTool({"send", kInternet, "--from", "gem 1002", "--vlan", "200", "--pbits", "5"}, 0,
               {"leaves at sid0: VID 20 p5, IPv4"});
}

TEST(ReportTool, AFrameThatGoesElsewhereIsShownWithItsWayAndIsInReportAndCapture) {
    std::string scenario = contentOf(kInternet);
    const std::string right = "\"queue\": 0, \"tags\": [{\"vid\": 100}]";
    ASSERT_NE(scenario.find(right), std::string::npos);
    scenario.replace(scenario.find(right), right.size(), "\"queue\": 1, \"tags\": [{\"vid\": 101}]");
    const ScratchDirectory folder;
    expectTool({"run", folder.write("wrong.json", scenario), "--quiet", "--report", folder.file("wrong.html"), "--pcap",
                folder.file("wrong.pcapng")},
               1,
               {"expected  leaves at GEM port 1001, T-CONT 1, queue 1: VID 101 p0",
                "actual    leaves at GEM port 1001, T-CONT 1, queue 0: VID 100 p0, IPv4", "bridge br3, floods"});
    const std::string page = contentOf(folder.file("wrong.html"));
    EXPECT_EQ(faultsOf(page), "");
    expectHas(page, {"<svg", "later steps take it back"});  // the fullest moment
    expectHas(contentOf(folder.file("wrong.pcapng")), {"gem 1002"});
}

TEST(ReportTool, AFrameStepThatNamesWhatIsNotThereIsABadScenario) {
    const ScratchDirectory folder;
    const struct {
        const char* step;
        const char* problem;
    } cases[] = {
        {R"({"frame": {"tags": []}})", "field 'frame.from': is missing"},
        {R"({"frame": {"from": "gem x"}})", "field 'frame.from': must have a GEM port id"},
        {R"({"frame": {"from": "sid0", "tags": [{"pbits": 1}]}})", "field 'frame.tags[0].vid': is missing"},
        {R"({"frame": {"from": "sid0", "tags": [{"vid":1},{"vid":1},{"vid":1},{"vid":1},{"vid":1}]}})",
         "at most 4 tags"},
        {R"({"frame": {"from": "sid0"}, "expect": {}})", "must have one of the fields leaves and dropped"},
        {R"({"frame": {"from": "sid0"}, "expect": {"leaves": []}})", "field 'expect.leaves'"},
        {R"({"frame": {"from": "sid0"}, "expect": {"leaves": [{"tags": []}]}})", "field 'expect.leaves[0].at'"},
        {R"({"frame": {"from": "sid0"}, "expect": {"dropped": false}})", "field 'expect.dropped'"},
        {R"({"frame": {"from": "sid0"}, "gateway": "silent"})", "does not go with"},
    };
    for (const auto& [step, problem] : cases) {
        const std::string scenario = R"({"title": "t", "steps": [)" + std::string(step) + "]}";
        expectTool({"run", folder.write("bad.json", scenario)}, 2, {problem});
    }
}

}  // namespace
