// Services in many orders: what comes of them must not depend on it.
#include <gtest/gtest.h>

#include <regex>

#include "omci/olt/Olt.h"
#include "omci/olt/OperatorServices.h"
#include "omci/services/Apart.h"
#include "omci/services/FrameFile.h"
#include "omci/services/OnuLine.h"

namespace {

// 100 random orders; the sanitizers see all of the code in 20.
constexpr unsigned kParts = sizeof VORN_SANITIZERS > 1 ? 2 : 10, kOrdersInAPart = 10;

// Everything of the OLT's goes, and what the ONU has made itself becomes as it was.
olt::Requests takeDown(const olt::Olt& olt) {
    olt::Requests requests = olt.removal();
    for (unsigned number = 0; number < 6; ++number) {
        requests.push_back(olt::set(omci::class_id::kTCont, static_cast<omci::InstanceId>(0x8000U + number),
                                    {{omci::attr::t_cont::kAllocId, 0xFFFF}}));
    }
    requests.push_back(olt::set(omci::class_id::kIpHost, 0, {{omci::attr::ip_host::kIpOptions, 0}}));
    return requests;
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

// What is wrong with the MIB, by what the OLT remembers.
std::string wrongMib(olt::Olt& olt) {
    std::string wrong = joined(olt.differences());
    if (olt.dataSync() != olt.expectedDataSync())
        wrong += "data sync " + std::to_string(olt.dataSync().value_or(999)) + ", not " +
                 std::to_string(olt.expectedDataSync()) + "\n";
    return wrong;
}

std::string wrongFramesOfAll() {
    std::string wrong;
    for (const std::string& name : olt::serviceNames()) wrong += wrongFrames(name);
    return wrong;
}

// A new ONU, provisioned in this order: what went wrong, what the services report, and the device's state.
std::string provisioned(const olt::Requests& requests, omci::MessageSet set = omci::MessageSet::kBaseline) {
    return apart([&] {
        startHal();
        OnuLine line;
        olt::Olt olt(line, set);
        std::string text = olt.send(requests);
        text += wrongMib(olt) + wrongFramesOfAll();
        if (!text.empty()) return "wrong:\n" + text;
        for (const auto& problem : line.services.problems())
            text += omci::nameOfClass(problem.entity.classId) + ": " + problem.reason + "\n";
        return text + joined(comparableState());
    });
}

TEST(Order, TheDocumentedOneReversedAndInTheExtendedSetGivesTheSameDevice) {
    const std::string documented = provisioned(olt::allServices());
    ASSERT_NE(documented, "");
    ASSERT_NE(documented.rfind("wrong:", 0), 0U) << documented;
    EXPECT_EQ(provisioned(olt::reversed(olt::allServices())), documented) << "reversed";
    EXPECT_EQ(provisioned(olt::allServices(), omci::MessageSet::kExtended), documented) << "extended set";
}

class RandomOrders : public ::testing::TestWithParam<unsigned> {};

TEST_P(RandomOrders, GiveTheSameDevice) {
    const std::string documented = provisioned(olt::allServices());
    ASSERT_NE(documented, "");
    for (unsigned order = 0; order < kOrdersInAPart; ++order) {
        const unsigned seed = GetParam() * kOrdersInAPart + order;
        ASSERT_EQ(provisioned(olt::shuffled(olt::allServices(), seed)), documented) << "random order " << seed;
    }
}
INSTANTIATE_TEST_SUITE_P(Services, RandomOrders, ::testing::Range(0U, kParts));

// Stays when everything is taken back, as after a service that was provisioned by hand: the rules that lead GEM ports
// to their bridges, the default bridge, what ports were set to, and the management host's address.
bool isLeftByTheHal(const std::string& line) {
    static const std::regex kLeft(
        "(rule|default) gpondef .*|bridge br0 .*|device sid\\d .*|default sid\\d .*|device br6\\.6 .*|address br6\\.6 "
        ".*|"
        "ip (rule|route) .*10\\.0\\.0\\..*");
    return std::regex_match(line, kLeft);
}

std::string withoutLeftovers(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        if (!isLeftByTheHal(line)) text += line + "\n";
    }
    return text;
}

// In one life: provisioned, taken down in a random order, or by a MIB reset, and provisioned once more.
std::string takenDown(unsigned seed, bool byReset = false) {
    return apart([=] {
        startHal();
        const std::string asNew = withoutLeftovers(comparableState());
        OnuLine line;
        olt::Olt olt(line);
        const auto order = olt::shuffled(olt::allServices(), seed);
        std::string text = olt.send(order);
        if (!byReset)
            text += olt.send(olt::shuffled(takeDown(olt), seed + 1));
        else if (olt.mibReset() != omci::Result::kSuccess)
            text += "no reset\n";
        text += wrongMib(olt);
        const std::string after = withoutLeftovers(comparableState());
        // The PON device is down again: a board's is not up before its first GEM port.
        if (after != asNew) text += "left on the device:\n" + after + "at first:\n" + asNew;
        if (!line.services.currentPieces().empty()) text += "the services are not empty\n";
        if (!line.services.problems().empty()) text += "there are problems without a service\n";
        text += olt.send(order);
        text += wrongMib(olt);
        return text + wrongFramesOfAll() + "end";
    });
}

TEST(Order, OfRemovalDoesNotMatterEither) {
    for (unsigned seed = 1; seed <= 20; ++seed) ASSERT_EQ(takenDown(seed), "end") << "order " << seed;
}

TEST(Order, AMibResetTakesEverythingBack) {
    EXPECT_EQ(takenDown(1, true), "end");
}

// The HAL looks for the rules of a GEM port under the index that it saw first.
TEST_F(OltAndOnu, AFilterChangesWholeWhenItsGemPortHasAnotherIndexByNow) {
    ASSERT_EQ(olt_.send(olt::allServices()), "");
    const olt::EntityKey first{omci::class_id::kGemPort, 0x1001}, second{omci::class_id::kGemPort, 0x1020};
    const auto gemPort = [](omci::InstanceId instance, std::uint64_t id, std::uint64_t tcont) {
        return olt::create(omci::class_id::kGemPort, instance,
                           {{omci::attr::gem_port::kPortId, id},
                            {omci::attr::gem_port::kTContPointer, tcont},
                            {omci::attr::gem_port::kDirection, 3}});
    };
    // Both go, and come in the other order: each has the other's index then.
    EXPECT_EQ(olt_.send(olt::Requests{
                  olt::erase(first), olt::erase(second), gemPort(0x1020, 1021, 0x8002), gemPort(0x1001, 1001, 0x8000),
                  olt::setBytes({omci::class_id::kVlanFilter, 0x1020}, omci::attr::vlan_filter::kFilterList,
                                olt::hex("0385 00000000000000000000000000000000000000000000"))}),
              "");
    for (const auto& rule : onu().ruleTexts("gpon3", virtual_onu::kTransmit, 1))
        EXPECT_NE(rule.find("vid0=901"), std::string::npos) << rule;
}

}  // namespace
