// The tool as a living ONU: an OLT provisions all services over the socket, reads them back and takes them down.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include <nlohmann/json.hpp>

#include "omci/message/Numbers.h"
#include "omci/olt/Olt.h"
#include "omci/olt/OperatorServices.h"
#include "omci/services/SocketLine.h"
#include "support/Emulated.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

TEST(Listen, AnOltProvisionsAllServicesReadsThemBackAndTheStateTellsThem) {
    SocketLine line;
    olt::Olt olt(line);
    ASSERT_EQ(olt.mibReset(), omci::Result::kSuccess);
    for (const auto& service : olt::operatorServices()) EXPECT_EQ(olt.send(service.requests), "") << service.name;
    EXPECT_EQ(olt.differences(), std::vector<std::string>{});
    EXPECT_EQ(olt.dataSync(), olt.expectedDataSync());
    EXPECT_EQ(line.end(), 0);
    EXPECT_NE(access(line.path("onu").c_str(), F_OK), 0) << "the socket goes with the ONU";
    EXPECT_NE(line.shown().find("What is on the device"), std::string::npos);
    const auto state = nlohmann::json::parse(line.state());
    const auto standing = state.at("device").at("pon").at("gemPorts").size();
    EXPECT_GE(standing, 8U);
}

// What an order of messages could change if it mattered: members of bridges, GEM ports with their T-CONTs, the rules.
std::string standing(const nlohmann::json& state) {
    const auto& device = state.at("device");
    std::multiset<std::string> lines;
    for (const auto& bridge : device.at("network").at("bridges")) {
        std::set<std::string> members;
        for (const auto& port : bridge.at("ports")) members.insert(port.at("name").get<std::string>());
        lines.insert(bridge.at("name").get<std::string>() + ": " + nlohmann::json(members).dump());
    }
    for (const auto& port : device.at("pon").at("gemPorts"))
        lines.insert("GEM port " + port.at("portId").dump() + " of " + port.at("allocId").dump());
    // On gpondef the HAL leaves the rules of GEM ports that have gone.
    for (const auto& table : device.at("vlan").at("tables"))
        if (table.at("device") != "gpondef")
            lines.insert(table.at("device").get<std::string>() + " " + std::to_string(table.at("rules").size()));
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

// What exists when the OLT has sent these and the ONU has ended; what went wrong in front of it.
std::string afterSending(const olt::Requests& requests, bool takenDown = false) {
    SocketLine line;
    olt::Olt olt(line);
    std::string text = olt.send(requests);
    if (takenDown) text += olt.send(olt::shuffled(olt.removal(), 7));
    for (const std::string& difference : olt.differences()) text += difference + "\n";
    if (olt.dataSync() != olt.expectedDataSync()) text += "another data sync\n";
    if (line.end() != 0) text += "another exit code\n";
    return text + standing(nlohmann::json::parse(line.state()));
}

// Random orders are tried without a process of their own (OrderTest.cpp).
TEST(Listen, TheOrderOfTheMessagesDoesNotMatter) {
    const std::string documented = afterSending(olt::allServices());
    ASSERT_NE(documented.find("GEM port 1001 of 1024\n"), std::string::npos) << documented;
    EXPECT_EQ(afterSending(olt::reversed(olt::allServices())), documented);
    const std::string down = afterSending(olt::allServices(), true);
    EXPECT_EQ(down.find("GEM port"), std::string::npos) << down;
    EXPECT_EQ(afterSending(olt::shuffled(olt::allServices(), 1), true), down);
}

TEST(Listen, DatagramsOverLoopbackAreAnsweredAndTheOnuTellsATestByItself) {
    SocketLine line(SocketLine::Kind::kUdp);
    olt::Olt olt(line);
    ASSERT_EQ(olt.mibReset(), omci::Result::kSuccess);
    EXPECT_EQ(olt.send(olt::internet().requests), "");
    omci::Message test;
    test.transaction = 0x7123;
    test.type = omci::MessageType::kTest;
    test.answerWanted = true;
    test.entity = {omci::class_id::kAniG, 0x8001};
    omci::encodeContent(test, omci::TestContent{{7}});
    ASSERT_TRUE(line.exchange(test).has_value());
    const auto told = line.autonomous();
    ASSERT_TRUE(told.has_value());
    EXPECT_EQ(told->type, omci::MessageType::kTestResult);
    EXPECT_EQ(told->transaction, test.transaction);
    EXPECT_EQ(line.end(), 0);
}

TEST(Listen, ACutOrDamagedMessageIsDroppedAndCounted) {
    SocketLine line;
    olt::Olt olt(line);
    ASSERT_EQ(olt.mibReset(), omci::Result::kSuccess);  // with neither code nor room for one
    const auto before = olt.dataSync();
    omci::Message create;
    create.transaction = 0x7001;
    create.type = omci::MessageType::kCreate;
    create.answerWanted = true;
    create.entity = {omci::class_id::kBridge, 77};
    const omci::Bytes whole = omci::encodeFrame(create);
    for (std::size_t size = 40; size < 44; ++size)
        line.sendBytes({whole.begin(), whole.begin() + static_cast<long>(size)});
    EXPECT_EQ(olt.dataSync(), before);
    EXPECT_EQ(line.end(), 0);
    EXPECT_NE(line.shown().find("4 datagrams dropped: 4 of another size"), std::string::npos) << line.shown();
}

TEST(Listen, TheExchangeIsACaptureThatPlaysWithTheSameAnswers) {
    SKIP_WHEN_EMULATED(kNoLibpcap);
    SocketLine line(SocketLine::Kind::kUnix, {"--capture", "+exchange.pcapng", "--record", "+calls.json"});
    olt::Olt olt(line);
    ASSERT_EQ(olt.mibReset(), omci::Result::kSuccess);
    EXPECT_EQ(olt.send(olt::internet().requests), "");
    ASSERT_EQ(line.end(), 0);
    const auto played = runProgram({VORN_ONU_BINARY, "omci", line.path("exchange.pcapng")});
    EXPECT_EQ(played.code, 0) << played.output;
    EXPECT_NE(played.output.find("answered as in the capture"), std::string::npos) << played.output;
    const auto again =
        runProgram({VORN_ONU_BINARY, "run", line.path("calls.json"), "--forwarding", "g988", "--json", "-"});
    ASSERT_EQ(again.code, 0) << again.output;
    EXPECT_EQ(standing(nlohmann::json::parse(again.output)), standing(nlohmann::json::parse(line.state())));
}

}  // namespace
