// The page in a browser: what its script does, and how it looks.
#include <list>
#include <regex>
#include <utility>

#include "tools/page/Browser.h"
#include "tools/page/ServedBoard.h"

namespace {

using nlohmann::json;

// Expressions of the page's script.
const std::string kIsOld = "document.getElementById('readonly').innerText.includes('started again')";
const std::string kIsDisabled = "document.querySelector('#changes button').matches(':disabled')";

class PageInBrowser : public ServedBoard {
protected:
    void SetUp() override {
        if (Browser::program().empty()) GTEST_SKIP() << "there is no chromium (./dev setup names the package)";
        ServedBoard::SetUp();
        browser_ = std::make_unique<Browser>(scratch_.file("profile"));
    }
    void TearDown() override {
        if (!browser_) return;
        EXPECT_TRUE(browser_->complaints().empty()) << browser_->complaints().front();
        browser_.reset();
    }
    void openAndWait(const std::string& link, const std::string& part = "#part-picture svg") {
        browser_->open(link);
        ASSERT_TRUE(browser_->becomes("document.getElementById('connection')?.textContent === 'Live'"));
        ASSERT_TRUE(browser_->becomes("document.querySelector('" + part + "')"));
    }
    // By the page's form.
    void sendFrame(const std::vector<std::pair<std::string, std::string>>& fields) {
        std::string script = "(() => { const form = document.getElementById('frame-form'); form.reset(); ";
        for (const auto& [name, value] : fields) script += "form.elements['" + name + "'].value = '" + value + "'; ";
        browser_->value(script + "form.requestSubmit(); })()");
    }
    // An expression of the page's script: of all rows that are paragraphs, how many have a label over another one.
    static std::string overlaps() {
        return "[...document.querySelectorAll('.stacks td + td')].filter(e => e.offsetParent && "
               "e.getBoundingClientRect().height < 12).length";
    }
    std::unique_ptr<Browser> browser_;
};

TEST_F(PageInBrowser, ChangesNothingWithoutTheTokenAndKeepsItOutOfTheAddress) {
    const std::string other = "http://localhost:" + std::to_string(port_) + "/";  // whose token is another one
    openAndWait(other);
    EXPECT_EQ(browser_->value("document.getElementById('readonly').hidden"), false);
    EXPECT_EQ(browser_->value("[...document.querySelectorAll('button, input:not(#filter), select')].every(e => "
                              "e.matches(':disabled'))"),
              true);
    openAndWait(other + "?token=" + std::string(32, '0'));
    EXPECT_EQ(browser_->value(kIsOld), true);
    openAndWait(link_);
    EXPECT_EQ(browser_->value("location.search"), "");
    EXPECT_EQ(browser_->value("document.getElementById('readonly').hidden"), true);
    browser_->call("Page.reload", json::object());
    ASSERT_TRUE(browser_->becomes("document.getElementById('connection')?.textContent === 'Live'"));
    EXPECT_EQ(browser_->value(kIsDisabled), false);
    openAndWait("http://127.0.0.1:" + std::to_string(port_) + "/?token=wrong");
    EXPECT_EQ(browser_->value(kIsDisabled), false) << "a link with a wrong one does not take it away";
}

TEST_F(PageInBrowser, RefusesHalvesOfTags) {
    openAndWait(link_);
    for (const char* field : {"outer-pbits", "inner-vid"}) {
        sendFrame({{"from", "sid0"}, {field, "3"}});
        EXPECT_TRUE(
            browser_->becomes("/^Not done: (the outer tag|an inner tag)/.test(document.getElementById('outcome')"
                              ".textContent)"))
            << field;
        browser_->value("document.getElementById('outcome').textContent = ''");
    }
}

TEST_F(PageInBrowser, SaysThatItsServerWasStartedAgain) {
    openAndWait(link_);
    const int port = port_;
    page_->end(SIGTERM);
    ASSERT_TRUE(browser_->becomes("document.getElementById('connection').className === 'lost'"));
    startPage(port);
    EXPECT_TRUE(browser_->becomes(kIsOld));
    EXPECT_EQ(browser_->value(kIsDisabled), true);
    openAndWait(link_);
    EXPECT_EQ(browser_->value(kIsDisabled), false);
    browser_->forgetComplaints();
}

TEST_F(PageInBrowser, TellsTheThirteenthReaderWhy) {
    std::list<Events> pages;
    for (int i = 0; i < 12; ++i) ASSERT_TRUE(pages.emplace_back(port_, withToken()).tell("event: parts"));
    browser_->open(link_);
    EXPECT_TRUE(browser_->becomes("document.getElementById('connection')?.textContent.includes('so many pages')"));
    pages.clear();
    EXPECT_TRUE(browser_->becomes("document.getElementById('connection').textContent === 'Live'"));
    browser_->forgetComplaints();
}

TEST_F(PageInBrowser, IsUsedByKeyboard) {
    openAndWait(link_);
    browser_->press("Tab", 9, "");
    EXPECT_EQ(browser_->value("document.activeElement.className"), "skip");  // past the contents
    browser_->value("document.querySelector('[aria-label=\"Pull the cable of sid0\"]').focus()");
    browser_->press("Enter", 13, "\r");
    EXPECT_TRUE(browser_->becomes("document.querySelector('[data-key=sid0] .lamp').textContent === 'link down'"));
    // The button is the same, with the opposite to do: the focus has stayed.
    EXPECT_EQ(browser_->value("document.activeElement.getAttribute('aria-label')"), "Plug in the cable of sid0");
    EXPECT_EQ(browser_->value("document.getElementById('outcome').textContent"), "board: links (sid0 down)");
    browser_->press("Enter", 13, "\r");
    EXPECT_TRUE(browser_->becomes("document.querySelector('[data-key=sid0] .lamp').textContent === 'link up'"));
    // Ports in front of it that go, and come, take nothing away from it.
    browser_->value("document.querySelector('[data-key=eth1] button').focus()");
    for (const bool there : {false, true}) {
        step({{"board", {{"devices", {{"eth0", there}}}}}});
        const std::string row = "document.querySelector('[data-key=eth0]')";
        EXPECT_TRUE(browser_->becomes(there ? row : "!" + row));
        EXPECT_EQ(browser_->value("document.activeElement.getAttribute('aria-label')"), "Plug in the cable of eth1");
    }
}

TEST_F(PageInBrowser, FollowsAComposedFrame) {
    openAndWait(link_);
    sendFrame({{"from", "sid0"}, {"outer-vid", "20"}, {"outer-pbits", "3"}});
    EXPECT_TRUE(browser_->becomes("document.querySelectorAll('#way tbody tr').length >= 3"));
    expectHas(browser_->value("document.getElementById('way').innerText"), {"leaves at GEM port 1002"});
    EXPECT_TRUE(browser_->becomes("document.getElementById('part-counters').innerText.includes('GEM port 1002')"));
    // What is wrong is said, and nothing of it becomes markup.
    sendFrame({{"from", "<s>bad"}});
    EXPECT_TRUE(browser_->becomes("document.getElementById('outcome').textContent.includes('<s>bad')"));
    EXPECT_EQ(browser_->value("document.querySelector('s')"), nullptr);
}

TEST_F(PageInBrowser, SaysWhenTheBoardHasGone) {
    openAndWait(link_);
    board_->end(SIGTERM);
    EXPECT_TRUE(browser_->becomes("document.getElementById('connection').className === 'lost'"));
    EXPECT_EQ(browser_->value("document.getElementById('part-picture').innerHTML === ''"), false);
    startBoard();
    EXPECT_TRUE(browser_->becomes("document.getElementById('connection').textContent === 'Live'"));
}

TEST_F(PageInBrowser, NamesEverythingForAScreenReader) {
    openAndWait(link_);
    const json tree = browser_->call("Accessibility.getFullAXTree", json::object());
    int named = 0;
    for (const json& node : tree["nodes"]) {
        const std::string role = node.value("role", json::object()).value("value", "");
        for (const char* wanted :
             {"button", "textbox", "spinbutton", "combobox", "link", "form", "region", "image", "heading"}) {
            if (role != wanted || node.value("ignored", false)) continue;
            ++named;
            EXPECT_NE(node.value("name", json::object()).value("value", ""), "") << node.dump();
        }
    }
    EXPECT_GT(named, 50);
}

TEST_F(PageInBrowser, FitsFromFourHundredPixelsOn) {
    openAndWait(link_);
    sendFrame({{"from", "sid0"}});
    ASSERT_TRUE(browser_->becomes("document.querySelector('#way tbody tr')"));
    for (const int width : {400, 420, 900, 1400})
        for (const char* scheme : {"light", "dark"}) {
            browser_->resize(width, scheme);
            EXPECT_LE(browser_->value("document.documentElement.scrollWidth").get<int>(), width) << scheme;
            EXPECT_EQ(browser_->value(overlaps()), 0) << width;
            const std::string ground = browser_->value("getComputedStyle(document.body).backgroundColor");
            EXPECT_EQ(ground, std::string(scheme) == "light" ? "rgb(246, 247, 249)" : "rgb(16, 21, 28)");
        }
}

class PageOfManyServices : public PageInBrowser {
protected:
    static constexpr int kServices = 64;

    void SetUp() override {
        PageInBrowser::SetUp();
        if (!browser_) return;
        board_->end(SIGTERM);
        json steps = json::array({json{{"call", "vorn_omci_hal_tcont_set"}, {"allocId", 256}, {"tContIndex", 1}}});
        for (int i = 0; i < kServices; ++i) addService(steps, i);
        scratch_.write("standing.json", json{{"version", 1}, {"title", "many"}, {"steps", steps}}.dump());
        startBoard();
    }
    // Of every fourth the queue cannot be set; rows that take any tag hide those of later services on their port.
    static void addService(json& steps, int i) {
        if (i % 4 == 0) steps.push_back({{"fault", {{"function", "tmctl_setQueueCfg"}}}});
        std::string service = R"([
            {"call": "gemflow_add", "tContAllocId": 256, "xgemPortId": GEM},
            {"call": "configureBridge", "bridgeId": BRIDGE, "uniPort": 0},
            {"call": "configureAniTagRules", "bridgeId": BRIDGE, "gemPortId": GEM, "trafficModel": "1-filter",
             "forwardOperation": 4, "vlanTciFilterList": [{"vid": VID}],
             "pbitMap": [{"pbit": 0, "gemPort": GEM, "queue": 0}, {"pbit": "others", "gemPort": "none"}]},
            {"call": "filter_flow_add", "bridgeId": BRIDGE, "uniPort": UNI, "filterType": "single",
             "tagAction": "translate", "removeType": "outer", "innerFilterVlanId": VID, "innerTreatmentVlanId": VID,
             "innerTreatmentPrio": 0}])";
        const std::pair<const char*, int> numbers[] = {
            {"BRIDGE", 3 + i}, {"GEM", 1001 + i}, {"VID", 100 + i}, {"UNI", 1 + i % 4}};
        for (const auto& [word, number] : numbers)
            service = std::regex_replace(service, std::regex(word), std::to_string(number));
        for (const json& step : json::parse(service)) steps.push_back(step);
    }
    int count(const std::string& selector) {
        return browser_->value("[...document.querySelectorAll('" + selector +
                               "')].filter(e => !e.closest('[hidden]'))" + ".length");
    }
};

TEST_F(PageOfManyServices, FoldsFiltersAndSums) {
    openAndWait(link_, "[data-key=br66]");
    EXPECT_EQ(count("#part-services > details:not([open])"), kServices);
    EXPECT_EQ(count("#part-picture svg[data-key]"), kServices);
    EXPECT_EQ(count("#part-warnings li"), 2) << "16 failed calls and 60 rules: each kind differs by numbers alone";
    EXPECT_EQ(browser_->value("[...document.querySelectorAll('#part-controls li')].slice(0, 5).map(e => "
                              "e.dataset.key).sort().join()"),
              "gpondef,sid0,sid1,sid2,sid3");
    for (const auto& [width, scheme] :
         {std::make_pair(400, "light"), std::make_pair(900, "light"), std::make_pair(1400, "dark")}) {
        browser_->resize(width, scheme);
        EXPECT_LE(browser_->value("document.documentElement.scrollWidth").get<int>(), width);
        EXPECT_EQ(browser_->value(overlaps()), 0) << width;
    }
    const auto look = [this](const std::string& words) {
        browser_->value("(() => { const filter = document.getElementById('filter'); filter.value = '" + words +
                        "'; filter.dispatchEvent(new Event('input')); })()");
    };
    look("gem 1010");
    EXPECT_EQ(count("#part-services > details"), 1);
    EXPECT_EQ(count("#part-picture svg[data-key]"), 1);
    EXPECT_EQ(count("#part-pon tbody tr"), 1);
    EXPECT_EQ(browser_->value("document.getElementById('filtered').textContent"), "1 of 64 services");
    browser_->value("document.querySelector('details[data-key=br12]').open = true");
    // What comes from the board stays filtered, and a service that goes leaves the others as they were.
    EXPECT_EQ(runTool({"at", "lab", "call", "vorn_omci_hal_deprovisionAniSideBridge", "bridgeId=3"}).code, 0);
    EXPECT_TRUE(browser_->becomes("!document.querySelector('details[data-key=br3]')"));
    EXPECT_EQ(count("#part-services > details"), 1);
    look("");
    EXPECT_EQ(count("#part-services > details"), kServices - 1);
    EXPECT_EQ(browser_->value("[...document.querySelectorAll('#part-services > details[open]')].map(e => "
                              "e.dataset.key).join()"),
              "br12");
}

class PageOfAnOlt : public PageInBrowser {
protected:
    void SetUp() override {
        PageInBrowser::SetUp();
        if (!browser_) return;
        board_->end(SIGTERM);
        board_ = std::make_unique<BackgroundProgram>(
            std::vector<std::string>{VORN_ONU_BINARY, "omci", "--listen", "unix:" + scratch_.file("olt"), "--name",
                                     "lab"},
            scratch_.file("board.out"));
    }
};

TEST_F(PageOfAnOlt, HasAButtonForEachFaultOfItsAnswers) {
    const std::string part = "[aria-label=\"Drop the next answer to the OLT\"]";
    openAndWait(link_, part);
    // Its name; what the board has then, "" for what happens at once.
    const std::pair<std::string, std::string> cases[] = {
        {"Drop the next answer to the OLT", "the next answer to the OLT is not sent"},
        {"Send the next answer to the OLT a second later", "the next answer to the OLT is sent 1000 ms later"},
        {"Send the next answer to the OLT twice", "the next answer to the OLT is sent twice"},
        {"Damage the next answer to the OLT", "the next answer to the OLT is damaged"},
        {"Add an unknown class to MIB uploads", "MIB uploads have an entity of class 350"},
        {"Move the data sync counter on by one", ""},
        {"Let the ONU restart by itself", ""},
    };
    for (const auto& [button, armed] : cases) {
        browser_->value("document.getElementById('outcome').textContent = ''");
        browser_->value("document.querySelector('[aria-label=\"" + button + "\"]').click()");
        EXPECT_TRUE(browser_->becomes("document.querySelector('#outcome.good')?.textContent.startsWith('fault: ')"))
            << button << ": " << browser_->value("document.getElementById('outcome').textContent");
        EXPECT_TRUE(browser_->becomes("document.getElementById('part-controls').innerText.includes('" + armed + "')"))
            << button;
    }
    browser_->value("document.querySelector('#fault-form button[data-step]').click()");
    EXPECT_TRUE(browser_->becomes("!document.getElementById('part-controls').innerText.includes('is not sent')"));
}

}  // namespace
