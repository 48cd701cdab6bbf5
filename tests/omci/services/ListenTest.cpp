// The tool as a living ONU: an OLT provisions all services over the socket, reads them back and takes them down.
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
    expectHas(line.shown(), {"What is on the device"});
    const auto state = nlohmann::json::parse(line.state());
    const auto standing = state.at("device").at("pon").at("gemPorts").size();
    EXPECT_GE(standing, 8U);
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
    expectHas(line.shown(), {"4 datagrams dropped: 4 of another size"});
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
    expectHas(played.output, {"answered as in the capture"});
    const auto again =
        runProgram({VORN_ONU_BINARY, "run", line.path("calls.json"), "--forwarding", "g988", "--json", "-"});
    ASSERT_EQ(again.code, 0) << again.output;
    const auto device = nlohmann::json::parse(again.output).at("device");
    const auto listened = nlohmann::json::parse(line.state()).at("device");
    for (const char* part : {"network", "pon", "vlan"}) EXPECT_EQ(device.at(part), listened.at(part)) << part;
}

}  // namespace
