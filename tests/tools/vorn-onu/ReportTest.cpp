// The report of a run, and its words.
#include <algorithm>
#include <set>

#include "running/io/Words.h"
#include "running/state/FailedCalls.h"
#include "running/state/RuleReach.h"
#include "running/state/ServiceWords.h"
#include "running/state/Services.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

using namespace vorn_onu;

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

TEST(ReportRuleReach, AReceivedFrameGoesToTheDeviceOfTheFirstRuleThatFits) {
    for (const std::string device : {"rxdev=", "txdev="}) {
        DeviceState state;
        state.tables = {
            {"sid0", device == "rxdev=", 1, {{{device + "sid0.3"}}, {{device + "sid0.4", "vid0=7"}}}, "drop"}};
        EXPECT_EQ(unreachableRules(state).size(), device == "rxdev=" ? 1U : 0U);
    }
}

TEST(ReportFailedCalls, SayWhatCameBackInWhichStepAndWhy) {
    const std::vector<RunStep> steps = {{1, "call", "gemflow_add", "", 10},
                                        {2, "fault", "fault", "call 1 of tmctl_setQueueCfg will fail with 5", 10},
                                        {3, "board", "board", "refuseDeletion (veip0.1 2)", 10},
                                        {4, "call", "tcont_set", "", 30}};
    const std::pair<FailedCall, const char*> cases[] = {
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
    for (const auto& [call, sentence] : cases) EXPECT_EQ(failedCallWords({call}, steps).at(0).sentence(), sentence);
    const FailedCall again{14, "vlanCtl_init", "", 1};
    const auto words = failedCallWords({again, again, {31, "vlanCtl_init", "", 1}}, steps);
    ASSERT_EQ(words.size(), 2u) << "the third call is of no step";
    expectHas(words[0].sentence(), {"), twice, in step 4"});
    EXPECT_EQ(failedCallWords({again}, {})[0].step, "") << "nothing is known of steps";
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

// The report of a run, well-formed.
std::string reportOf(const std::string& scenario, int code) {
    const ScratchDirectory folder;
    EXPECT_EQ(runTool({"run", scenario, "--quiet", "--report", folder.file("report.html")}).code, code) << scenario;
    std::string page = contentOf(folder.file("report.html"));
    EXPECT_EQ(faultsOf(page), "") << scenario;
    return page;
}

std::string reportOfSteps(const std::string& title, const std::string& steps, int code) {
    const ScratchDirectory folder;
    return reportOf(folder.write("a.json", R"({"title": ")" + title + R"(", "steps": [)" + steps + "]}"), code);
}

TEST(ReportPage, StandsAloneIsWellFormedAndShowsForeignTextAsText) {
    const std::string page = reportOfSteps(R"(Tom & \"Jerry\" <script>alert('x')</script>)", R"(
        {"board": {"commands": ["rm -rf <nothing>"], "devices": {"<s>bad": true}}, "note": "'a' & <b>"},
        {"fault": {"function": "vlanCtl_init", "code": 5}}, {"call": "configureBridge", "bridgeId": 3, "uniPort": 0},
        {"expect": {"devices": {"<a>\u0001": true}}})",
                                           1);
    for (const char* outside : {"http:", "https:", "url(", "<script", "<link", "<img", " src=", "@import", "onclick"})
        EXPECT_EQ(page.find(outside), std::string::npos) << outside;
    expectHas(page,
              {"Tom &amp; &quot;Jerry&quot; &lt;script&gt;", "<li>rm -rf &lt;nothing&gt;", "<code>&lt;s&gt;bad</code>",
               "vlanCtl_init()</span> answered 5, <a href=\"#step-3\">in step 3, vorn_omci_hal_configureBridge</a>",
               "&#39;a&#39; &amp; &lt;b&gt;", "device &lt;a&gt;\\x01\nexpected  exists", "step not as expected"});
}

TEST(ReportPage, ShowsFlowsBranchesLearnedAddressesAndRulesThatNeverMatch) {
    const std::pair<const char*, std::vector<std::string_view>> cases[] = {
        {"multicast", {"<path class=\"flow\""}},
        {"out-of-range-filters", {"asks for p-bits 8, which no frame has; it never matches"}},
        {"bridge-forwarding",
         {"<code>br5</code></td><td><code>02:00:5e:00:00:0d</code></td><td><code>sid2.5</code>",
          "<span class=\"tree\">├ </span>bridge br5"}}};
    for (const auto& [name, parts] : cases) expectHas(reportOf(kScenarios + "/" + name + ".json", 0), parts);
}

TEST(ReportPage, OfAnEmptyDeviceIsAPageToo) {
    EXPECT_EQ(reportOfSteps("t", R"({"note": "n"})", 0).find("<svg"), std::string::npos);
}

TEST(ReportPage, FoldsManyServicesAndWarningsUp) {
    std::string steps = R"({"board": {"commands": ["a")";
    for (char letter = 'b'; letter <= 'z'; ++letter) steps += std::string(R"(, ")") + letter + '"';
    steps += "]}}";
    for (std::size_t bridge = 1; bridge <= 9; ++bridge) {
        for (const char* port : {"0", "1"})
            steps += R"(, {"call": "configureBridge", "bridgeId": )" + std::to_string(bridge) + R"(, "uniPort": )" +
                     port + "}";
        if (bridge < 8) continue;
        const std::string page = reportOfSteps("t", steps, 0);
        EXPECT_EQ(occurrences(page, "<details class=\"card folded\" data-key=\"br"), bridge > 8 ? bridge : 0);
        EXPECT_EQ(occurrences(page, "data-key=\"br"), 2 * bridge) << "a card and a picture each";
        expectHas(page, {"<li>l</li></ul><details><summary>and 14 more</summary><ul><li>m</li>"});
        if (bridge > 8) expectHas(page, {"<b>br9</b> <span class=\"soft\">sid0.9 · 0 rules</span>"});
    }
}

TEST(Words, SayOnceWhatDiffersByNumbersAlone) {
    const std::vector<std::string> lines = {"sid0.3 drops VID 100", "sid0 drops all", "sid1.14 drops VID 7",
                                            "sid2.5 drops VID 20"};
    EXPECT_EQ(withoutLikes(lines),
              (std::vector<std::string>{"sid0.3 drops VID 100; 2 more with different numbers", "sid0 drops all"}));
    EXPECT_EQ(withoutLikes({"1", "a1", "1a"}), (std::vector<std::string>{"1", "a1", "1a"}));
}

}  // namespace
