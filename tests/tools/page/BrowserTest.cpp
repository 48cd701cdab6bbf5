// The page in a browser: what its script does, and how it looks.
#include "tools/page/Browser.h"
#include "tools/page/ServedBoard.h"

namespace {

using nlohmann::json;

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
    void openAndWait(const std::string& link) {
        browser_->open(link);
        ASSERT_TRUE(browser_->becomes("document.getElementById('connection')?.textContent === 'Live'"));
        ASSERT_TRUE(browser_->becomes("document.querySelector('#part-picture svg')"));
    }
    std::unique_ptr<Browser> browser_;
};

TEST_F(PageInBrowser, OnlyLooksWithoutTheToken) {
    openAndWait("http://localhost:" + std::to_string(port_) + "/");
    EXPECT_EQ(browser_->value("document.getElementById('readonly').hidden"), false);
    EXPECT_EQ(
        browser_->value("[...document.querySelectorAll('button, input, select')].every(e => e.matches(':disabled'))"),
        true);
}

TEST_F(PageInBrowser, KeepsTheTokenOutOfTheAddress) {
    openAndWait(link_);
    EXPECT_EQ(browser_->value("location.search"), "");
    EXPECT_EQ(browser_->value("document.getElementById('readonly').hidden"), true);
    browser_->call("Page.reload", json::object());
    ASSERT_TRUE(browser_->becomes("document.getElementById('connection')?.textContent === 'Live'"));
    EXPECT_EQ(browser_->value("document.querySelector('button').matches(':disabled')"), false);
    // A link with a wrong one does not take it away.
    openAndWait("http://127.0.0.1:" + std::to_string(port_) + "/?token=wrong");
    EXPECT_EQ(browser_->value("document.querySelector('button').matches(':disabled')"), false);
}

TEST_F(PageInBrowser, SaysThatATokenIsOldAndRefusesHalvesOfTags) {
    openAndWait("http://localhost:" + std::to_string(port_) + "/?token=" + std::string(32, '0'));
    EXPECT_EQ(browser_->value("document.getElementById('readonly').innerText.includes('started again')"), true);
    openAndWait(link_);
    for (const char* field : {"outer-pbits", "inner-vid"}) {
        browser_->value(
            "(() => { const form = document.getElementById('frame-form'); form.reset(); form.elements.from.value = "
            "'sid0'; form.elements['" +
            std::string(field) + "'].value = '3'; form.requestSubmit(); })()");
        EXPECT_TRUE(
            browser_->becomes("/^Not done: (the outer tag|an inner tag)/.test(document.getElementById('outcome')"
                              ".textContent)"))
            << field;
        browser_->value("document.getElementById('outcome').textContent = ''");
    }
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
    browser_->value(
        "(() => { const form = document.getElementById('frame-form'); form.elements.from.value = 'sid0';"
        " form.elements['outer-vid'].value = '20'; form.elements['outer-pbits'].value = '3'; form.requestSubmit(); "
        "})()");
    EXPECT_TRUE(browser_->becomes("document.querySelectorAll('#way tbody tr').length >= 3"));
    const std::string way = browser_->value("document.getElementById('way').innerText");
    EXPECT_NE(way.find("leaves at GEM port 1002"), std::string::npos) << way;
    EXPECT_TRUE(browser_->becomes("document.getElementById('part-counters').innerText.includes('GEM port 1002')"));
    // What is wrong is said, and nothing of it becomes markup.
    browser_->value(
        "const form = document.getElementById('frame-form'); form.elements.from.value = '<s>bad'; "
        "form.requestSubmit()");
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
    browser_->value(
        "document.getElementById('frame-form').elements.from.value = 'sid0', "
        "document.getElementById('frame-form').requestSubmit()");
    ASSERT_TRUE(browser_->becomes("document.querySelector('#way tbody tr')"));
    for (const int width : {400, 420, 1400})
        for (const char* scheme : {"light", "dark"}) {
            browser_->resize(width, scheme);
            browser_->picture(std::string(VORN_PICTURE_DIR) + "/page-" + std::to_string(width) + "-" + scheme + ".png");
            EXPECT_LE(browser_->value("document.documentElement.scrollWidth").get<int>(), width) << scheme;
            const std::string ground = browser_->value("getComputedStyle(document.body).backgroundColor");
            EXPECT_EQ(ground, std::string(scheme) == "light" ? "rgb(246, 247, 249)" : "rgb(16, 21, 28)");
        }
}

}  // namespace
