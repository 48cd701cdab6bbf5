// The report of a run, and its words.
#include <algorithm>

#include "running/state/FailedCalls.h"
#include "running/state/ServiceWords.h"
#include "running/state/Services.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

using namespace vorn_onu;

TEST(ReportServices, AnEndHasNoVlanThatIsDroppedOrOnlySent) {
    Service service;
    service.rules = {{"sid0", true, {0}, {"rxdev=sid0.3", "push"}, 1},
                     {"sid0", true, {1}, {"rxdev=sid0.3", "vid0=21", "drop"}, 1},
                     {"sid0", false, {1}, {"txdev=sid0.3", "vid0=77", "pop"}, 1}};
    EXPECT_EQ(vlanList(vlansAt(service, {"sid0", "sid0.3"}), 40), "untagged");
}

TEST(ReportFailedCalls, SayWhatCameBackInWhichStepAndWhy) {
    const std::vector<RunStep> steps = {{3, "board", "board", "refuseDeletion (veip0.1 2)", 10},
                                        {4, "call", "tcont_set", "", 30}};
    const std::pair<FailedCall, const char*> cases[] = {
        {{12, "tmctl_setQueueCfg", "1", 1},
         "tmctl_setQueueCfg(1) answered 1 (EPERM, operation not permitted), in step 4, tcont_set"},
        {{13, "vlanCtl_deleteVlanInterface", "\"veip0.1\"", 1},
         "vlanCtl_deleteVlanInterface(\"veip0.1\") answered 1, in step 4, tcont_set: step 3 makes the board refuse it"},
        {{99, "other", "", -7}, "other() answered -7"},
        {{99, "other", "", 7000}, "other() answered 7000"},
    };
    for (const auto& [call, sentence] : cases) EXPECT_EQ(failedCallWords({call}, steps).at(0).sentence(), sentence);
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

}  // namespace
