// The page of a board that runs, as a browser's requests see it, and those of others.
#include <iterator>
#include <list>

#include "tools/page/ServedBoard.h"

namespace {

using nlohmann::json;

long numberAfter(const std::string& text, const std::string& word) {
    const std::size_t at = text.find(word);
    return at == std::string::npos ? -1 : std::atol(text.c_str() + at + word.size());
}

TEST_F(ServedBoard, IsForThisMachinesBrowserAlone) {
    const std::string port = std::to_string(port_);
    const std::pair<std::string, int> cases[] = {
        // what the page itself and what it loads answer
        {host(), 200},
        {"Host: localhost:" + port + "\r\n", 200},
        {host() + "Origin: http://127.0.0.1:" + port + "\r\nSec-Fetch-Site: same-origin\r\n", 200},
        {host() + "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: navigate\r\n", 200},  // a link leads here
        {"", 403},
        {"Host: 127.0.0.1\r\n", 403},
        {"Host: 127.0.0.1:1\r\n", 403},
        {"Host: lab.example:" + port + "\r\n", 403},  // a name that was made to lead here
        {"Host: 127.0.0.1:" + port + ".example\r\n", 403},
        {host() + host(), 403},
        {host() + "Origin: http://lab.example\r\n", 403},
        {host() + "Origin: https://127.0.0.1:" + port + "\r\n", 403},
        {host() + "Origin: null\r\n", 403},
        {host() + "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: no-cors\r\n", 403},
        {host() + "Sec-Fetch-Site: same-site\r\n", 403},
    };
    for (const auto& [headers, status] : cases) {
        EXPECT_EQ(ask(port_, "GET", "/", headers).status, status) << headers;
        Events events(port_, headers);
        EXPECT_TRUE(events.tell("HTTP/1.1 " + std::to_string(status))) << headers;
        if (status != 200) events.finish();
        EXPECT_EQ(events.tell("event: parts"), status == 200) << headers;
    }
}

TEST_F(ServedBoard, ChangesNothingWithoutTheToken) {
    const std::string silence = R"({"gateway": "silent"})";
    std::string other = token_;
    other.back() = other.back() == '0' ? '1' : '0';
    const std::string refused[] = {
        host(),
        host() + "X-Vorn-Token: \r\n",
        host() + "X-Vorn-Token: " + other + "\r\n",
        host() + "X-Vorn-Token: " + token_.substr(1) + "\r\n",
        host() + "X-Vorn-Token: " + token_ + "0\r\n",
        host() + "Cookie: token=" + token_ + "\r\n",
        withToken() + "Origin: http://lab.example\r\n",
        withToken() + "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: navigate\r\n" + "Origin: null\r\n",
        "Host: lab.example\r\nX-Vorn-Token: " + token_ + "\r\n",
    };
    Events events(port_, host());
    ASSERT_TRUE(events.tell("answers after"));
    for (const std::string& headers : refused) {
        const HttpAnswer answer = ask(port_, "POST", "/step", headers, silence);
        EXPECT_EQ(answer.status, 403) << headers;
        EXPECT_TRUE(json::parse(answer.body).contains("error"));
        const HttpAnswer told = ask(port_, "GET", "/token", headers);
        EXPECT_TRUE(told.status == 403 || json::parse(told.body) == json({{"good", false}})) << headers;
    }
    EXPECT_EQ(json::parse(ask(port_, "GET", "/token", withToken()).body), json({{"good", true}}));
    EXPECT_EQ(ask(port_, "POST", "/step?token=" + token_, host(), silence).status, 403);
    EXPECT_EQ(ask(port_, "GET", "/step", withToken()).status, 404);
    // A step that is taken is reported, and none of the others before it.
    events.forget();
    EXPECT_EQ(step({{"board", {{"links", {{"sid0", "down"}}}}}}).status, 200);
    EXPECT_TRUE(has(events.until("Plug in the cable of sid0"), "answers after"));
    EXPECT_EQ(ask(port_, "POST", "/step", withToken(), silence).status, 200);
    EXPECT_TRUE(events.tell("silent"));
}

TEST_F(ServedBoard, RefusesWhatIsNoStepOfThePage) {
    const std::string deep(20000, '[');
    const std::pair<std::string, int> cases[] = {
        {"", 400},
        {"{", 400},
        {"\xff\xfe", 400},
        {deep, 400},
        {"[]", 400},
        {"{}", 400},
        {R"({"call": "vorn_omci_hal_configureBridge", "bridgeId": 3})", 400},
        {R"({"gateway": "silent", "board": {}})", 400},
        {R"({"gateway": "loud"})", 422},
        {R"({"frame": {"from": "a device with a long name"}})", 422},
        {R"({"frame": {"from": "sid0", "tags": "<script>"}})", 422},
        {std::string(70000, ' '), 413},
    };
    for (const auto& [body, status] : cases) {
        const HttpAnswer answer = ask(port_, "POST", "/step", withToken(), body);
        EXPECT_EQ(answer.status, status) << body.substr(0, 80) << "\n" << answer.body;
        EXPECT_TRUE(has(answer.head, "application/json")) << answer.head;
        EXPECT_TRUE(status != 413 || has(answer.body, "a step has at most 65536 bytes")) << answer.body;
    }
    const HttpAnswer tooLong = ask(port_, "GET", "/" + std::string(9000, 'a'), host());
    EXPECT_EQ(tooLong.status, 414);
    EXPECT_TRUE(has(tooLong.body, "the address is too long"));
    EXPECT_TRUE(has(ask(port_, "GET", "/none", host()).body, "there is nothing here, or not by this method"));
}

TEST_F(ServedBoard, TakesEveryNumberThatAFieldOffers) {
    const std::pair<const char*, std::string> cases[] = {
        {"outer-vid", R"({"frame": {"from": "sid0", "tags": [{"vid": #}]}})"},
        {"outer-pbits", R"({"frame": {"from": "sid0", "tags": [{"vid": 1, "pbits": #}]}})"},
        {"inner-vid", R"({"frame": {"from": "sid0", "tags": [{"vid": 1}, {"vid": #}]}})"},
        {"inner-pbits", R"({"frame": {"from": "sid0", "tags": [{"vid": 1}, {"vid": 1, "pbits": #}]}})"},
        {"dscp", R"({"frame": {"from": "sid0", "dscp": #}})"},
        {"payload", R"({"frame": {"from": "sid0", "payload": #}})"},
        {"nth", R"({"fault": {"function": "tmctl_setQueueCfg", "may": true, "nth": #}})"},
        {"code", R"({"fault": {"function": "tmctl_setQueueCfg", "may": true, "code": #}})"},
        {"answersAfterMs", R"({"gateway": {"answersAfterMs": #}})"},
        {"advance", R"({"advance": #})"},
    };
    const std::string page = ask(port_, "GET", "/", host()).body;
    EXPECT_EQ(occurrences(page, "type=\"number\""), std::size(cases));
    for (const auto& [name, step] : cases) {
        const std::size_t at = page.find("name=\"" + std::string(name) + "\"");
        ASSERT_NE(at, std::string::npos) << name;
        const std::string field = page.substr(at, page.find('>', at) - at);
        for (const char* end : {" min=\"", " max=\""}) {
            std::string body = step;
            body.replace(body.find('#'), 1, std::to_string(numberAfter(field, end)));
            const HttpAnswer answer = ask(port_, "POST", "/step", withToken(), body);
            EXPECT_EQ(answer.status, 200) << body << ": " << answer.body;
        }
    }
}

TEST_F(ServedBoard, OutlastsWhatIsNoHttp) {
    const std::string sent[] = {std::string("\x16\x03\x01\x02\0\x01", 6),
                                "GET\r\n\r\n",
                                "GET / HTTP/9.9\r\n\r\n",
                                "\r\n\r\n\r\n",
                                std::string(100000, 'A'),
                                "GET /" + std::string(50000, '/') + " HTTP/1.1\r\n" + host() + "\r\n",
                                "GET /%00..%2f..%2fetc/passwd HTTP/1.1\r\n" + host() + "\r\n",
                                "POST /step HTTP/1.1\r\n" + withToken() + "Content-Length: -1\r\n\r\n{}",
                                "POST /step HTTP/1.1\r\n" + withToken() + "Transfer-Encoding: chunked\r\n\r\nzz\r\n",
                                "GET / HTTP/1.1\r\nHost: " + std::string(20000, 'x') + "\r\n\r\n"};
    std::list<HttpConnection> left;  // that stay open, with half a request
    for (int i = 0; i < 5; ++i) left.emplace_back(port_).send("POST /step HTTP/1.1\r\n" + withToken() + "Content-Le");
    for (const std::string& text : sent) {
        HttpConnection connection(port_);
        connection.send(text);
        connection.finish();
        EXPECT_FALSE(has(connection.until("HTTP/1.1 200"), "HTTP/1.1 200")) << text.substr(0, 60);
    }
    EXPECT_EQ(ask(port_, "GET", "/", host()).status, 200);
}

// Nobody needs the token to connect.
TEST_F(ServedBoard, GivesNobodyItsMemoryAndAnswersOthersBesideFloods) {
    const std::string chunk = "ffff\r\n" + std::string(65535, ' ') + "\r\n";
    const std::string heads[] = {
        "POST /step HTTP/1.1\r\n" + host() + "Transfer-Encoding: chunked\r\n\r\n",
        "POST /step HTTP/1.1\r\n" + withToken() + "Transfer-Encoding: chunked\r\n\r\n",
        "GET / HTTP/1.1\r\n" + host(),
    };
    const std::string endless[] = {chunk, chunk, "X-Filler: " + std::string(4000, 'x') + "\r\n"};
    const auto resident = [this] {
        return numberAfter(contentOf("/proc/" + std::to_string(page_->process()) + "/status"), "VmRSS:");
    };
    const long before = resident();
    std::list<HttpConnection> flooding;
    for (int round = 0; round < 8; ++round)
        for (std::size_t kind = 0; kind < 3; ++kind) {
            flooding.emplace_back(port_).send(heads[kind]);
            for (int i = 0; i < 60; ++i) flooding.back().send(endless[kind]);
        }
    const bool keepsMemory = !std::string(VORN_SANITIZERS).empty();
    EXPECT_TRUE(keepsMemory || resident() - before < 40000) << resident() - before << " KiB more";
    // Slow ones, and such as say nothing at all.
    std::list<HttpConnection> left;
    for (int i = 0; i < 10; ++i) left.emplace_back(port_).send("GET / HTTP/1.1\r\nHo");
    for (int i = 0; i < 100; ++i) left.emplace_back(port_);
    EXPECT_TRUE(becomesTrue([&] { return ask(port_, "GET", "/", host()).status == 200; }));
    const std::string ranges = "Range: bytes=0-,0-,0-,0-,0-,0-,0-,0-\r\n";
    const HttpAnswer parts = ask(port_, "GET", "/page.js", host() + ranges);
    EXPECT_EQ(parts.status, 400);
    EXPECT_LT(parts.body.size(), 4000U);
}

TEST_F(ServedBoard, TellsWhatHappensOnTheBoard) {
    Events events(port_, host());
    for (const char* part : {"\"picture\"", "\"services\"", "\"pon\"", "\"controls\"", "\"calls\"", "GEM port 1001"})
        EXPECT_TRUE(events.tell(part)) << part;
    // By the page, by another program, and by frames.
    events.forget();
    EXPECT_EQ(step({{"board", {{"links", {{"sid0", "down"}}}}}}).status, 200);
    EXPECT_TRUE(events.tell("Plug in the cable of sid0"));
    EXPECT_EQ(runTool({"at", "lab", "board", "links.sid0=up"}).code, 0);
    EXPECT_TRUE(events.tell("Pull the cable of sid0"));
    events.forget();
    for (int i = 0; i < 40; ++i) step({{"frame", {{"from", "gem 1001"}, {"tags", {{{"vid", 100}}}}}}});
    EXPECT_TRUE(events.tell(R"(GEM port 1001</td><td role=\"cell\" data-label=\"received\">40 frames, )"));
    EXPECT_TRUE(events.tell("frames/s, "));
    events.forget();
    EXPECT_EQ(runTool({"at", "lab", "call", "vorn_omci_hal_configureBridge", "bridgeId=4", "uniPort=0"}).code, 0);
    EXPECT_TRUE(events.tell("br4"));
    EXPECT_TRUE(events.tell("SIOCBRADDBR"));  // among the last calls
}

TEST_F(ServedBoard, FollowsAFrameHopByHopAndEscapesNames) {
    const json sent = json::parse(step({{"frame", {{"from", "sid0"}}}}).body);
    EXPECT_TRUE(sent["passed"]);
    EXPECT_EQ(sent["words"], "frame: untagged IPv4 from sid0: leaves the device");
    expectHas(sent["html"], {"push VID 100", "bridge br3", "floods", "leaves at GEM port 1001, T-CONT"});
    const json lost = json::parse(step({{"frame", {{"from", "sid0"}, {"tags", {{{"vid", 7}}}}}}}).body);
    expectHas(lost["words"], {"is dropped"});
    expectHas(lost["html"], {"dropped at sid0"});
    Events events(port_, host());
    ASSERT_TRUE(events.tell("&lt;s&gt;bad"));
    ASSERT_TRUE(events.tell("\"services\""));
    EXPECT_FALSE(has(events.until("\n\n"), "<s>")) << "a device's name is markup";
    const json dropped = json::parse(step({{"frame", {{"from", "<s>"}}}}).body);
    EXPECT_FALSE(has(dropped.value("html", ""), "<s>")) << dropped;
    EXPECT_TRUE(has(dropped.value("html", ""), "&lt;s&gt;")) << dropped;
}

TEST_F(ServedBoard, HasNothingFromOutside) {
    const HttpAnswer one = ask(port_, "GET", "/", host()), other = ask(port_, "GET", "/", host());
    const auto nonceOf = [](const HttpAnswer& answer) {
        const std::size_t at = answer.head.find("script-src 'nonce-");
        return at == std::string::npos ? "" : answer.head.substr(at + 18, 32);
    };
    EXPECT_EQ(nonceOf(one).size(), 32U);
    EXPECT_NE(nonceOf(one), nonceOf(other));
    EXPECT_TRUE(has(one.body, "<script nonce=\"" + nonceOf(one) + "\" src=\"page.js\""));
    expectHas(one.head, {"default-src 'none'", "frame-ancestors 'none'", "form-action 'none'", "base-uri 'none'"});
    for (const char* path : {"/", "/page.js", "/page.css"}) {
        const HttpAnswer answer = ask(port_, "GET", path, host());
        EXPECT_EQ(answer.status, 200) << path;
        for (const char* outside : {"http:", "https:", "url(", "@import", "unsafe-", " style=\"", " onclick"})
            EXPECT_FALSE(has(answer.body, outside)) << path << " has " << outside;
        EXPECT_FALSE(has(answer.body, token_)) << "the token is given to who has not got it";
        expectHas(answer.head, {"X-Content-Type-Options: nosniff", "Referrer-Policy: no-referrer"});
    }
}

TEST_F(ServedBoard, OutlivesTheBoardAndFindsTheNextOne) {
    Events events(port_, host());
    ASSERT_TRUE(events.tell("GEM port 1001"));
    step({{"board", {{"links", {{"sid0", "down"}}}}}});
    ASSERT_TRUE(events.tell("Plug in the cable of sid0"));
    EXPECT_EQ(board_->end(SIGTERM), 0);
    EXPECT_TRUE(events.tell("event: gone"));
    EXPECT_EQ(step({{"gateway", "silent"}}).status, 503);
    events.forget();
    startBoard();
    EXPECT_TRUE(events.tell("Pull the cable of sid0"));
}

TEST_F(ServedBoard, KeepsPlacesForThoseWhoHaveTheTokenAndEndsWhilePagesAreOpen) {
    std::list<Events> strangers;
    int live = 0;
    for (int i = 0; i < 12; ++i) live += strangers.emplace_back(port_, host()).tell("event: parts") ? 1 : 0;
    EXPECT_EQ(live, 8);
    const std::string wrong = host() + "X-Vorn-Token: " + std::string(32, '0') + "\r\n";
    for (const std::string& headers : {host(), wrong}) {
        const HttpAnswer refused = ask(port_, "GET", "/events", headers);
        EXPECT_EQ(refused.status, 503);
        EXPECT_TRUE(has(refused.body, "the link that vorn-onu has printed opens more")) << refused.body;
    }
    std::list<Events> pages;
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(pages.emplace_back(port_, withToken()).tell("event: parts"));
    EXPECT_EQ(ask(port_, "GET", "/events", withToken()).status, 503);
    EXPECT_EQ(ask(port_, "GET", "/", host()).status, 200);
    pages.pop_back();  // its place is free as soon as it is missed
    EXPECT_TRUE(becomesTrue([&] {
        Events another(port_, withToken());
        return has(another.until("\r\n\r\n"), "200 OK");
    })) << "the place of a page that was closed stays taken";
    const ProgramResult second = expectTool({"at", "lab", "serve", "--port", std::to_string(port_)}, 2, {});
    EXPECT_TRUE(has(second.output, "cannot listen on 127.0.0.1:" + std::to_string(port_))) << second.output;
    EXPECT_EQ(page_->end(SIGTERM), 0);
    EXPECT_EQ(runTool({"at", "nobody", "serve"}).code, 2);
}

}  // namespace
