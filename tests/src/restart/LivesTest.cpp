// Daemons that die anywhere, also between a call into the device and the writing of the state file, and the board that
// they leave to one that asks for all it wants.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <random>

#include <nlohmann/json.hpp>

#include "src/restart/Services.h"
#include "support/Sanitized.h"

namespace restart_tests {
namespace {

class Lives : public ServicesFixture {
protected:
    void liveAndDie(unsigned seed);
    // Opens, asks for these, and settles.
    void goOn(const Calls& calls, const nlohmann::json& expected) {
        Daemon next(folder_);
        ASSERT_GE(next.open(state()), 0);
        make(next, calls);
        EXPECT_GE(next.settle(), 0);
        EXPECT_EQ(serving(), expected) << difference(expected, serving());
    }
};

// Each life's library stays loaded; those with a sanitizer take 20 MB each.
constexpr unsigned kLives = kSanitized ? 12 : 125, kEveryCall = kSanitized ? 60 : 7;

unsigned numberIn(const char* variable, unsigned otherwise) {
    const char* const text = std::getenv(variable);
    return text != nullptr ? static_cast<unsigned>(std::atoi(text)) : otherwise;
}

// ---- random lives ----

Service randomService(std::uint16_t number, std::mt19937& random) {
    Service one{number, static_cast<std::uint16_t>(100 + random() % 8 * 10 + number)};
    switch (random() % 6) {
        case 0:
            one.kind = Kind::Dscp;
            break;
        case 1:
            one.kind = Kind::Multicast;
            break;
        case 2:
            if (number == 7) one.kind = Kind::Veip;
            break;
        default:
            break;
    }
    return one;
}

// A daemon that is killed somewhere, once or twice, and then asks for what it wants: all it had asked for, or some.
void Lives::liveAndDie(unsigned seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto pick = [&random](unsigned below) { return static_cast<unsigned>(random() % below); };
    std::vector<Service> all;
    for (std::uint16_t i = 0; i < 8; ++i)
        if (pick(2) == 0 || (i == 7 && all.empty())) all.push_back(randomService(i, random));
    std::shuffle(all.begin(), all.end(), random);
    std::vector<Service> some;
    for (const Service& one : all)
        if (pick(3) != 0) some.push_back(one);
    const auto expected = neverDied(callsOf(some));
    startOver();
    const Calls calls = callsOf(all);
    for (unsigned deaths = 1 + pick(2); deaths > 0; --deaths) {
        Daemon dying(folder_);
        ASSERT_GE(dying.open(state()), 0);
        const std::size_t last = pick(static_cast<unsigned>(calls.size()));
        for (std::size_t i = 0; i < last; ++i) calls[i](dying.hal());
        killAt(dying, calls[last], 1 + pick(60));
        dying.kill();
    }
    goOn(callsOf(some), expected);
    if (HasFailure() || seed % 3 != 0) return;
    // One more that wants all of it again.
    const auto whole = neverDied(callsOf(all));
    startOver();
    liveFirst(callsOf(some));
    goOn(callsOf(all), whole);
}

TEST_F(Lives, AFewRandomOnesEndAsIfNobodyHadDied) {
    for (unsigned seed = 1; seed <= 18 && !HasFailure(); ++seed) liveAndDie(seed);
    // The first to ask for rules is another multicast service than the one that had left its p-bits; a VEIP goes that
    // a multicast service has rules for; one comes before a multicast service that had none, or after a new one.
    for (const unsigned seed : {215U, 3786U, 403U, 27U, 639U}) liveAndDie(seed);
}

// What the second life has done ahead of the VEIP is known to the third, too.
TEST_F(Lives, AServiceThatWasAheadOfTheVeipEndsAsAfterABootALifeLater) {
    const Service veip{7, 107, Kind::Veip}, group{2, 102, Kind::Multicast};
    const Calls all = callsOf({group, veip});
    const auto expected = neverDied(all);
    startOver();
    liveFirst(callsOf({veip}));
    {
        Daemon second(folder_);
        ASSERT_GE(second.open(state()), 0);
        make(second, callsOf({group}));
        second.kill();
    }
    goOn(all, expected);
}

// 500, in processes of their own.
class ManyLives : public Lives, public ::testing::WithParamInterface<unsigned> {};
INSTANTIATE_TEST_SUITE_P(From, ManyLives, ::testing::Values(19U, 144U, 269U, 394U));

TEST_P(ManyLives, EndAsIfNobodyHadDied) {
    const unsigned first = numberIn("VORN_FIRST_LIFE", GetParam()), lives = numberIn("VORN_LIVES", kLives);
    for (unsigned seed = first; seed < first + lives && !HasFailure(); ++seed) liveAndDie(seed);
}

// ---- within a restart itself ----

// A row that the runner carries out is the last call: whoever opens the file after a death within it has to finish it.
std::vector<Service> oneOfEach() {
    return {{0, 100}, {2, 102, Kind::Multicast}, {7, 107, Kind::Veip}, {1, 101, Kind::Dscp}};
}

class WithinARestart : public Lives {
protected:
    void dieWithinTheLast(const Calls& calls) {
        startOver();
        Daemon first(folder_);
        ASSERT_EQ(first.open(state()), 0);
        make(first, Calls(calls.begin(), calls.end() - 1));
        ASSERT_TRUE(killAt(first, calls.back(), 4));
    }
    std::string beside() const { return state() + ".new"; }
};

// Killed within the open or the settling, and then all is asked for, or half of the services.
TEST_F(WithinARestart, TheNextOneGoesOn) {
    const std::vector<Service> all = oneOfEach();
    const Calls asked[] = {callsOf(all), callsOf({all[1], all[3]})};
    const nlohmann::json whole[] = {neverDied(asked[0]), neverDied(asked[1])};
    const struct {
        const char* what;
        bool diesBefore;
        std::function<void(Daemon&)> before, call;
    } cases[] = {
        {"open", true, [](Daemon&) {}, [&](Daemon& daemon) { daemon.open(state()); }},
        {"settle", false,
         [&](Daemon& daemon) {
             daemon.open(state());
             make(daemon, asked[1]);
         },
         [](Daemon& daemon) { daemon.settle(); }},
    };
    const unsigned every = numberIn("VORN_EVERY_CALL", kEveryCall);
    for (const auto& one : cases) {
        unsigned kills = 0;
        for (unsigned deviceCall = 1;; deviceCall += every, ++kills) {
            SCOPED_TRACE(std::string(one.what) + ", device call " + std::to_string(deviceCall));
            if (one.diesBefore) {
                dieWithinTheLast(asked[0]);
            } else {
                liveFirst(asked[0]);
            }
            {
                Daemon second(folder_);
                one.before(second);
                if (!killAt(
                        second, [&](VornHal&) { one.call(second); }, deviceCall))
                    break;
            }
            goOn(asked[kills % 2], whole[kills % 2]);
            if (HasFailure()) return;
        }
        EXPECT_GT(kills * every, 20U) << one.what;
    }
}

// What all hosts share goes with the last of them, whoever takes it away. A host that is asked for all the same is
// there.
TEST_F(WithinARestart, HostsThatNobodyAsksForGoWithWhatTheyShare) {
    Calls asked = callsOf(services(2)), all = asked;
    for (const std::uint16_t number : {std::uint16_t{0}, std::uint16_t{1}}) {
        IpHostProvision host = internet_service::ipHost(5, static_cast<std::uint16_t>(3 + number));
        host.macAddress = "02:00:00:00:00:7" + std::to_string(number);
        host.ipAddress = "10.0.0." + std::to_string(5 + number);
        all.push_back(asks(&VornHal::vorn_omci_hal_provisionIpHost, host));
    }
    const auto withoutHosts = neverDied(asked), withHosts = neverDied(all);
    const unsigned every = numberIn("VORN_EVERY_CALL", kSanitized ? 13 : 3);
    unsigned deviceCall = 1;
    for (;; deviceCall += every) {
        SCOPED_TRACE("device call " + std::to_string(deviceCall));
        liveFirst(all);
        {
            Daemon second(folder_);
            second.open(state());
            make(second, asked);
            if (!killAt(
                    second, [&](VornHal&) { second.settle(); }, deviceCall))
                break;
        }
        if (deviceCall % 2 != 0)
            goOn(asked, withoutHosts);
        else
            goOn(all, withHosts);
    }
    EXPECT_GT(deviceCall, 30U);
}

// The old file or the new one has the name, and the other one may be beside it, whole or in part.
TEST_F(WithinARestart, TheNextOneGoesOnFromAFileThatWasBeingMadeSmaller) {
    const Calls calls = callsOf(oneOfEach());
    const auto whole = neverDied(calls);
    enum class File { None, Old, New, HalfOfNew };
    const std::pair<File, File> cases[] = {{File::Old, File::None},
                                           {File::Old, File::HalfOfNew},
                                           {File::Old, File::New},
                                           {File::New, File::Old},
                                           {File::New, File::None}};
    for (const auto& [named, other] : cases) {
        SCOPED_TRACE(std::to_string(static_cast<int>(named)) + std::to_string(static_cast<int>(other)));
        dieWithinTheLast(calls);
        const int oldFile = open(state().c_str(), O_RDONLY | O_CLOEXEC);
        {
            Daemon second(folder_);
            ASSERT_GT(second.open(state()), 0);  // which ends with a smaller file
        }
        std::string bytes(1U << 20U, '\0');
        const ssize_t size = pread(oldFile, bytes.data(), bytes.size(), 0);
        close(oldFile);
        bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        const std::string smaller = contentOf(state());
        ASSERT_GT(bytes.size(), smaller.size());
        if (named == File::Old) write(state(), bytes);
        if (other == File::Old) write(beside(), bytes);
        if (other == File::New) write(beside(), smaller);
        if (other == File::HalfOfNew) write(beside(), smaller.substr(0, smaller.size() / 2));
        goOn(calls, whole);
        EXPECT_FALSE(fs::exists(beside()));
        if (HasFailure()) return;
    }
}

// ---- between the calls into the device ----

// How large the state file was at each call into the device, and at the end; and what the whole of it is.
struct Writing {
    std::vector<std::uintmax_t> sizes;
    std::string file;
};

// The ends of the file's records, and a place within each.
std::vector<std::size_t> cutsOf(const std::string& file) {
    constexpr std::size_t kHeader = 64, kHead = 8, kSum = 4;
    std::vector<std::size_t> cuts;
    for (std::size_t at = kHeader; at + kHead <= file.size();) {
        std::size_t length = 0;
        for (std::size_t i = 4; i-- > 0;) length = length << 8U | static_cast<unsigned char>(file[at + i]);
        const std::size_t end = at + kHead + length + kSum;
        cuts.push_back(at + (end - at) / 2);
        cuts.push_back(end);
        at = end;
    }
    return cuts;
}

class AtEachWrite : public Lives {
protected:
    // A life up to the end of a call.
    Writing watch(const Calls& calls, std::size_t last) {
        startOver();
        Daemon daemon(folder_);
        EXPECT_EQ(daemon.open(state()), 0);
        make(daemon, Calls(calls.begin(), calls.begin() + static_cast<long>(last)));
        Writing writing;
        writing.sizes.push_back(fs::file_size(state()));
        onu().onTrace([&](const virtual_onu::TraceEntry&) { writing.sizes.push_back(fs::file_size(state())); });
        calls[last](daemon.hal());
        onu().onTrace(nullptr);
        writing.file = contentOf(state());
        writing.sizes.push_back(writing.file.size());
        return writing;
    }
    // One that ended behind a call into the device, when just so much had been written since.
    void dieAt(const Calls& calls, std::size_t last, std::size_t deviceCall, const std::string& file) {
        startOver();
        Daemon daemon(folder_);
        ASSERT_EQ(daemon.open(state()), 0);
        make(daemon, Calls(calls.begin(), calls.begin() + static_cast<long>(last)));
        if (deviceCall > 0) {
            ASSERT_TRUE(killAt(daemon, calls[last], static_cast<unsigned>(deviceCall)));
        }
        daemon.kill();
        putRecordsOf(file);
    }
};

// Killed before, within and behind each write, the last of which is the commit, before the call has returned; then all
// is asked for, or a third of the services is left.
TEST_F(AtEachWrite, TheBoardIsThatOfADaemonThatNeverDied) {
    const std::vector<Service> all = {{0, 100}, {1, 101, Kind::Dscp}, {2, 102, Kind::Multicast}, {7, 107, Kind::Veip}};
    const Calls calls = callsOf(all);
    std::vector<nlohmann::json> whole = {neverDied(calls)};
    std::vector<Calls> asked = {calls};
    for (std::size_t left = 0; left < 3; ++left) {
        std::vector<Service> kept;
        for (std::size_t i = 0; i < all.size(); ++i)
            if (i % 3 != left) kept.push_back(all[i]);
        asked.push_back(callsOf(kept));
        whole.push_back(neverDied(asked.back()));
    }
    const std::size_t every = numberIn("VORN_EVERY_WRITE", 26);
    std::size_t number = 0, kills = 0;
    for (std::size_t last = 0; last < calls.size(); ++last) {
        const Writing writing = watch(calls, last);
        std::vector<std::size_t> cuts = cutsOf(writing.file);
        for (std::size_t deviceCall = 0; deviceCall + 1 < writing.sizes.size(); ++deviceCall) {
            for (const std::size_t cut : cuts) {
                if (cut < writing.sizes[deviceCall] || cut > writing.sizes[deviceCall + 1]) continue;
                if (number++ % every != 0) continue;
                SCOPED_TRACE("call " + std::to_string(last) + ", device call " + std::to_string(deviceCall) +
                             ", file of " + std::to_string(cut) + " bytes");
                dieAt(calls, last, deviceCall, writing.file.substr(0, cut));
                const std::size_t how = kills++ % asked.size();
                goOn(asked[how], whole[how]);
                if (HasFailure()) return;
            }
        }
    }
    EXPECT_GT(kills * every, 500U);
}

}  // namespace
}  // namespace restart_tests
