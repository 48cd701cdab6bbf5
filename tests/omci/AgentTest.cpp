// What the agent does beside changing the MIB: transactions, alarms, tests, software images.
#include <cstdio>
#include <functional>

#include "omci/agent/Endpoint.h"
#include "omci/agent/Identity.h"
#include "omci/message/Integrity.h"
#include "tests/omci/OmciFixture.h"

namespace omci {

namespace {

class AgentTest : public OmciFixture {};

}  // namespace

// ---- Transactions ----

TEST_F(AgentTest, ARepeatedRequestIsAnsweredAgainAndActsOnce) {
    const Message create = request(MessageType::kCreate, kBridgeKey, CreateValues{});
    const Handled first = agent.handle(create);
    const Handled again = agent.handle(create);
    ASSERT_TRUE(first.answer && again.answer);
    EXPECT_TRUE(again.repeated);
    EXPECT_EQ(again.answer->content, first.answer->content);
    EXPECT_EQ(sync(), 1U);
    // An urgent request in between has an answer of its own and does not disturb that.
    Message urgent = request(MessageType::kGet, kOnuDataKey, AttributesAsked{0x8000});
    urgent.transaction |= kPriorityBit;
    EXPECT_FALSE(agent.handle(urgent).repeated);
    EXPECT_TRUE(agent.handle(create).repeated);
    // The same number with another content is another request.
    Message other = create;
    other.content[0] = 1;
    EXPECT_FALSE(agent.handle(other).repeated);
    other.entity.instance = 2;
    EXPECT_FALSE(agent.handle(other).repeated);
    EXPECT_EQ(sync(), 2U);
}

TEST_F(AgentTest, WhatIsNoRequestIsDropped) {
    Message message = request(MessageType::kGet, kOnuDataKey, AttributesAsked{0x8000});
    message.isAnswer = true;
    EXPECT_EQ(agent.handle(message).dropped, Dropped::kNotARequest);
    message.isAnswer = false;
    message.transaction = 0;
    EXPECT_EQ(agent.handle(message).dropped, Dropped::kNoTransaction);
    message = request(MessageType::kAlarm, kPort, AlarmState{});
    EXPECT_EQ(agent.handle(message).dropped, Dropped::kNotARequest);
}

TEST_F(AgentTest, TheDataSyncCounterLeavesOutZero) {
    EXPECT_EQ(set1(kOnuDataKey, 1, hex("FE")), Result::kSuccess);
    EXPECT_EQ(sync(), 0xFEU);
    for (const unsigned wanted : {0xFFU, 1U, 2U}) {
        EXPECT_EQ(set1(kPort, attr::ethernet_uni::kMaxFrameSize, hex("0640")), Result::kSuccess);
        EXPECT_EQ(sync(), wanted);
    }
}

TEST_F(AgentTest, AnswersComeInTheSetOfTheirRequests) {
    for (const MessageSet each : {MessageSet::kExtended, MessageSet::kBaseline}) {
        set = each;
        EXPECT_EQ(agent.handle(request(MessageType::kGet, kPort, AttributesAsked{0x8000})).answer->set, each);
    }
    // An older ONU is silent about the set that it does not know.
    Board older = board();
    older.omccVersion = 0xA3;
    Agent other(older, hal, device, clock);
    set = MessageSet::kExtended;
    EXPECT_EQ(other.handle(request(MessageType::kGet, kPort, AttributesAsked{0x8000})).dropped, Dropped::kUnknownSet);
}

// ---- Frames ----

TEST_F(AgentTest, FramesWithAWrongCodeAreDroppedSilently) {
    std::vector<Integrity> kinds{Integrity::crc()};
    if (hasAes()) kinds.push_back(Integrity::aesCmac(AesKey{1, 2, 3}));
    for (const Integrity& integrity : kinds) {
        Endpoint endpoint(agent, integrity);
        const unsigned before = sync();
        Bytes frame = encodeFrame(request(MessageType::kSet, kPort, AttributeValues{maskOf(8), hex("0600")}));
        EXPECT_TRUE(endpoint.receive(frame).badIntegrity);  // without a code
        ASSERT_TRUE(integrity.protect(frame, Direction::kDownstream));
        frame[20] ^= 1;
        EXPECT_TRUE(endpoint.receive(frame).badIntegrity);
        EXPECT_EQ(sync(), before);
        frame[20] ^= 1;
        const Received received = endpoint.receive(frame);
        ASSERT_EQ(received.answer.size(), kBaselineFrame);
        EXPECT_EQ(sync(), before + 1);
        EXPECT_EQ(number32(received.answer, 44),
                  integrity.codeOf(ByteView(received.answer).part(0, 44), Direction::kUpstream));
        EXPECT_TRUE(endpoint.receive(received.answer).answer.empty()) << "of the other direction";
        EXPECT_EQ(endpoint.receive(hex("00")).error, FrameError::kTooShort);
        agent.takeAutonomous();
        agent.alarms().set(kPort, 0, true);
        EXPECT_EQ(endpoint.takeAutonomous().size(), 1U);
        const unsigned wrong = kinds.size() > 1 && &integrity == &kinds[1] ? 1 : 0;  // a code of that direction alone
        const auto& counted = endpoint.counters();
        EXPECT_EQ((std::tuple(counted.received, counted.badIntegrity, counted.badFrames, counted.notRequests,
                              counted.answered, counted.repeated, counted.autonomous)),
                  (std::tuple(5U, 2 + wrong, 1U, 1 - wrong, 1U, 0U, 1U)));
    }
}

TEST_F(AgentTest, UrgentFramesOvertakeAndWaitingOnesAreTakenOnce) {
    Endpoint endpoint(agent, Integrity());
    const Bytes slow = encodeFrame(request(MessageType::kCreate, kBridgeKey, CreateValues{}));
    Message get = request(MessageType::kGet, kOnuDataKey, AttributesAsked{0x8000});
    get.transaction |= kPriorityBit;
    endpoint.enqueue(slow);
    endpoint.enqueue(slow);
    endpoint.enqueue(encodeFrame(get));
    EXPECT_EQ(endpoint.handleNext()->request.type, MessageType::kGet);
    EXPECT_EQ(endpoint.handleNext()->request.type, MessageType::kCreate);
    EXPECT_FALSE(endpoint.handleNext());
}

// ---- Alarms and changed values ----

TEST_F(AgentTest, ALinkThatGoesIsToldAndListed) {
    agent.portChanged(kPort.instance, {false, 0});
    agent.portChanged(kPort.instance, {false, 0});
    EXPECT_EQ(lines(), (Lines{"-  attribute value change  PPTP Ethernet UNI 0x0101  Operational state disabled",
                              "-  alarm  PPTP Ethernet UNI 0x0101  alarms LAN-LOS, sequence 1"}));
    EXPECT_EQ(ask<CommandNumber>(MessageType::kGetAllAlarms, kOnuDataKey, Flags{0}).number, 1);
    agent.portChanged(kPort.instance, {true, 3});  // the copy stays
    const auto entries = ask<AlarmEntries>(MessageType::kGetAllAlarmsNext, kOnuDataKey, CommandNumber{0}).entries;
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].entity, kPort);
    EXPECT_EQ(entries[0].bits[0], 0x80);
    EXPECT_EQ(lines().back(), "-  alarm  PPTP Ethernet UNI 0x0101  alarms none, sequence 1");  // counted again
    EXPECT_TRUE(ask<AlarmEntries>(MessageType::kGetAllAlarmsNext, kOnuDataKey, CommandNumber{1}).entries.empty());
    EXPECT_EQ(ask<CommandNumber>(MessageType::kGetAllAlarms, kOnuDataKey, Flags{0}).number, 0);
}

TEST_F(AgentTest, HeldBackAlarmsAreToldWhenTheIntervalEndsOrTheOltEndsIt) {
    const struct {
        EntityKey entity;
        AttributeNumber arc, interval;
    } kCases[] = {
        {{class_id::kCardholder, 0x0101}, attr::cardholder::kArc, attr::cardholder::kArcInterval},
        {{class_id::kAniG, 0x8001}, attr::ani_g::kArc, attr::ani_g::kArcInterval},
        {kPort, attr::ethernet_uni::kArc, attr::ethernet_uni::kArcInterval},
    };
    for (const auto& one : kCases) {
        const auto hold = [&](const char* values) {
            ASSERT_EQ(setMany(one.entity, maskOf(one.arc) | maskOf(one.interval), hex(values)).result,
                      Result::kSuccess);
        };
        hold("01 02");
        agent.alarms().set(one.entity, 7, true);
        EXPECT_EQ(ask<CommandNumber>(MessageType::kGetAllAlarms, kOnuDataKey, Flags{1}).number, 0);
        EXPECT_EQ(ask<CommandNumber>(MessageType::kGetAllAlarms, kOnuDataKey, Flags{0}).number, 1);
        later(119'999);
        EXPECT_TRUE(lines().empty());
        later(1);
        EXPECT_EQ(lines().size(), 2U) << "ARC off, the alarm";
        hold("01 FF");  // until it is switched off
        agent.alarms().set(one.entity, 7, false);
        later(256 * 60'000);
        EXPECT_TRUE(lines().empty());
        hold("00 FF");
        EXPECT_EQ(lines().size(), 1U) << "the alarm";
    }
}

TEST_F(AgentTest, AlarmsAreReadInParts) {
    for (InstanceId queue = 0; queue < 40; ++queue) agent.alarms().set({class_id::kPriorityQueue, queue}, 223, true);
    for (InstanceId queue = 0; queue < 8; ++queue)
        agent.alarms().set({class_id::kPriorityQueue, static_cast<InstanceId>(0x8000 + queue)}, 224, true);  // no alarm
    for (unsigned entity = 0; entity < 22; ++entity)
        agent.alarms().set(entity < 16   ? EntityKey{class_id::kPriorityQueue, static_cast<InstanceId>(0x8000 + entity)}
                           : entity < 20 ? EntityKey{class_id::kUniG, static_cast<InstanceId>(0x0101 + entity - 16)}
                                         : EntityKey{class_id::kSoftwareImage, static_cast<InstanceId>(entity - 20)},
                           0, true);
    for (const auto& [each, parts] : {std::pair(MessageSet::kBaseline, 62U), {MessageSet::kExtended, 2U}}) {
        set = each;
        EXPECT_EQ(ask<CommandNumber>(MessageType::kGetAllAlarms, kOnuDataKey, Flags{0}).number, parts);
        const auto next = [&](std::uint16_t part) {
            return ask<AlarmEntries>(MessageType::kGetAllAlarmsNext, kOnuDataKey, CommandNumber{part}).entries.size();
        };
        EXPECT_EQ((std::tuple(next(0), next(1), next(2))),
                  each == MessageSet::kBaseline ? (std::tuple(1U, 1U, 1U)) : (std::tuple(61U, 1U, 0U)));
        clock.ms += kCopyLifetimeMs + 1;
        EXPECT_EQ(next(0), 0U) << "a minute after the last part";
    }
}

TEST_F(AgentTest, AlarmNumbersRunFrom1To255) {
    for (unsigned round = 0; round < 256; ++round) agent.alarms().set(kPort, 0, round % 2 == 0);
    const std::vector<Message> reported = autonomous();
    EXPECT_EQ(reported[254].content[31], 255);
    EXPECT_EQ(reported[255].content[31], 1);
}

// Levels are in 0.002 dB, thresholds in half decibels; without one of the OLT's the ONU's own counts.
TEST_F(AgentTest, LightRaisesTheAlarmOfItsThreshold) {
    const EntityKey ani{class_id::kAniG, 0x8001};
    constexpr AttributeNumber kNone = 0;
    const struct {
        AttributeNumber threshold;
        const char* value;
        int received, transmitted;
        const char* alarm;
    } kCases[] = {
        {attr::ani_g::kLowerOpticalThreshold, "28", -10000, 1000, ""},
        {attr::ani_g::kLowerOpticalThreshold, "28", -10001, 1000, "low received power"},
        {attr::ani_g::kUpperOpticalThreshold, "28", -9999, 1000, "high received power"},
        {attr::ani_g::kLowerTransmitPowerThreshold, "04", -10000, 999, "low transmit power"},
        {attr::ani_g::kUpperTransmitPowerThreshold, "04", -10000, 1001, "high transmit power"},
        {attr::ani_g::kUpperTransmitPowerThreshold, "FE", -10000, 999, "high transmit power"},
        {kNone, "", -14000, 250, ""},
        {kNone, "", -14001, 1000, "low received power"},
        {kNone, "", -4000, 2500, ""},
        {kNone, "", -3999, 1000, "high received power"},
        {kNone, "", -10000, 249, "low transmit power"},
        {kNone, "", -10000, 2501, "high transmit power"},
    };
    for (const auto& one : kCases) {
        const bool isSet = one.threshold != kNone;
        ASSERT_TRUE(!isSet || set1(ani, one.threshold, hex(one.value)) == Result::kSuccess);
        hal.received = one.received;
        hal.transmitted = one.transmitted;
        later(20'000);
        const Lines told = lines();
        ASSERT_EQ(told.size(), *one.alarm == '\0' ? 0U : 1U) << one.value << one.received << one.alarm;
        for (const auto& line : told)
            EXPECT_NE(line.find("alarms " + std::string(one.alarm) + ","), std::string::npos) << line;
        const bool receives = one.threshold == attr::ani_g::kLowerOpticalThreshold ||
                              one.threshold == attr::ani_g::kUpperOpticalThreshold;
        ASSERT_TRUE(!isSet || set1(ani, one.threshold, hex(receives ? "FF" : "81")) == Result::kSuccess);
        hal.received = -10000;
        hal.transmitted = 1000;
        later(20'000);
        lines();
    }
    EXPECT_EQ(get(ani, maskOf(attr::ani_g::kOpticalSignalLevel)).values[0], 0xD8);
}

// Board and HAL tell nothing of these; a device may. The second look finds nothing new.
TEST_F(AgentTest, WhatTheDeviceTellsByItselfReachesTheOlt) {
    const struct {
        const char* what;
        std::function<void(TestDevice&)> happens;
        Lines lines;
    } kCases[] = {
        {"a VEIP that is connected, as it was before", [](TestDevice& one) { one.veip = true; }, {}},
        {"and is no longer",
         [](TestDevice& one) { one.veip = false; },
         {"-  attribute value change  Virtual Ethernet interface point 0x0601  Operational state disabled",
          "-  alarm  Virtual Ethernet interface point 0x0601  alarms connecting function fail, sequence 1"}},
        {"it comes back",
         [](TestDevice& one) { one.veip = true; },
         {"-  attribute value change  Virtual Ethernet interface point 0x0601  Operational state enabled",
          "-  alarm  Virtual Ethernet interface point 0x0601  alarms none, sequence 2"}},
        {"an address by DHCP",
         [](TestDevice& one) {
             one.host = HostAddresses{0x0A000005, 0xFFFFFF00, 0x0A000001, 0x0A000035, 0};
         },
         {"-  attribute value change  IP host config data 0x0000  Current address 10.0.0.5",
          "-  attribute value change  IP host config data 0x0000  Current mask 255.255.255.0",
          "-  attribute value change  IP host config data 0x0000  Current gateway 10.0.0.1",
          "-  attribute value change  IP host config data 0x0000  Current primary DNS 10.0.0.53"}},
        {"few bit errors", [](TestDevice& one) { one.bitErrors = 0.9e-9; }, {}},
        {"more than 10^-9",
         [](TestDevice& one) { one.bitErrors = 1.1e-9; },
         {"-  alarm  ANI-G 0x8001  alarms SD, sequence 3"}},
        {"more than 10^-5",
         [](TestDevice& one) { one.bitErrors = 1.1e-5; },
         {"-  alarm  ANI-G 0x8001  alarms SF, SD, sequence 4"}},
        {"none",
         [](TestDevice& one) { one.bitErrors = 0; },
         {"-  alarm  ANI-G 0x8001  alarms SD, sequence 5", "-  alarm  ANI-G 0x8001  alarms none, sequence 6"}},
    };
    for (const auto& one : kCases) {
        one.happens(device);
        for (const Lines& expected : {one.lines, Lines{}}) {
            later(10'000);
            EXPECT_EQ(lines(), expected) << one.what;
        }
    }
}

TEST_F(AgentTest, SelfTestGivesTheOpticalLine) {
    const EntityKey ani{class_id::kAniG, 0x8001};
    EXPECT_EQ(ask<ResultAnswer>(MessageType::kTest, ani, TestContent{hex("07")}).result, Result::kSuccess);
    const auto reported = [&] {
        const std::vector<Message> all = autonomous();
        EXPECT_EQ(all.size(), 1U);
        EXPECT_EQ(all.at(0).transaction, transaction);
        return ByteView(all.at(0).content).part(0, 17).copy();
    };
    // 3.3 V, -20 dBm and 2 dBm above 1 uW, 12 mA, 40.5 degrees
    EXPECT_EQ(reported(), hex("01 00A5 03 1388 05 3E80 09 1770 0C 2880 FFFF"));
    // What is not known, and what has no room; a level that the module refuses is none.
    device.reading = {{}, 1e9, -200.0};
    hal.received.reset();
    hal.refuses = true;
    EXPECT_EQ(ask<ResultAnswer>(MessageType::kTest, ani, TestContent{hex("07")}).result, Result::kSuccess);
    EXPECT_EQ(reported(), hex("00 0000 00 0000 00 0000 09 FFFF 0C 8000 FFFF"));
    later(20'000);
    EXPECT_TRUE(lines().empty()) << "nor is it an alarm";
    for (const EntityKey other : {EntityKey{class_id::kOnuG, 0}, EntityKey{class_id::kCircuitPack, 0x0101}}) {
        EXPECT_EQ(ask<ResultAnswer>(MessageType::kTest, other, TestContent{hex("87")}).result, Result::kSuccess);
        EXPECT_EQ(reported(), hex("00 01 FFFF 00000000000000000000000000")) << "passed";
    }
    EXPECT_EQ(ask<ResultAnswer>(MessageType::kTest, ani, TestContent{hex("05")}).result, Result::kParameterError);
    EXPECT_EQ(ask<ResultAnswer>(MessageType::kTest, {class_id::kIpHost, 0}, TestContent{hex("01")}).result,
              Result::kNotSupported);
}

// ---- Software images ----

namespace {

class Images : public AgentTest {
protected:
    static constexpr EntityKey kSpare{class_id::kSoftwareImage, 1};

    DownloadStartAnswer start(EntityKey image, std::uint16_t window) {
        return ask<DownloadStartAnswer>(
            MessageType::kStartSoftwareDownload, image,
            DownloadStart{window, static_cast<std::uint32_t>(software.size()), {image.instance}});
    }
    // Sends the sections from first on, leaves out those named, and answers the result of the window.
    Result sendWindow(std::size_t first, std::size_t count, std::size_t leaveOut = SIZE_MAX) {
        Result result = Result::kSuccess;
        for (std::size_t at = 0; at < count; ++at) {
            ImageSection section{static_cast<std::uint8_t>(at), {}};
            section.data = ByteView(software).part((first + at) * kBaselineSection, kBaselineSection).copy();
            const bool last = at + 1 == count;
            if (at == leaveOut) continue;
            const Message message = request(MessageType::kDownloadSection, kSpare, section, last);
            const Handled handled = agent.handle(message);
            EXPECT_EQ(handled.answer.has_value(), last);
            if (last) result = std::get<SectionAnswer>(decodeContent(*handled.answer).content).result;
        }
        return result;
    }
    Result end(std::uint32_t crc) {
        const DownloadEnd end{crc, static_cast<std::uint32_t>(software.size()), {1}};
        return ask<DownloadEndAnswer>(MessageType::kEndSoftwareDownload, kSpare, end).result;
    }
    void load() {
        ASSERT_EQ(start(kSpare, 4).result, Result::kSuccess);
        ASSERT_EQ(sendWindow(0, 4), Result::kSuccess);
        ASSERT_EQ(sendWindow(4, 3), Result::kSuccess);
        ASSERT_EQ(end(crc32(software)), Result::kSuccess);
        const auto version = get(kSpare, maskOf(attr::software_image::kVersion)).values;
        EXPECT_EQ(std::string(version.begin(), version.begin() + 14), "V200" + std::string(10, '\0')) << "of 200 bytes";
    }
    std::string marks(InstanceId image) {
        const Entity& entity = *agent.mib().find(class_id::kSoftwareImage, image);
        return std::string(entity.number8(2) == 1 ? "committed " : "") + (entity.number8(3) == 1 ? "active " : "") +
               (entity.number8(4) == 1 ? "valid" : "");
    }

    Bytes software = [] {
        Bytes bytes(200, 0);
        for (std::size_t at = 0; at < bytes.size(); ++at) bytes[at] = static_cast<std::uint8_t>(at * 7);
        return bytes;
    }();
};

}  // namespace

TEST_F(Images, AreLoadedIntoMemoryActivatedAndCommitted) {
    load();
    EXPECT_EQ(agent.images().bytes(1), ByteView(software));
    EXPECT_EQ(marks(1), "valid");
    EXPECT_EQ(sync(), 2U);  // start and end; sections do not count
    EXPECT_EQ(ask<ResultAnswer>(MessageType::kActivateImage, kSpare, Flags{0}).result, Result::kSuccess);
    EXPECT_TRUE(device.restarts.empty());
    agent.afterAnswer();
    EXPECT_EQ(device.restarts, std::vector<InstanceId>{1});
    EXPECT_EQ(marks(0), "committed valid");
    EXPECT_EQ(marks(1), "active valid");
    EXPECT_EQ(ask<ResultAnswer>(MessageType::kCommitImage, kSpare, NoContent{}).result, Result::kSuccess);
    EXPECT_EQ(marks(0), "valid");
    EXPECT_EQ(marks(1), "committed active valid");
}

TEST_F(Images, AWindowWithAGapComesAgain) {
    ASSERT_EQ(start(kSpare, 4).result, Result::kSuccess);
    for (const auto& [first, count] : {std::pair<std::size_t, std::size_t>(0, 4), {4, 3}}) {
        EXPECT_NE(sendWindow(first, count, 1), Result::kSuccess) << first;
        EXPECT_EQ(sendWindow(first, count), Result::kSuccess) << first;
    }
    EXPECT_EQ(end(crc32(software)), Result::kSuccess);
    EXPECT_EQ(agent.images().bytes(1), ByteView(software));
}

TEST_F(Images, ABadOneStaysInvalid) {
    ASSERT_EQ(start(kSpare, 8).result, Result::kSuccess);
    ASSERT_EQ(sendWindow(0, 7), Result::kSuccess);
    EXPECT_EQ(end(crc32(software) ^ 1), Result::kProcessingError);
    EXPECT_EQ(marks(1), "");
    EXPECT_EQ(ask<ResultAnswer>(MessageType::kActivateImage, kSpare, Flags{0}).result, Result::kParameterError);
    EXPECT_EQ(ask<ResultAnswer>(MessageType::kCommitImage, kSpare, NoContent{}).result, Result::kParameterError);
    // What runs is not written over.
    EXPECT_EQ(start({class_id::kSoftwareImage, 0}, 4).result, Result::kParameterError);
    for (const std::uint32_t octets : {0U, 1U})
        EXPECT_EQ(
            ask<DownloadStartAnswer>(MessageType::kStartSoftwareDownload, kSpare, DownloadStart{4, octets, {1}}).result,
            octets == 0 ? Result::kParameterError : Result::kSuccess);
}

TEST_F(Images, ACallPutsARestartOff) {
    const EntityKey onu{class_id::kOnuG, 0}, onu2{class_id::kOnu2G, 0};
    const auto upTime = [&] { return number32(get(onu2, maskOf(attr::onu2_g::kSysUpTime)).values, 0); };
    ASSERT_EQ(create(kBridgeKey), Result::kSuccess);
    later(70);
    EXPECT_EQ(upTime(), 7U);
    agent.alarms().set(kPort, 0, true);
    device.calling = true;
    EXPECT_EQ(ask<ResultAnswer>(MessageType::kReboot, onu, Flags{1}).result, Result::kDeviceBusy);
    agent.afterAnswer();
    EXPECT_TRUE(device.restarts.empty());
    EXPECT_EQ(ask<ResultAnswer>(MessageType::kReboot, onu, Flags{0}).result, Result::kSuccess);
    agent.afterAnswer();
    EXPECT_EQ(device.restarts, std::vector<InstanceId>{0});
    EXPECT_EQ(agent.mib().find(kBridgeKey), nullptr);
    EXPECT_EQ(sync() + upTime(), 0U);
    agent.alarms().set(kPort, 0, true);
    EXPECT_EQ(autonomous().at(0).content[31], 1) << "alarms are numbered from the beginning";
}

TEST_F(Images, SeveralInOneDownloadAreRefusedAtItsBeginAndItsEnd) {
    const EntityKey all{class_id::kSoftwareImage, 0xFFFF};
    const auto size = static_cast<std::uint32_t>(software.size());
    const auto begun = [&](EntityKey key, std::vector<InstanceId> images) {
        return ask<DownloadStartAnswer>(MessageType::kStartSoftwareDownload, key, DownloadStart{4, size, images})
            .result;
    };
    const auto ended = [&](EntityKey key, std::vector<InstanceId> images) {
        const DownloadEnd end{crc32(software), size, images};
        return ask<DownloadEndAnswer>(MessageType::kEndSoftwareDownload, key, end).result;
    };
    EXPECT_EQ(begun(all, {0, 1}), Result::kParameterError);
    EXPECT_EQ(begun(kSpare, {0, 1}), Result::kParameterError);
    ASSERT_EQ(start(kSpare, 8).result, Result::kSuccess);
    ASSERT_EQ(sendWindow(0, 7), Result::kSuccess);
    EXPECT_EQ(ended(all, {0, 1}), Result::kParameterError);
    EXPECT_EQ(ended(kSpare, {0, 1}), Result::kParameterError);
}

// ---- Identity ----

TEST(Identity, TakesWhatTheHalTellsAndNothingElse) {
    struct TellingHal : VornHal {
        int vorn_omci_hal_sn_get(unsigned char* buffer, unsigned int size) override {
            std::snprintf(reinterpret_cast<char*>(buffer), size, "%s", serial);
            return 0;
        }
        std::string vorn_hal_get_mac_sub_host() override { return mac; }
        int vorn_omci_hal_pn_get(unsigned char* buffer, unsigned int size) override {
            std::snprintf(reinterpret_cast<char*>(buffer), size, "%s", partNumber);
            return 0;
        }
        int vorn_omci_hal_swimage_version_get(char* buffer, int size, int) override {
            std::snprintf(buffer, static_cast<std::size_t>(size), "%s", version);
            return *version == '-' ? -1 : 0;
        }
        const char* partNumber = "";
        const char* version = "";
        const char* serial = "VORN0012abCD";
        std::string mac = "00:1a:2b:3c:4d:5e";
    } hal;
    Board board;
    readIdentity(hal, board);
    EXPECT_EQ(ByteView(board.serialNumber.data(), 8), ByteView(hex("564F524E 0012ABCD")));
    EXPECT_EQ(ByteView(board.bridgeMac.data(), 6), ByteView(hex("001A2B3C4D5E")));
    EXPECT_EQ(board.equipmentId + board.images[0].version, "");
    for (const char* version : {"V9", "", "-1"}) {
        hal.partNumber = "PART";
        hal.version = version;
        readIdentity(hal, board);
        EXPECT_EQ(board.equipmentId + " " + board.images[0].version + board.images[1].version, "PART V9") << version;
    }
    const Board before = board;
    for (const char* text : {"", "VORN0012abC", "VORN0012abCg", "VORN0012abCDE"}) {
        hal.serial = text;
        hal.mac = text;
        readIdentity(hal, board);
        EXPECT_EQ(board.serialNumber, before.serialNumber) << text;
        EXPECT_EQ(board.bridgeMac, before.bridgeMac) << text;
    }
}

}  // namespace omci
