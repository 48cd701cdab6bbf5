// A board that runs, reached through its socket: what it takes and refuses, who can reach it, what clients cannot do to
// it or to the program.
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <thread>

#include "support/Emulated.h"
#include "tools/living/LivingBoards.h"

namespace {

using nlohmann::json;

class Board : public ::testing::Test {
protected:
    void SetUp() override { SKIP_WHEN_EMULATED(kHostPrograms); }
    void TearDown() override { unsetenv("TMPDIR"); }
    std::string socket(const std::string& name = "lab") const { return runtime_.socket(name); }
    // One whose board answers at this socket.
    std::unique_ptr<BackgroundProgram> start(std::vector<std::string> words, const std::string& place) const {
        words.insert(words.begin(), kTool);
        auto run = std::make_unique<BackgroundProgram>(std::move(words), scratch_.file("output"));
        EXPECT_TRUE(boardAnswers(place)) << run->output();
        return run;
    }
    std::unique_ptr<BackgroundProgram> start(const std::vector<std::string>& words) const {
        return start(words, socket());
    }
    const std::vector<std::string> daemon_ = {"exec", "--quiet", "--name", "lab", "--", kDaemon, "--stay"};
    ScratchDirectory scratch_;
    RuntimeDirectory runtime_;
};

// What a client did to end up with this; for failures' texts.
std::string codeOf(const json& reply) {
    return reply.is_object() ? reply.value("code", reply.value("ok", false) ? "ok" : "?") : "no reply";
}

// ---- who talks how ----

// Each asks for something else at a time; nothing that makes the daemon's own calls fail.
json requestOf(int client, int round) {
    const std::string mark = "client " + std::to_string(client);
    const json steps[] = {json{{"frame", {{"from", "sid1"}}}},
                          json{{"board", {{"links", {{"sid7", round % 2 == 0 ? "down" : "up"}}}}}},
                          json{{"advance", 1}},
                          json{{"mark", mark}},
                          json{{"expect", {{"devices", {{"gpondef", {{"up", true}}}}}}}},
                          json{{"fault", {{"function", "popen"}, {"nth", 1000000}, {"may", true}}}},
                          json{{"gateway", "answers"}}};
    switch ((client + round) % 4) {
        case 0:
            return {{"do", "show"}, {"trace", "failed"}};
        case 1:
            return {{"do", "trace"}, {"after", 10 * round}, {"most", 50}};
        case 2:
            return {{"do", "counters"}};
        default:
            return {{"do", "step"}, {"step", steps[(client + round / 4) % 7]}};
    }
}

// As many entries as were asked for and have been, behind the last known; the board keeps no more than the latest.
bool isWhatFollows(const json& reply, const json& request) {
    const json& entries = reply["entries"];
    const auto after = request["after"].get<std::size_t>(), most = request["most"].get<std::size_t>();
    const auto traced = reply["traced"].get<std::size_t>();
    return entries.size() <= most && entries.size() >= std::min(most, traced - std::min(after, traced)) &&
           (entries.empty() || entries[0]["number"] > after);
}

TEST_F(Board, TwentyClientsTalkWhileADaemonProvisionsAndTakesDown) {
    const auto run = start({"exec", "--quiet", "--name", "lab", "--", kTestDaemon, "cycle"});
    constexpr int kClients = 20;
    const int rounds = std::string(VORN_SANITIZERS).empty() ? 16 : 3;  // a sanitizer makes ten of each

    std::atomic<int> bad{0}, events{0};
    std::vector<std::thread> clients;
    for (int one = 0; one < kClients; ++one)
        clients.emplace_back([&, one] {
            BoardClient client(socket());
            if (one % 5 == 0)
                bad += client.ask({{"do", "subscribe"}, {"to", {"trace", "changes", "counters"}}, {"everyMs", 100}})
                               .value("ok", false)
                           ? 0
                           : 1;
            for (int round = 0; round < rounds; ++round) {
                const json request = requestOf(one, round);
                const json reply = client.ask(request);
                const bool passed = reply.is_object() && reply.value("ok", false) &&
                                    (!reply.contains("step") || reply["step"].value("passed", false)) &&
                                    (request["do"] != "trace" || isWhatFollows(reply, request));
                if (!passed) {
                    ++bad;
                    ADD_FAILURE() << request.dump() << "\n" << codeOf(reply) << (reply.is_object() ? reply.dump() : "");
                    return;
                }
            }
            if (one % 5 == 0) events += client.next().is_object() ? 1 : 0;
        });
    for (auto& client : clients) client.join();
    EXPECT_EQ(bad, 0);
    EXPECT_EQ(events, kClients / 5);
    run->signal(SIGTERM);
    EXPECT_EQ(run->exitCode(), 0) << run->output();  // every call of the daemon has succeeded
    EXPECT_EQ(run->output().find("ThreadSanitizer"), std::string::npos) << run->output();
}

TEST_F(Board, ClientsThatSpeakGarbageOrHangDisturbNobody) {
    const auto run = start(daemon_);
    const std::pair<const char*, std::string> lines[] = {
        {"bad-request", std::string("\x00\xff\x80\x1b[2J", 7)},
        {"bad-request", ""},
        {"bad-request", "[]"},
        {"bad-request", "{\"v\": 1, \"v\": 1, \"do\": \"show\"}"},
        {"bad-request", std::string(100000, '[')},
        {"bad-version", "{\"do\": \"show\"}"},
        {"bad-version", "{\"v\": 2, \"do\": \"show\"}"},
        {"bad-request", "{\"v\": 1, \"do\": \"shw\"}"},
        {"bad-request", "{\"v\": 1, \"do\": 7}"},
        {"bad-request", "{\"v\": 1, \"id\": {}, \"do\": \"show\"}"},
        {"bad-request", "{\"v\": 1, \"do\": \"subscribe\", \"to\": [\"all\"]}"},
        {"bad-request", "{\"v\": 1, \"do\": \"trace\", \"most\": 1000000}"},
        {"bad-step", "{\"v\": 1, \"do\": \"step\", \"step\": {\"bord\": {}}}"},
        {"bad-step", "{\"v\": 1, \"do\": \"step\", \"step\": 5}"},
    };
    BoardClient client(socket());
    for (const auto& [code, line] : lines) {
        ASSERT_TRUE(client.send(line + "\n"));
        EXPECT_EQ(codeOf(client.next()), code) << line.substr(0, 80);
    }
    EXPECT_TRUE(client.ask({{"do", "show"}}).value("ok", false)) << "the same client goes on";

    BoardClient endless(socket());
    endless.send(std::string(std::size_t{3} << 20U, 'x'));  // no line end; the rest is not taken any more
    EXPECT_EQ(codeOf(endless.next()), "too-long");

    // Half a line each, never read: until no more are taken, and a listener that reads nothing.
    std::vector<std::unique_ptr<BoardClient>> hanging;
    for (int i = 0; i < 50; ++i) {
        hanging.push_back(std::make_unique<BoardClient>(socket()));
        hanging.back()->send("{\"v\": 1, ");
    }
    hanging.push_back(std::make_unique<BoardClient>(socket()));
    hanging.back()->send("{\"v\": 1, \"do\": \"subscribe\", \"to\": [\"counters\"], \"everyMs\": 100}\n");
    for (int i = 0; i < 100; ++i) hanging.back()->send("{\"v\": 1, \"do\": \"show\", \"trace\": \"all\"}\n");
    EXPECT_TRUE(client.step({{"board", {{"links", {{"sid5", "down"}}}}}}).value("ok", false));
    for (int i = 0; i < 80; ++i) hanging.push_back(std::make_unique<BoardClient>(socket()));  // and say nothing
    EXPECT_EQ(codeOf(hanging.back()->next()), "busy") << "there is an end to clients";
    hanging.clear();
    EXPECT_TRUE(becomesTrue([&] { return codeOf(BoardClient(socket()).ask({{"do", "hello"}})) == "ok"; }));
    run->signal(SIGTERM);
    EXPECT_EQ(run->exitCode(), 128 + SIGTERM) << run->output();
}

// ---- steps ----

TEST_F(Board, TakesEveryKindOfStepAndRefusesCallsThatAreTheProgramsOwn) {
    const auto run = start(daemon_);
    ASSERT_TRUE(run->prints("the service is up")) << run->output();
    BoardClient client(socket());
    const json steps[] = {
        json{{"gateway", "silent"}},
        json{{"board", {{"links", {{"sid1", "down"}}}}}},
        json{{"frame", {{"from", "sid1"}}}, {"expect", {{"dropped", "no carrier"}}}},
        json{{"board", {{"links", {{"sid1", "up"}}}}}},
        json{{"frame", {{"from", "sid1"}}}, {"expect", {{"leaves", {{{"at", "gpondef"}, {"gemPort", 1001}}}}}}},
        json{{"fault", {{"function", "tmctl_setQueueCfg"}, {"nth", 2}}}},
        json{{"fault", "clear"}},  // fails: it never came to the fault
        json{{"advance", 1000}},
        json{{"mark", "now"}},
        json{{"mark", "now"}},
        json{{"expect", {{"nothingLeftSince", "now"}}}, {"within", 200}},
        json{{"show", "a title"}},
        json{{"note", "words"}},
    };
    std::set<std::string> failed;
    for (const json& step : steps) {
        const json reply = client.step(step);
        ASSERT_EQ(codeOf(reply), "ok") << step.dump() << reply.dump();
        if (!reply["step"].value("passed", false)) failed.insert(step.dump());
    }
    EXPECT_EQ(failed, std::set<std::string>{json({{"fault", "clear"}}).dump()});
    EXPECT_EQ(client.ask({{"do", "show"}})["device"]["bus"]["gateway"], "silent");
    const json call = client.step({{"call", "vorn_omci_hal_configureBridge"}, {"bridgeId", 9}, {"uniPort", 0}});
    EXPECT_EQ(codeOf(call), "not-here");
    expectHas(call.value("error", ""), {"program owns its HAL"});
    // An expectation with time holds nobody else up: another client's step makes it true.
    ASSERT_TRUE(
        client.send("{\"v\": 1, \"do\": \"step\", \"step\": {\"expect\": {\"devices\": {\"sid1\": {\"operState\": "
                    "\"down\"}}}, \"within\": 60000}}\n"));
    EXPECT_TRUE(
        BoardClient(socket()).step({{"board", {{"links", {{"sid1", "down"}}}}}})["step"].value("passed", false));
    EXPECT_TRUE(client.next()["step"].value("passed", false));
}

// What was done to the board of a killed program is there for the next one, and for who looks at it.
TEST_F(Board, InAFileGoesOnUnderItsNameWithTheNextProgram) {
    const std::string file = scratch_.file("board");
    auto run = start({"exec", "--quiet", "--name", "lab", "--board", file, "--", kDaemon, "--stay"});
    ASSERT_TRUE(run->prints("the service is up")) << run->output();
    EXPECT_EQ(runTool({"at", "lab", "board", "links.sid1=down"}).code, 0);
    const pid_t program = BoardClient(socket()).ask({{"do", "hello"}}).at("board").at("process");
    kill(program, SIGKILL);
    EXPECT_EQ(run->exitCode(), 128 + SIGKILL) << run->output();

    run = start({"exec", "--quiet", "--name", "lab", "--board", file, "--", kTestDaemon, "cycle"});
    BoardClient client(socket());
    const json dark = client.step({{"frame", {{"from", "sid1"}}}, {"expect", {{"dropped", "no carrier"}}}});
    EXPECT_TRUE(dark["step"].value("passed", false)) << dark.dump();
    EXPECT_EQ(codeOf(client.step({{"restart", "kill"}})), "not-here");
    run->signal(SIGTERM);
    EXPECT_EQ(run->exitCode(), 0) << run->output();
}

TEST_F(Board, GivesThePlaceOfAClientThatHasLeftToAnotherOne) {
    const auto run = start({"run", kScenarios + "/internet.json", "--stay", "--quiet", "--name", "lab"});
    {
        std::list<BoardClient> waiting;
        while (waiting.size() < 64) {
            // The connection by which the start was noticed may still have a place.
            ASSERT_TRUE(becomesTrue([&] {
                if (codeOf(waiting.emplace_back(socket()).ask({{"do", "hello"}})) == "ok") return true;
                waiting.pop_back();
                return false;
            }));
            ASSERT_TRUE(waiting.back().send(
                R"({"v": 1, "id": 1, "do": "step", "step": {"expect": {"bridges": {"br77": {}}}, "within": 60000}})"
                "\n"));
        }
        EXPECT_EQ(codeOf(BoardClient(socket()).next()), "busy");
    }
    // Until then it is refused, or the connection ends.
    EXPECT_TRUE(becomesTrue([&] { return codeOf(BoardClient(socket()).ask({{"do", "hello"}})) == "ok"; }));
    run->signal(SIGTERM);
    EXPECT_EQ(run->exitCode(), 0) << run->output();
}

TEST_F(Board, OfAScenarioStaysAndTakesCallsWithTheSameChecks) {
    const auto run = start({"run", kScenarios + "/internet.json", "--stay", "--quiet", "--name", "lab"});
    // The scenario takes its service back; the board is as it is before that, and frames pass.
    EXPECT_EQ(runTool({"at", "lab", "send", "--from", "sid0"}).code, 0);
    EXPECT_EQ(runTool({"at", "lab", "call", "configureBridge", "bridgeId=9", "uniPort=0", "result=0"}).code, 0);
    EXPECT_EQ(runTool({"at", "lab", "expect", "bridges={\"br9\": {}}"}).code, 0);
    EXPECT_EQ(runTool({"at", "lab", "expect", "bridges={\"br10\": {}}"}).code, 1);
    expectTool({"at", "lab", "call", "configureBridge", "bridge=9"}, 2, {"did you mean 'bridgeId'"});
    expectHas(runTool({"at", "lab", "show"}).output, {"br9"});
    run->signal(SIGTERM);
    EXPECT_EQ(run->exitCode(), 0) << run->output();
    EXPECT_FALSE(BoardClient(socket()).connected());
}

TEST_F(Board, OfAnOltsOnuTakesCallsAndFrames) {
    const auto run = start({"omci", "--listen", "unix:" + scratch_.file("olt"), "--quiet", "--name", "lab"});
    EXPECT_EQ(runTool({"at", "lab", "call", "vorn_omci_hal_sn_get", "size=64", "result=0"}).code, 0);
    expectTool({"at", "lab", "send", "--from", "sid0", "--vlan", "20"}, 1, {"dropped at sid0"});
    EXPECT_EQ(runTool({"at", "lab", "send", "--from", "sid77"}).code, 2);
}

// ---- events ----

TEST_F(Board, TellsListenersEveryCallInOrderAndTheEnd) {
    const auto run = start({"exec", "--quiet", "--name", "lab", "--", kTestDaemon, "cycle"});
    BoardClient client(socket());
    const json begun = client.ask({{"do", "subscribe"}, {"to", {"trace", "changes", "counters"}}, {"everyMs", 100}});
    ASSERT_EQ(codeOf(begun), "ok");
    std::uint64_t last = begun.at("traced");
    std::map<std::string, int> seen;
    while (seen["trace"] < 5 || seen["change"] < 2 || seen["counters"] < 2) {
        const json event = client.next();
        ASSERT_TRUE(event.is_object());
        ++seen[event.value("event", "")];
        if (event.value("event", "") != "trace") continue;
        for (const json& entry : event["entries"]) {
            ASSERT_EQ(entry.at("number"), last + 1);
            ++last;
        }
    }
    run->signal(SIGTERM);
    std::string why;
    for (json event = client.next(); event.is_object(); event = client.next())
        if (event.value("event", "") == "end") why = event.value("why", "");
    EXPECT_EQ(why, "the program has ended with exit code 0");
    EXPECT_EQ(run->exitCode(), 0);
}

// ---- the program ----

TEST_F(Board, StaysInReachOfAProgramThatClosesAllDescriptors) {
    const auto run = start({"exec", "--quiet", "--name", "lab", "--", kTestDaemon, "cycle", "closing"});
    BoardClient client(socket());
    for (int round = 1; round <= 4; ++round) {
        const std::string closed = "round " + std::to_string(round) + "\n";
        for (bool up = false; !has(run->output(), closed); up = !up) {
            const json reply = client.step({{"board", {{"links", {{"sid6", up ? "up" : "down"}}}}}});
            ASSERT_EQ(codeOf(reply), "ok") << reply.dump() << run->output() << run->exitCode();
        }
    }
    run->signal(SIGTERM);
    EXPECT_EQ(run->exitCode(), 0) << run->output();
}

// A program destroys what is static on its way out, while requests go on.
TEST_F(Board, MayEndInTheMiddleOfRequests) {
    const auto run = start({"exec", "--quiet", "--name", "lab", "--", kTestDaemon, "cycle", "leaving"});
    std::atomic<bool> over{false};
    std::atomic<int> answered{0}, waited{0};
    std::vector<std::thread> clients;
    for (int one = 0; one < 4; ++one)
        clients.emplace_back([&, one] {
            while (!over) {
                BoardClient client(socket());
                std::string code = "ok";
                for (int i = 0; !over && code == "ok"; ++i) {
                    code = codeOf(client.ask(requestOf(one, i)));
                    answered += code == "ok" ? 1 : 0;
                }
                waited += code == "no-answer" ? 1 : 0;
            }
        });
    EXPECT_TRUE(becomesTrue([&] { return answered > 100 || run->hasEnded(); }));
    EXPECT_EQ(run->end(), 0) << run->output();
    over = true;
    for (auto& client : clients) client.join();
    EXPECT_EQ(waited, 0) << "a client has waited for the answer of a program that was going";
}

// Whether all threads of the process are stopped.
bool isStopped(pid_t process) {
    for (const auto& thread : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        const std::string status = contentOf(thread.path() / "stat");
        if (status.find(") T ") == std::string::npos) return false;
    }
    return true;
}

TEST_F(Board, ThatIsStoppedIsToldOfAndGoesOnLater) {
    const auto run = start(daemon_);
    BoardClient client(socket());
    const pid_t process = client.ask({{"do", "hello"}}).at("board").at("process");
    kill(process, SIGSTOP);
    ASSERT_TRUE(becomesTrue([&] { return isStopped(process); })) << "each of its threads takes its own time to stop";
    const json silent = client.ask({{"do", "counters"}});
    kill(process, SIGCONT);
    EXPECT_EQ(codeOf(silent), "no-answer");
    EXPECT_TRUE(becomesTrue([&] { return codeOf(client.ask({{"do", "counters"}})) == "ok"; }));
    const json shown = client.ask({{"do", "show"}});
    EXPECT_TRUE(shown.contains("device")) << "late answers are not taken for others";
}

// ---- names ----

TEST_F(Board, HasItsNameAloneAndReplacesWhatAKilledRunHasLeft) {
    auto run = start(daemon_);
    const ProgramResult second =
        expectTool({"exec", "--name", "lab", "--", "/bin/sh", "-c", "echo has run"}, 2, {"'lab' runs already"});
    EXPECT_EQ(second.output.find("has run"), std::string::npos) << "nothing is run";
    struct stat found {};
    ASSERT_EQ(stat(socket().c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777U, 0700U);
    ASSERT_EQ(stat((runtime_.path() + "/vorn-onu").c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777U, 0700U);
    expectHas(runTool({"ls"}).output, {"lab"});
    run->signal(SIGKILL);
    run->exitCode();
    EXPECT_EQ(stat(socket().c_str(), &found), 0) << "left behind";
    EXPECT_EQ(runTool({"ls"}).output, "No board runs.\n");
    EXPECT_EQ(runTool({"at", "lab", "show"}).code, 2);
    start(daemon_);
}

TEST_F(Board, HasANameThatIsNoPathAndADirectoryThatIsTheUsersAlone) {
    const auto runWith = [](const std::string& name) { return runTool({"exec", "--name", name, "--", "/bin/true"}); };
    for (const char* name : {"", "../x", "a/b", ".x", "-x", "a b", "\x1b[2J"}) EXPECT_EQ(runWith(name).code, 2) << name;
    EXPECT_EQ(runWith(std::string(41, 'x')).code, 2);
    EXPECT_EQ(runWith(std::string(40, 'x')).code, 0);
    chmod((runtime_.path() + "/vorn-onu").c_str(), 0755);
    const ProgramResult open = runWith("lab");
    EXPECT_EQ(open.code, 2);
    expectHas(open.output, {"yours alone; set XDG_RUNTIME_DIR or TMPDIR to another"});
    // Without a runtime directory of the user's: a private one below the temporary directory.
    setenv("XDG_RUNTIME_DIR", "/nowhere", 1);
    setenv("TMPDIR", runtime_.path().c_str(), 1);
    start(daemon_, runtime_.path() + "/vorn-onu." + std::to_string(getuid()) + "/boards/lab.sock");
}

}  // namespace
