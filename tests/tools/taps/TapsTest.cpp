// Real packets: Linux's own programs in two network namespaces, a customer's and an operator's, with the virtual ONU
// between them. The namespaces belong to processes of the test and go with them, whatever becomes of it.
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <regex>

#include <nlohmann/json.hpp>

#include "support/Process.h"
#include "support/Sanitized.h"
#include "tools/program/Terminal.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

using nlohmann::json;
namespace fs = std::filesystem;

bool isThere(const std::string& program) {
    return runProgram({"sh", "-c", "command -v " + program}).code == 0;
}

// A process with a network namespace of its own, which lives as long as the object and no longer than the test.
class Namespace {
public:
    Namespace() {
        int ready[2];
        if (pipe(ready) != 0) return;
        process_ = fork();
        if (process_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const char made = unshare(CLONE_NEWNET) == 0 ? 'y' : 'n';
            if (write(ready[1], &made, 1) != 1) _exit(1);
            while (true) pause();
        }
        char made = 'n';
        while (read(ready[0], &made, 1) < 0) {
        }
        valid_ = made == 'y';
        close(ready[0]);
        close(ready[1]);
        if (valid_) run({"ip", "link", "set", "lo", "up"});
    }
    ~Namespace() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    Namespace(const Namespace&) = delete;
    Namespace& operator=(const Namespace&) = delete;

    bool valid() const { return valid_; }
    std::string path() const { return "/proc/" + std::to_string(process_) + "/ns/net"; }
    std::vector<std::string> words(std::vector<std::string> program) const {
        program.insert(program.begin(), {"nsenter", "--net=" + path()});
        return program;
    }
    ProgramResult run(std::vector<std::string> program) const { return runProgram(words(std::move(program))); }

private:
    pid_t process_ = -1;
    bool valid_ = false;
};

class Taps : public ::testing::Test {
protected:
    void SetUp() override {
        if (access("/dev/net/tun", R_OK | W_OK) != 0) GTEST_SKIP() << "/dev/net/tun is missing, or may not be used";
        if (!customer_.valid() || !operator_.valid()) GTEST_SKIP() << "no right to make network namespaces";
        for (const char* program : {"ip", "nsenter", "ping"})
            if (!isThere(program)) GTEST_SKIP() << program << " is missing";
        const auto tun = customer_.run({"ip", "tuntap", "add", "dev", "try0", "mode", "tap"});
        if (tun.code != 0) GTEST_SKIP() << "no TAP can be made: " << tun.output;
    }

    std::string output() const { return contentOf(scratch_.file("output")); }

    // A board with the customer at sid2 and the operator behind GEM port 1001; started as `command` says.
    void start(std::vector<std::string> command, const std::vector<std::string>& behind = {}) {
        command.insert(command.begin(), VORN_ONU_BINARY);
        for (const std::string& word : {std::string("--tap"), "sid2=lan0@" + customer_.path(), std::string("--tap"),
                                        "gem 1001=pon0@" + operator_.path()})
            command.push_back(word);
        command.insert(command.end(), behind.begin(), behind.end());
        board_ = std::make_unique<BackgroundProgram>(std::move(command), scratch_.file("output"));
    }
    void startDaemon(const std::string& mode = "") {
        start({"exec", "--json", scratch_.file("state.json"), "--hal-output", scratch_.file("hal")},
              {"--", TEST_DAEMON_BINARY, "packets", mode});
        ASSERT_TRUE(board_->prints(": up\n")) << output();
    }
    static std::string name() { return "tap-test-" + std::to_string(getpid()); }
    void startScenario(const std::string& file = "real-packets.json") {
        start({"run", VORN_SCENARIO_DIR "/" + file, "--stay", "--name", name()});
        ASSERT_TRUE(board_->prints("the board stays")) << output();
    }
    pid_t daemon() const {
        const std::string text = output();
        const std::size_t at = text.find("daemon ");
        return at == std::string::npos ? 0 : std::stoi(text.substr(at + 7));
    }
    // Tells the daemon, and waits for its word that it has been done.
    void order(int signal, const std::string& word) const {
        const std::string text = output();
        kill(daemon(), signal);
        ASSERT_TRUE(becomesTrue([&] { return output().find(word, text.size()) != std::string::npos; })) << output();
    }

    void giveAddresses() const {
        ASSERT_EQ(customer_.run({"ip", "addr", "add", "10.9.0.1/24", "dev", "lan0"}).code, 0);
        ASSERT_EQ(operator_.run({"ip", "addr", "add", "10.9.0.2/24", "dev", "pon0"}).code, 0);
        ASSERT_TRUE(becomesTrue([this] { return pings(); })) << output();
    }
    bool pings() const { return customer_.run({"ping", "-c", "1", "-W", "1", "10.9.0.2"}).code == 0; }

    // A client at the port hears from a server at this interface of the operator's.
    void getsAddressFrom(const std::string& interface) {
        for (const char* program : {"dnsmasq", "udhcpc"})
            if (!isThere(program)) GTEST_SKIP() << program << " is missing";
        ASSERT_EQ(operator_.run({"ip", "addr", "add", "10.9.0.2/24", "dev", interface}).code, 0);
        const BackgroundProgram server(
            operator_.words({"dnsmasq", "--no-daemon", "--conf-file=/dev/null", "--port=0", "--interface=" + interface,
                             "--bind-interfaces", "--user=", "--pid-file=", "--dhcp-range=10.9.0.100,10.9.0.100,1h",
                             "--dhcp-leasefile=" + scratch_.file("leases")}),
            scratch_.file("server"));
        const std::string script =
            scratch_.write("take.sh", "#!/bin/sh\n[ \"$1\" = bound ] && ip addr add $ip/24 dev $interface\nexit 0\n");
        runProgram({"chmod", "+x", script});
        const auto client =
            customer_.run({"udhcpc", "-i", "lan0", "-f", "-q", "-n", "-t", "10", "-T", "1", "-s", script});
        EXPECT_EQ(client.code, 0) << client.output << contentOf(scratch_.file("server")) << output();
        expectHas(contentOf(scratch_.file("leases")), {"10.9.0.100"});
        EXPECT_TRUE(becomesTrue([this] { return pings(); }));
    }

    // "taps" of the final state, by port.
    json ended() {
        EXPECT_EQ(board_->end(), 0) << output();
        board_.reset();
        json byPort;
        const json state = json::parse(contentOf(scratch_.file("state.json")));
        for (const json& tap : state.at("taps")) byPort[tap.at("port").get<std::string>()] = tap;
        return byPort;
    }

    ScratchDirectory scratch_;
    Namespace customer_, operator_;
    std::unique_ptr<BackgroundProgram> board_;
};

// The frames have to survive a program that closes every descriptor, and it must not find one of theirs.
TEST_F(Taps, PingPassesThroughADaemonThatClosesEveryDescriptor) {
    startDaemon("closing");
    giveAddresses();
    order(SIGUSR2, "port on the bridge");  // and closes them once more, while frames pass
    const auto ping = customer_.run({"ping", "-c", "20", "-i", "0.02", "-W", "1", "-s", "1400", "10.9.0.2"});
    expectHas(ping.output, {" 0% packet loss"});
    const json taps = ended();
    for (const char* port : {"sid2", "gem 1001"}) {
        EXPECT_GE(taps[port].at("framesIn"), 21u) << port;
        EXPECT_GE(taps[port].at("framesOut"), 21u) << port;
    }
    expectHas(output(), {"Real packets"});
}

TEST_F(Taps, FramesMeetTheRulesThatStandWhileTheDaemonChangesThem) {
    startDaemon();
    giveAddresses();
    order(SIGUSR1, "port off the bridge");
    EXPECT_FALSE(pings());
    order(SIGUSR2, "port on the bridge");
    EXPECT_TRUE(becomesTrue([this] { return pings(); }));
    const json taps = ended();
    EXPECT_GE(taps["sid2"].at("dropped"), 1u) << taps.dump(1);
    EXPECT_NE(taps["sid2"].at("lastDrop"), "");
}

// The board of the child began as a copy of its parent's, which carried the frames until then.
TEST_F(Taps, ProcessThatUsesTheDeviceLastHasThePorts) {
    if (kThreadsEndWithFork) GTEST_SKIP() << kWhyNoFork;
    startDaemon("forking");
    giveAddresses();
}

// One whose thread asks late, as that of the daemon's parent may.
TEST_F(Taps, StayWithTheProcessThatBeganLastToUseItsBoard) {
    startDaemon();
    giveAddresses();
    const std::string environment = contentOf("/proc/" + std::to_string(daemon()) + "/environ");
    const std::size_t run = environment.find("VORN_ONU_RUN=");
    ASSERT_NE(run, std::string::npos);
    const std::string path = std::string(environment.c_str() + run + std::strlen("VORN_ONU_RUN=")) + "/taps";
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    ASSERT_LT(path.size(), sizeof place.sun_path);
    path.copy(place.sun_path, path.size());
    const int late = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    ASSERT_EQ(connect(late, reinterpret_cast<const sockaddr*>(&place), sizeof place), 0) << path;
    const std::int64_t since = 1;
    ASSERT_EQ(send(late, &since, sizeof since, 0), static_cast<ssize_t>(sizeof since));
    EXPECT_TRUE(pings() && pings());
    pollfd word = {late, POLLIN, 0};
    EXPECT_EQ(poll(&word, 1, 0), 0) << "it has the TAPs";
    close(late);
    EXPECT_TRUE(pings());
}

TEST_F(Taps, BoardsLinkFollowsTheTaps) {
    startScenario();
    giveAddresses();
    const auto isUp = [&](const char* device) {
        const auto shown = runTool({"at", name(), "show", "--json"});
        const json state = json::parse(shown.output);
        for (const json& one : state.at("network").at("devices"))
            if (one.at("name") == device) return one.at("operState") == "up";
        return false;
    };
    EXPECT_TRUE(isUp("sid2"));
    customer_.run({"ip", "link", "set", "lan0", "down"});
    EXPECT_TRUE(becomesTrue([&] { return !isUp("sid2"); }));
    customer_.run({"ip", "link", "set", "lan0", "up"});
    EXPECT_TRUE(becomesTrue([&] { return isUp("sid2"); }));
    EXPECT_TRUE(becomesTrue([this] { return pings(); }));
    const auto listed = runTool({"ls"});
    expectHas(listed.output, {"sid2=lan0@" + customer_.path()});
    winsize window{};
    window.ws_row = 50;
    window.ws_col = 120;
    TerminalSession watch({VORN_ONU_BINARY, "at", name(), "watch"}, window);
    EXPECT_TRUE(watch.shows("Real packets") && watch.shows("lan0")) << watch.output();
}

TEST_F(Taps, TellWhatBecameOfTheirInterfaces) {
    startScenario();
    giveAddresses();
    const auto shown = [] { return runTool({"at", name(), "show"}).output; };
    const auto reports = [&](const std::string& words) {
        return becomesTrue([&] {  // the lines may be broken
            return std::regex_replace(shown(), std::regex("\\s+"), " ").find(words) != std::string::npos;
        });
    };
    const auto rename = [&](const std::string& from, const std::string& to) {
        customer_.run({"ip", "link", "set", from, "down"});
        ASSERT_EQ(customer_.run({"ip", "link", "set", from, "name", to}).code, 0);
        customer_.run({"ip", "link", "set", to, "up"});
    };
    rename("lan0", "lan9");
    EXPECT_TRUE(reports("sid2: the interface was renamed to lan9")) << shown();
    EXPECT_TRUE(becomesTrue([this] { return pings(); })) << "it carries no frames any more";
    rename("lan9", "lan0");
    EXPECT_TRUE(becomesTrue([&] { return shown().find("lan9") == std::string::npos; })) << "it has its name again";
    ASSERT_EQ(customer_.run({"ip", "link", "del", "lan0"}).code, 0);
    EXPECT_TRUE(reports("sid2: the interface was deleted")) << shown();
    ASSERT_EQ(operator_.run({"ip", "link", "set", "pon0", "netns", customer_.path()}).code, 0);
    EXPECT_TRUE(reports("gem 1001: the interface was moved to another network namespace")) << shown();
}

// The interface was there before, and stays; its queue is shorter than what is sent while the daemon stands still.
TEST_F(Taps, FramesThatTheBoardDoesNotTakeInTimeAreShownAsLost) {
    ASSERT_EQ(customer_.run({"ip", "tuntap", "add", "dev", "lan0", "mode", "tap"}).code, 0);
    ASSERT_EQ(customer_.run({"ip", "link", "set", "lan0", "txqueuelen", "10", "up"}).code, 0);
    startDaemon();
    giveAddresses();
    kill(daemon(), SIGSTOP);
    const auto sent = customer_.run({"ping", "-b", "-c", "60", "-i", "0.005", "-W", "1", "10.9.0.255"});
    kill(daemon(), SIGCONT);
    const json taps = ended();
    EXPECT_GE(taps["sid2"].at("lostIn"), 40u) << sent.output << taps.dump(1);
    EXPECT_EQ(taps["gem 1001"].at("lostIn"), 0u);
    const std::string words = std::regex_replace(output(), std::regex("\\s+"), " ");  // the lines may be broken
    expectHas(words, {"lost in front of the board, which was too slow"});
    EXPECT_EQ(customer_.run({"ip", "link", "show", "lan0"}).code, 0) << "a TAP that others have made is gone";
}

TEST_F(Taps, KilledBoardLeavesNoTap) {
    const auto leavesNone = [this](pid_t process) {
        ASSERT_EQ(customer_.run({"ip", "link", "show", "lan0"}).code, 0);
        kill(process, SIGKILL);
        EXPECT_TRUE(becomesTrue([this] { return customer_.run({"ip", "link", "show", "lan0"}).code != 0; }));
    };
    startScenario();
    leavesNone(board_->process());
    startDaemon();
    leavesNone(daemon());
}

// The thread that carries packets has descriptors of its own, and the daemon's threads have the board's file, too.
TEST_F(Taps, BoardInAFileKeepsWhatPacketsHaveLeft) {
    const std::string board = scratch_.file("board");
    start({"exec", "--board", board}, {"--", TEST_DAEMON_BINARY, "packets"});
    ASSERT_TRUE(board_->prints(": up\n")) << output();
    giveAddresses();
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(becomesTrue([this] { return pings(); })) << output();
        order(SIGUSR1, "off the bridge");
        order(SIGUSR2, "on the bridge");
    }
    std::map<std::string, int> opened;  // of each thread
    for (const auto& thread : fs::directory_iterator("/proc/" + std::to_string(daemon()) + "/task"))
        for (const auto& one : fs::directory_iterator(thread.path() / "fd")) {
            std::error_code gone;
            if (fs::read_symlink(one.path(), gone) == fs::canonical(board)) ++opened[thread.path().filename()];
        }
    EXPECT_GE(opened.size(), 2U);
    for (const auto& [thread, count] : opened) EXPECT_EQ(count, 1) << thread;
    kill(daemon(), SIGKILL);
    board_->end();
    const std::string file = scratch_.file("kept.json");
    ASSERT_EQ(runTool({"exec", "--quiet", "--board", board, "--json", file, "--", "true"}).code, 0);
    const json kept = json::parse(contentOf(file));
    constexpr int kFramesSent = 0;
    EXPECT_GE(kept.at("pon").at("gemPorts").at(0).at("counters").at(kFramesSent), 3U) << kept["pon"].dump(1);
    EXPECT_FALSE(kept.contains("taps")) << "they are the host's";
}

TEST_F(Taps, WithoutTheRightTheAnswerTellsWhichIsMissing) {
    if (!isThere("setpriv")) GTEST_SKIP() << "setpriv is missing";
    const auto refused = runProgram({"setpriv", "--bounding-set=-net_admin", "--inh-caps=-net_admin", VORN_ONU_BINARY,
                                     "exec", "--tap", "sid0=vorn-none0", "--", "/bin/echo", "it ran"});
    EXPECT_EQ(refused.code, 2) << refused.output;
    expectHas(refused.output, {"CAP_NET_ADMIN"});
    EXPECT_EQ(refused.output.find("it ran"), std::string::npos) << refused.output;
}

// How the two interfaces were made beforehand; "": they were not.
struct Ends {
    const char* name;
    std::vector<std::string> customer, operators;
};

class TapsOfKinds : public Taps, public ::testing::WithParamInterface<Ends> {
protected:
    static void make(const Namespace& place, const std::string& interface, std::vector<std::string> kind) {
        if (kind.empty()) return;
        kind.insert(kind.begin(), {"ip", "tuntap", "add", "dev", interface});
        const auto made = place.run(kind);
        ASSERT_EQ(made.code, 0) << made.output;
        ASSERT_EQ(place.run({"ip", "link", "set", interface, "up"}).code, 0);
    }
    void transfer(bool down) {
        // A server each: it is busy for a while when a client has gone.
        const std::string file = scratch_.file(down ? "server-down" : "server-up");
        BackgroundProgram server(operator_.words({"iperf3", "-s", "-1", "-B", "10.9.0.2", "--forceflush"}), file);
        ASSERT_TRUE(server.prints("listening")) << server.output();
        std::vector<std::string> words = {"iperf3", "-c", "10.9.0.2", "-J", "-t", "2"};
        if (down) words.emplace_back("-R");
        const auto client = customer_.run(words);
        const json end = json::parse(client.output, nullptr, false).value("end", json::object());
        ASSERT_TRUE(end.contains("sum_received")) << "down: " << down << ", " << client.code << ": " << client.output;
        EXPECT_GT(end.at("sum_received").at("bits_per_second").get<double>(), 1e6) << "down: " << down;
    }
};

// Segments are cut by the kernel behind the other interface, or by the board, and every frame is counted.
TEST_P(TapsOfKinds, IperfRunsBothWays) {
    if (!isThere("iperf3")) GTEST_SKIP() << "iperf3 is missing";
    make(customer_, "lan0", GetParam().customer);
    make(operator_, "pon0", GetParam().operators);
    startScenario();
    giveAddresses();
    transfer(false);
    transfer(true);
    const auto count = [](const json& tap, const char* key) { return tap.at(key).get<std::uint64_t>(); };
    const std::pair<std::string, std::string> directions[] = {{"sid2", "gem 1001"}, {"gem 1001", "sid2"}};
    std::map<std::string, json> taps;
    EXPECT_TRUE(becomesTrue([&] {  // the last ones may still be on their way
        const auto state = json::parse(runTool({"at", name(), "show", "--json"}).output);
        for (const json& tap : state.at("taps")) taps[tap.at("port").get<std::string>()] = tap;
        return std::all_of(std::begin(directions), std::end(directions), [&](const auto& one) {
            const json &in = taps[one.first], &out = taps[one.second];
            return count(in, "framesIn") == count(in, "dropped") + count(out, "framesOut") + count(out, "lostOut");
        });
    })) << json(taps).dump(1);
    const std::string words = runTool({"at", name(), "show"}).output;
    for (const auto& [from, to] : directions) {
        const json &in = taps[from], &out = taps[to];
        const bool cutBehind = out.at("offload") != "none", cutBefore = in.at("offload") == "none";
        EXPECT_EQ(count(in, "segmentFramesIn") > 2 * count(in, "segmentsIn"), !cutBefore) << in.dump(1);
        EXPECT_TRUE(!cutBefore || words.find("no segmentation offload") != std::string::npos) << words;
        EXPECT_EQ(count(out, "segmentsOut") > 0, cutBehind && !cutBefore) << out.dump(1);
    }
    const bool ofOurs = GetParam().operators.empty();
    if (ofOurs && taps["sid2"].at("offload") == "none") GTEST_SKIP() << "the kernel has no offload";
    EXPECT_EQ(taps["gem 1001"].at("offload") == "none", !ofOurs && GetParam().operators.back() != "vnet_hdr");
}

INSTANTIATE_TEST_SUITE_P(
    Interfaces, TapsOfKinds,
    ::testing::Values(Ends{"MadeByTheTool", {}, {}}, Ends{"WithoutOffload", {}, {"mode", "tap"}},
                      Ends{"MadeForOffload", {"mode", "tap", "vnet_hdr"}, {"mode", "tap", "vnet_hdr"}}),
    [](const auto& each) { return std::string(each.param.name); });

TEST_F(Taps, ClientGetsItsAddressFromTheOperatorsServer) {
    startScenario();
    getsAddressFrom("pon0");
}

TEST_F(Taps, ClientGetsItsAddressThroughAServiceWithATag) {
    startScenario("real-dhcp.json");
    const auto made =
        operator_.run({"ip", "link", "add", "link", "pon0", "name", "pon0.100", "type", "vlan", "id", "100"});
    if (made.code != 0) GTEST_SKIP() << "the kernel has no VLAN devices: " << made.output;
    ASSERT_EQ(operator_.run({"ip", "link", "set", "pon0.100", "up"}).code, 0);
    getsAddressFrom("pon0.100");
}

TEST(TapOption, WrongWordsAreRefusedBeforeAnythingRuns) {
    const std::pair<const char*, const char*> cases[] = {{"sid9=tap0", "is no port"},
                                                         {"veip77=tap0", "is no port"},
                                                         {"sid2=%d", "is no name of an interface"},
                                                         {"sid0", "is written PORT=INTERFACE"},
                                                         {"lan0=tap0", "is no port"},
                                                         {"gem 70000=tap0", "at most 65535"},
                                                         {"sid0=", "is no name of an interface"},
                                                         {"sid0=a/b", "is no name of an interface"},
                                                         {"sid0=sixteen-letters-", "is no name of an interface"},
                                                         {"sid0=tap0@", "namespace's name is missing"},
                                                         {"sid0=tap0@/no/such", "network namespace /no/such"}};
    for (const auto& [words, answer] : cases) {
        const ProgramResult result = expectTool({"exec", "--tap", words, "--", "/bin/echo", "it ran"}, 2, {answer});
        EXPECT_EQ(result.output.find("it ran"), std::string::npos) << words;
    }
    expectTool({"exec", "--tap", "sid0=a", "--tap", "sid0=b", "--", "/bin/true"}, 2, {"sid0 is a already"});
}

}  // namespace
