// The tool as a living ONU: an OLT provisions all services over the socket, reads them back and takes them down.
#include <algorithm>

#include <nlohmann/json.hpp>

#include "omci/message/Integrity.h"
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
    const auto reported = line.autonomous();
    ASSERT_TRUE(reported.has_value());
    EXPECT_EQ(reported->type, omci::MessageType::kTestResult);
    EXPECT_EQ(reported->transaction, test.transaction);
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

TEST(Listen, MessagesWithoutTheCodeThatWasAskedForAreDroppedAndCounted) {
    std::vector<std::pair<const char*, omci::Integrity>> kinds{{"crc", omci::Integrity::crc()}};
    if (omci::hasAes())
        kinds.emplace_back("cmac:00112233445566778899AABBCCDDEEFF",
                           omci::Integrity::aesCmac({0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA,
                                                     0xBB, 0xCC, 0xDD, 0xEE, 0xFF}));
    for (const auto& [word, integrity] : kinds) {
        SCOPED_TRACE(word);
        SocketLine line(SocketLine::Kind::kUnix, {"--mic", word});
        std::uint16_t transaction = 0;
        const auto withCode = [&, &kind = integrity](omci::MessageType type, omci::EntityKey entity,
                                                     const omci::Content& content) {
            omci::Message message;
            message.transaction = ++transaction;
            message.type = type;
            message.answerWanted = true;
            message.entity = entity;
            omci::encodeContent(message, content);
            omci::Bytes frame = omci::encodeFrame(message);
            EXPECT_TRUE(kind.protect(frame, omci::Direction::kDownstream));
            return frame;
        };
        const auto create = [&](omci::InstanceId bridge) {
            return withCode(omci::MessageType::kCreate, {omci::class_id::kBridge, bridge}, omci::CreateValues{});
        };
        omci::Bytes wrong = create(1), zeroed = create(2);
        wrong.back() ^= 1;
        std::fill(zeroed.end() - 4, zeroed.end(), std::uint8_t{0});
        for (const omci::Bytes& frame : {wrong, zeroed, create(3)}) line.sendBytes(frame);
        line.sendBytes(withCode(omci::MessageType::kGet, {omci::class_id::kOnuData, 0}, omci::AttributesAsked{0x8000}));
        for (const unsigned answered : {3U, 4U}) {
            const omci::Bytes answer = line.receiveBytes();
            ASSERT_EQ(answer.size(), omci::kBaselineFrame);
            EXPECT_EQ(omci::number16(answer, 0), answered);
            EXPECT_EQ(omci::number32(answer, 44),
                      integrity.codeOf(omci::ByteView(answer).part(0, 44), omci::Direction::kUpstream));
            if (answered == 4U) {
                EXPECT_EQ(answer[11], 1) << "one of the three was executed";
            }
        }
        EXPECT_EQ(line.end(), 0);
        expectHas(line.shown(), {"2 datagrams dropped: 2 with a wrong integrity code"});
    }
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
