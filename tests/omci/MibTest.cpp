// The MIB as the OLT sees it: what exists, what messages do to it, how it is uploaded.
#include <algorithm>

#include "omci/mib/Relations.h"
#include "omci/mib/TableRows.h"
#include "tests/omci/OmciFixture.h"

namespace omci {

namespace {

class MibTest : public OmciFixture {};

// A bridge port: bridge, number, TP type, TP pointer, priority, cost and flags.
Bytes bridgePort(InstanceId bridge, std::uint8_t number, std::uint8_t type, InstanceId pointer) {
    Bytes values;
    appendNumber(values, bridge, 2);
    appendNumber(values, number, 1);
    appendNumber(values, type, 1);
    appendNumber(values, pointer, 2);
    values.resize(16, 0);
    values[9] = 1;
    return values;
}

}  // namespace

TEST_F(MibTest, ABoardsOwnNumbersAreInItsMib) {
    constexpr AttributeNumber kNothing = 0;  // there is no such entity
    const struct {
        std::function<void(Board&)> has;
        EntityKey entity;
        AttributeNumber attribute;
        std::uint64_t value;
    } kCases[] = {
        {{}, {class_id::kTrafficScheduler, 0x8001}, kNothing, 0},
        {{}, {class_id::kDot1x, 0x0101}, kNothing, 0},
        {{}, {class_id::kOmciObject, 0}, kNothing, 0},
        {{}, {class_id::kOnu2G, 0}, attr::onu2_g::kTotalTrafficSchedulerNumber, 0},
        {[](Board& one) { one.schedulers = true; },
         {class_id::kPriorityQueue, 0x800B},
         attr::priority_queue::kTrafficSchedulerPointer,
         0x8001},
        {{}, {class_id::kPriorityQueue, 0x0009}, attr::priority_queue::kTrafficSchedulerPointer, 0},
        {{}, {class_id::kTrafficScheduler, 0x8001}, attr::traffic_scheduler::kTContPointer, 0x8001},
        {{}, {class_id::kTrafficScheduler, 0x8001}, attr::traffic_scheduler::kPolicy, 1},
        {{}, {class_id::kOnu2G, 0}, attr::onu2_g::kTotalTrafficSchedulerNumber, 2},
        {[](Board& one) { one.portAccessControl = true; }, {class_id::kDot1x, 0x0104}, 1, 0},
        {[](Board& one) { one.trafficManagement = 2; }, {class_id::kOnuG, 0}, attr::onu_g::kTrafficManagementOption, 2},
        {[](Board& one) { one.productCode = 700; }, {class_id::kOnu2G, 0}, attr::onu2_g::kVendorProductCode, 700},
        {[](Board& one) { one.ipHosts = 2; }, {class_id::kIpHost, 1}, attr::ip_host::kIpOptions, 0},
        {[](Board& one) { one.maxQueueSize = 3; },
         {class_id::kPriorityQueue, 0x8000},
         attr::priority_queue::kPacketDropQueueThresholds,
         0x0003000300030003},
        {{}, {class_id::kPriorityQueue, 0x0009}, attr::priority_queue::kMaximumQueueSize, 3},
        {[](Board& one) { one.veipSlot = 1; }, {class_id::kCardholder, 0x0106}, kNothing, 0},
        {{}, {class_id::kCircuitPack, 0x0101}, attr::circuit_pack::kNumberOfPorts, 4},
        {[](Board& one) { one.ponSlot = 1; }, {class_id::kCardholder, 0x0180}, kNothing, 0},
        {{}, {class_id::kCircuitPack, 0x0101}, attr::circuit_pack::kType, 47},
        {[](Board& one) { one.veipSlot = 6, one.veips = 2, one.ponSlot = 6; },
         {class_id::kCircuitPack, 0x0106},
         attr::circuit_pack::kNumberOfPorts,
         2},
        {{}, {class_id::kCardholder, 0x0106}, attr::cardholder::kActualPlugInUnitType, 48},
    };
    Board described = board();
    for (const auto& one : kCases) {
        if (one.has) one.has(described);
        const Agent other(described, hal, device, clock);
        const Entity* entity = other.mib().find(one.entity);
        ASSERT_EQ(entity != nullptr, one.attribute != kNothing) << one.entity.classId << " " << one.entity.instance;
        if (entity != nullptr) {
            EXPECT_EQ(entity->number(one.attribute), one.value) << one.entity.classId << " " << +one.attribute;
        }
    }
}

// The bits of the board's flexibility, each of which lets the OLT choose one thing.
TEST_F(MibTest, TheOltSetsWhatTheBoardLeavesToIt) {
    const struct {
        EntityKey entity;
        AttributeNumber attribute;
        const char* value;
        unsigned needed;
    } kChoices[] = {
        {{class_id::kTCont, 0x8000}, attr::t_cont::kAllocId, "0400", 0xFFFF},
        {{class_id::kTCont, 0x8000}, attr::t_cont::kPolicy, "02", 0x0010},
        {{class_id::kPriorityQueue, 0x8000}, attr::priority_queue::kRelatedPort, "80010000", 0x0021},
        {{class_id::kPriorityQueue, 0x8000}, attr::priority_queue::kTrafficSchedulerPointer, "8001", 0x0002},
        {{class_id::kPriorityQueue, 0x8000}, attr::priority_queue::kWeight, "07", 0xFFFF},
        {{class_id::kTrafficScheduler, 0x8000}, attr::traffic_scheduler::kTContPointer, "8001", 0x0004},
        {{class_id::kTrafficScheduler, 0x8000}, attr::traffic_scheduler::kPolicy, "02", 0x0008},
        {{class_id::kTrafficScheduler, 0x8000}, 4, "07", 0xFFFF},
    };
    for (const unsigned flexibility : {0U, 1U, 2U, 4U, 8U, 0x10U, 0x20U, 0x40U}) {
        Board flexible = board();
        flexible.schedulers = true;
        flexible.qosFlexibility = static_cast<std::uint16_t>(flexibility);
        Agent other(flexible, hal, device, clock);
        for (const auto& one : kChoices) {
            const auto asked =
                request(MessageType::kSet, one.entity, AttributeValues{maskOf(one.attribute), hex(one.value)});
            const bool free = one.needed == 0xFFFF || (flexibility & one.needed) != 0;
            EXPECT_EQ(resultOf(decodeContent(*other.handle(asked).answer).content),
                      free ? Result::kSuccess : Result::kParameterError)
                << one.entity.classId << " " << +one.attribute << " " << flexibility;
        }
    }
}

TEST_F(MibTest, RefusalsSayWhyAndChangeNothing) {
    ASSERT_EQ(create(kBridgeKey), Result::kSuccess);
    ASSERT_EQ(create(kTagging, hex("02 0101")), Result::kSuccess);
    const unsigned before = sync();
    const EntityKey filter{class_id::kVlanFilter, 5};
    const std::tuple<const char*, Result, Result> kRefused[] = {
        {"a class that nobody knows", create({350, 1}), Result::kUnknownEntity},
        {"a class that the ONU makes", create({class_id::kTCont, 1}), Result::kNotSupported},
        {"what exists", create(kBridgeKey), Result::kInstanceExists},
        {"the number of no instance", create({class_id::kBridge, 0xFFFF}), Result::kParameterError},
        {"a forward operation without a meaning", create(filter, hex(std::string(48, '0') + "22 01")),
         Result::kParameterError},
        {"more VLANs than the list holds", create(filter, hex(std::string(48, '0') + "10 0D")),
         Result::kParameterError},
        {"set of what does not exist", set1(filter, 2, hex("10")), Result::kUnknownInstance},
        {"delete of what the ONU made", erase({class_id::kCircuitPack, 0x0101}), Result::kNotSupported},
        {"a downstream mode without a meaning", set1(kTagging, 5, hex("09")), Result::kParameterError},
        {"a row with a reserved code", set1(kTagging, 6, hex("F8000000 90320000 400F0000 00080A0C")),
         Result::kParameterError},
        {"a treatment with p-bits that do not exist", set1(kTagging, 6, hex("F8000000 F8000000 000F0000 000B0A0C")),
         Result::kParameterError},
        {"get next without a copy",
         ask<TablePartAnswer>(MessageType::kGetNext, kTagging, TablePartAsked{maskOf(6), 0}).result,
         Result::kProcessingError},
        {"an upload of another entity's", ask<ResultAnswer>(MessageType::kMibReset, kBridgeKey, NoContent{}).result,
         Result::kNotSupported},
    };
    for (const auto& [what, result, wanted] : kRefused) EXPECT_EQ(result, wanted) << what;
    EXPECT_EQ(sync(), before);
    EXPECT_EQ(agent.mib().find(filter), nullptr);
}

TEST_F(MibTest, ASetDoesWhatItCanAndNamesTheRest) {
    const EntityKey tCont{class_id::kTCont, 0x8000};
    const unsigned before = sync();
    // Attribute 2 can only be read, 4 does not exist.
    const SetAnswer answer = setMany(tCont, 0xD000, hex("0400 01"));
    EXPECT_EQ(answer.result, Result::kAttributesFailed);
    EXPECT_EQ(answer.failed, maskOf(2));
    EXPECT_EQ(answer.unsupported, maskOf(4));
    EXPECT_EQ(value(tCont, attr::t_cont::kAllocId), 0x0400U);
    EXPECT_EQ(sync(), before + 1);
    EXPECT_EQ(setMany(tCont, maskOf(2), hex("01")).result, Result::kAttributesFailed);
    EXPECT_EQ(sync(), before + 1);
}

TEST_F(MibTest, AFullTaggingTableRefusesTheNextRow) {
    ASSERT_EQ(create(kTagging, hex("02 0101")), Result::kSuccess);
    Bytes row = hex("F8000000 80000000 400F0000 00080A0C");
    for (unsigned vid = 0; vid <= agent.board().taggingRows - 3U; ++vid) {
        putNumber(row.data() + 4, 0x80000000U | vid << 15, 4);
        const bool room = vid < agent.board().taggingRows - 3U;
        EXPECT_EQ(set1(kTagging, 6, row), room ? Result::kSuccess : Result::kParameterError) << vid;
    }
}

TEST(TableRows, AFullOneRefusesTheNextRowAndTakesAnotherInItsPlace) {
    const struct {
        ClassId classId;
        AttributeNumber table;
        const char* row;  // N: what tells rows apart
    } kTables[] = {
        {class_id::kExtendedTagging, 10, "4000N000 000000000000000000000000000000000000000000000000"},
        {class_id::kMulticastProfile, 7, "400N 0FFF 0064 00000000 E0000001 E00000FF 00000000 0000"},
        {class_id::kMulticastSubscriber, 6, "400N 1001 0000 00000000 0009 0000000000000000"},
        {class_id::kMulticastInterworking, 9, "0FFF 000N E0000000 E00000FF"},
        {class_id::kBridgePortFilter, 1, "0N 40 00112233445N"},
    };
    for (const auto& one : kTables) {
        TableRows rows;
        for (const auto& [digit, room] : {std::pair('1', true), {'2', true}, {'3', false}, {'2', true}}) {
            std::string row = one.row;
            std::replace(row.begin(), row.end(), 'N', digit);
            EXPECT_EQ(applyRow(one.classId, one.table, 2, hex(row), rows),
                      room ? Result::kSuccess : Result::kParameterError)
                << row;
        }
        EXPECT_EQ(rows.size(), 2U) << one.row;
    }
}

TEST_F(MibTest, WhatComesWithABridgePortGoesWithIt) {
    constexpr ClassId kPortsOwn[] = {48, 49, 50, 79};
    const EntityKey port{class_id::kBridgePort, 0x21};
    ASSERT_EQ(create(kBridgeKey), Result::kSuccess);
    const unsigned before = sync();
    ASSERT_EQ(create(port, bridgePort(1, 1, 1, 0x0101)), Result::kSuccess);
    EXPECT_EQ(sync(), before + 1);
    for (const ClassId classId : kPortsOwn) EXPECT_NE(agent.mib().find(classId, 0x21), nullptr) << classId;
    const EntityKey data{class_id::kBridgeData, 1};
    EXPECT_EQ(number16(get(data, maskOf(5)).values, 0) >> 8, 1);
    for (const auto& [attribute, copy] : {std::pair(attr::bridge::kPriority, attr::bridge_data::kBridgePriority),
                                          std::pair(attr::bridge::kHelloTime, attr::bridge_data::kHelloTime),
                                          std::pair(attr::bridge::kForwardDelay, attr::bridge_data::kForwardDelay)}) {
        EXPECT_EQ(set1(kBridgeKey, attribute, hex("0805")), Result::kSuccess);
        EXPECT_EQ(number16(get(data, maskOf(copy)).values, 0), 0x0805);
    }
    EXPECT_EQ(agent.mib().pointingAt(kPort).size(), 2U);  // the UNI-G as well
    EXPECT_EQ(erase(port), Result::kSuccess);
    for (const ClassId classId : kPortsOwn) EXPECT_EQ(agent.mib().find(classId, 0x21), nullptr) << classId;
    EXPECT_EQ(agent.mib().pointingAt(kPort).size(), 1U);
}

// Pointers follow what another attribute says, and what a set makes of them.
TEST_F(MibTest, KnowsWhoPointsAtWhom) {
    const EntityKey mapper{class_id::kMapper, 0x10};
    const EntityKey port{class_id::kBridgePort, 2};
    ASSERT_EQ(create(port, bridgePort(1, 2, 3, 0x10)), Result::kSuccess);
    ASSERT_EQ(create({class_id::kVlanFilter, 2}), Result::kSuccess);
    ASSERT_EQ(create(kTagging, hex("0A 0601")), Result::kSuccess);
    const Mib& mib = agent.mib();
    EXPECT_EQ(mib.pointingAt(mapper), std::vector<EntityKey>{port});
    EXPECT_EQ(mib.pointingAt({class_id::kVeip, 0x0601}).size(), 2U);
    EXPECT_EQ(mib.pointingAt(kBridgeKey), std::vector<EntityKey>{port});
    EXPECT_EQ(mib.pointingAt(port).front().classId, class_id::kBridgePortDesignation);
    ASSERT_EQ(setMany(port, maskOf(3) | maskOf(4), hex("05 0020")).result, Result::kSuccess);
    EXPECT_TRUE(mib.pointingAt(mapper).empty());
    EXPECT_EQ(mib.pointingAt({class_id::kGemInterworking, 0x20}), std::vector<EntityKey>{port});
    // GEM port, option, service profile, interworking termination point, GAL profile.
    const EntityKey gem{class_id::kGemInterworking, 0x21};
    ASSERT_EQ(create(gem, hex("FFFF 05 0010 0000 FFFF")), Result::kSuccess);
    const std::tuple<const char*, bool, bool> kOptions[] = {
        {"05", true, false}, {"01", false, true}, {"06", false, false}, {"00", false, false}};
    for (const auto& [option, atMapper, atBridge] : kOptions) {
        set1(gem, attr::gem_interworking::kInterworkingOption, hex(option));
        EXPECT_EQ(mib.pointingAt(mapper).size(), atMapper ? 1U : 0U) << option;
        EXPECT_EQ(mib.pointingAt({class_id::kBridge, 0x10}).size(), atBridge ? 1U : 0U) << option;
    }
}

TEST_F(MibTest, ObserversLearnWhatAMessageChanged) {
    struct Listener : MibObserver {
        void onChange(const Change& change) override {
            if (change.key.classId != class_id::kOnuData) seen.push_back(change);
        }
        std::vector<Change> seen;
    } listener;
    agent.mib().addObserver(listener);
    ASSERT_EQ(create(kTagging, hex("02 0101")), Result::kSuccess);
    ASSERT_EQ(setMany(kTagging, maskOf(3) | maskOf(5), hex("88A8 00")).result, Result::kSuccess);
    ASSERT_EQ(set1(kTagging, 3, hex("88A8")), Result::kSuccess);  // nothing new
    ASSERT_EQ(erase(kTagging), Result::kSuccess);
    ASSERT_EQ(listener.seen.size(), 3U);
    EXPECT_EQ(listener.seen[1].kind, ChangeKind::kChanged);
    EXPECT_EQ(listener.seen[1].attributes, maskOf(3));
    EXPECT_EQ(listener.seen[0].cause, 1U);
    EXPECT_EQ(listener.seen[2].cause, 4U);
    agent.mib().removeObserver(listener);
    Mib& mib = agent.mib();
    const EntityKey none{class_id::kBridge, 77}, unknown{350, 1};
    EXPECT_FALSE(mib.create(*mib.find(kPort)));
    for (const EntityKey key : {none, unknown})
        EXPECT_FALSE(mib.erase(key) || mib.setNumber(key, 1, 1) || mib.setBytes(key, 1, {}) || mib.setRows(key, 1, {}));
    EXPECT_TRUE(mib.create(Entity(*findClass(none.classId), none.instance, Maker::kOlt)));
    EXPECT_TRUE(mib.setNumber(none, 4, 5) && mib.setBytes(none, 5, hex("0600")) && mib.setRows(none, 1, {}) &&
                mib.erase(none));
    EXPECT_EQ(listener.seen.size(), 3U) << "it listens no longer";
}

TEST_F(MibTest, ResetTakesAwayWhatTheOltMade) {
    ASSERT_EQ(create(kBridgeKey), Result::kSuccess);
    ASSERT_EQ(create({class_id::kBridgePort, 9}, bridgePort(1, 1, 1, 0x0101)), Result::kSuccess);
    ASSERT_EQ(set1({class_id::kTCont, 0x8000}, 1, hex("0400")), Result::kSuccess);
    ASSERT_EQ(set1(kPort, attr::ethernet_uni::kAdministrativeState, hex("01")), Result::kSuccess);
    EXPECT_EQ(sync(), 4U);
    EXPECT_EQ(ask<ResultAnswer>(MessageType::kMibReset, kOnuDataKey, NoContent{}).result, Result::kSuccess);
    EXPECT_EQ(sync(), 0U);
    ManualClock freshClock;
    const Agent fresh(board(), hal, device, freshClock);
    for (const ClassInfo& info : managedEntities()) {
        const auto& wanted = fresh.mib().instances(info.id());
        const auto& existing = agent.mib().instances(info.id());
        ASSERT_EQ(existing.size(), wanted.size()) << info.name();
        for (const auto& [instance, entity] : wanted) {
            for (const AttributeInfo& attribute : info.attributes()) {
                EXPECT_EQ(existing.at(instance).bytes(attribute.number), entity.bytes(attribute.number))
                    << info.name() << " " << attribute.name;
            }
        }
    }
}

// ---- Upload ----

TEST_F(MibTest, UploadSplitsEntitiesAsOltsExpect) {
    ASSERT_EQ(create(kTagging, hex("02 0101")), Result::kSuccess);
    ASSERT_EQ(create({class_id::kEthernetPm, 0x0101}, hex("FFFF")), Result::kSuccess);
    std::size_t entities = 0;
    for (const ClassInfo& info : managedEntities()) entities += agent.mib().instances(info.id()).size();
    for (const MessageSet each : {MessageSet::kExtended, MessageSet::kBaseline}) {
        set = each;
        const std::uint16_t parts = ask<CommandNumber>(MessageType::kMibUpload, kOnuDataKey, NoContent{}).number;
        ASSERT_EQ(set1({class_id::kTCont, 0x8000}, 1, hex("0400")), Result::kSuccess);  // after the copy
        std::map<EntityKey, std::vector<AttributeMask>> seen;
        for (std::uint16_t part = 0; part < parts; ++part) {
            const auto entries =
                ask<UploadEntries>(MessageType::kMibUploadNext, kOnuDataKey, CommandNumber{part}).entries;
            for (const UploadEntry& entry : entries) {
                if (entry.entity == EntityKey{class_id::kTCont, 0x8000}) {
                    EXPECT_EQ(number16(entry.values, 0), 0xFFFF);
                }
                seen[entry.entity].push_back(entry.mask);
            }
            ASSERT_FALSE(entries.empty()) << part;
            EXPECT_EQ(entries[0].entity == kOnuDataKey, part == 0);
        }
        EXPECT_EQ(seen.size(), entities);
        EXPECT_TRUE(ask<UploadEntries>(MessageType::kMibUploadNext, kOnuDataKey, CommandNumber{parts}).entries.empty());
        ASSERT_EQ(set1({class_id::kTCont, 0x8000}, 1, hex("FFFF")), Result::kSuccess);
        using Masks = std::vector<AttributeMask>;
        EXPECT_EQ((seen[{class_id::kUniG, kPort.instance}].front() & maskOf(1)), maskOf(1)) << "deprecated, mandatory";
        if (each == MessageSet::kExtended) {
            EXPECT_LT(parts, 5);
            continue;
        }
        EXPECT_EQ((seen[{class_id::kOnuG, 0}]), (Masks{0xE000, 0x1780, 0x0040, 0x0038}));
        EXPECT_EQ((seen[{class_id::kOnu2G, 0}]), (Masks{0xF800, 0x07FC}));
        EXPECT_EQ((seen[{class_id::kPriorityQueue, 0x8000}]), (Masks{0xFFF0, 0x000F}));
        EXPECT_EQ(seen[kTagging], (Masks{0xFA00, 0x0180}));  // without its tables
        EXPECT_EQ((seen[{class_id::kEthernetPm, 0x0101}]), (Masks{0xC000}));
    }
}

// Its parts are others: an OLT that goes on in the other set would miss entities, or have them twice.
TEST_F(MibTest, AnUploadIsReadInTheSetThatItWasBegunIn) {
    const auto part = [&](MessageSet read) {
        set = read;
        return ask<UploadEntries>(MessageType::kMibUploadNext, kOnuDataKey, CommandNumber{0}).entries.size();
    };
    for (const MessageSet begun : {MessageSet::kBaseline, MessageSet::kExtended}) {
        const bool baseline = begun == MessageSet::kBaseline;
        set = begun;
        ask<CommandNumber>(MessageType::kMibUpload, kOnuDataKey, NoContent{});
        EXPECT_EQ(part(baseline ? MessageSet::kExtended : MessageSet::kBaseline), 0U);
        EXPECT_GT(part(begun), 0U);
        // Alarms likewise.
        set = begun;
        agent.alarms().set(kPort, 0, true);
        ASSERT_EQ(ask<CommandNumber>(MessageType::kGetAllAlarms, kOnuDataKey, Flags{0}).number, 1);
        set = baseline ? MessageSet::kExtended : MessageSet::kBaseline;
        EXPECT_TRUE(ask<AlarmEntries>(MessageType::kGetAllAlarmsNext, kOnuDataKey, CommandNumber{0}).entries.empty());
    }
}

TEST_F(MibTest, ABridgePortsStateFollowsThePort) {
    ASSERT_EQ(create(kBridgeKey), Result::kSuccess);
    ASSERT_EQ(create({class_id::kBridgePort, 9}, bridgePort(1, 1, 1, kPort.instance)), Result::kSuccess);
    const auto state = [&] { return get({class_id::kBridgePortDesignation, 9}, maskOf(2)).values.at(0); };
    EXPECT_EQ(state(), 6);
    device.ports[kPort.instance] = {false, 0};
    EXPECT_EQ(state(), 5);
    ASSERT_EQ(set1(kPort, attr::ethernet_uni::kAdministrativeState, hex("01")), Result::kSuccess);
    EXPECT_EQ(state(), 0);
    ASSERT_EQ(set1(kPort, attr::ethernet_uni::kAdministrativeState, hex("00")), Result::kSuccess);
    device.ports[kPort.instance] = {true, 3};
    EXPECT_EQ(state(), 6);
}

TEST_F(MibTest, CopiesGoAMinuteAfterTheLastPart) {
    ASSERT_EQ(create(kTagging, hex("02 0101")), Result::kSuccess);
    ask<CommandNumber>(MessageType::kMibUpload, kOnuDataKey, NoContent{});
    get(kTagging, maskOf(6));
    const auto uploadPart = [&] {
        return ask<UploadEntries>(MessageType::kMibUploadNext, kOnuDataKey, CommandNumber{0}).entries.size();
    };
    const auto tablePart = [&] {
        return ask<TablePartAnswer>(MessageType::kGetNext, kTagging, TablePartAsked{maskOf(6), 0}).result;
    };
    for (int minute = 0; minute < 3; ++minute) {
        clock.ms += kCopyLifetimeMs;
        EXPECT_EQ(uploadPart(), 1U);
        EXPECT_EQ(tablePart(), Result::kSuccess);
    }
    clock.ms += kCopyLifetimeMs + 1;
    EXPECT_EQ(uploadPart(), 0U);
    EXPECT_EQ(tablePart(), Result::kProcessingError);
}

TEST_F(MibTest, OfTooManyCopiesTheOneThatWasReadLongestAgoGoes) {
    constexpr InstanceId kCopies = 64;
    const auto part = [&](InstanceId one) {
        ++clock.ms;
        return ask<TablePartAnswer>(MessageType::kGetNext, {class_id::kExtendedTagging, one},
                                    TablePartAsked{maskOf(6), 0})
            .result;
    };
    for (InstanceId one = 0; one <= kCopies; ++one) {
        ASSERT_EQ(create({class_id::kExtendedTagging, one}, hex("02 0101")), Result::kSuccess);
        ASSERT_TRUE(one < kCopies || part(0) == Result::kSuccess);
        ++clock.ms;
        get({class_id::kExtendedTagging, one}, maskOf(6));
    }
    for (InstanceId one = 0; one <= kCopies; ++one)
        EXPECT_EQ(part(one), one == 1 ? Result::kProcessingError : Result::kSuccess) << one;
}

TEST_F(MibTest, DescribesItselfWhereTheBoardSaysSo) {
    Board described = board();
    described.describesMib = true;
    Agent other(described, hal, device, clock);
    const Mib& mib = other.mib();
    const Entity* entity = mib.find(class_id::kEntityObject, class_id::kEthernetUni);
    ASSERT_NE(entity, nullptr);
    EXPECT_EQ(entity->text(1), "PPTP Ethernet UNI");
    ASSERT_EQ(entity->rows(2).size(), 15U);
    EXPECT_EQ(entity->rows(4), TableRows{hex("00")}) << "LAN-LOS";
    EXPECT_EQ(entity->rows(5), (TableRows{hex("02"), hex("06"), hex("0C")})) << "sensed type, operational state, ARC";
    const Entity* attribute = mib.find(class_id::kAttributeObject, number16(entity->rows(2)[7], 0));
    ASSERT_NE(attribute, nullptr);
    EXPECT_EQ(attribute->text(1), "Max frame size");
    EXPECT_EQ(attribute->number(2), 2U);
    // The standard's codes of formats.
    const std::tuple<ClassId, AttributeNumber, unsigned> kFormats[] = {
        {class_id::kBridgePort, attr::bridge_port::kTpPointer, 1},
        {class_id::kAniG, attr::ani_g::kOpticalSignalLevel, 3},
        {class_id::kEthernetUni, 8, 4},
        {class_id::kOnuG, attr::onu_g::kVendorId, 5},
        {class_id::kOnuG, attr::onu_g::kAdministrativeState, 6},
        {class_id::kExtendedTagging, 6, 7},
    };
    for (const auto& [classId, number, code] : kFormats) {
        const Entity* of = mib.find(class_id::kEntityObject, classId);
        const Entity* one = mib.find(class_id::kAttributeObject, number16(of->rows(2)[number - 1U], 0));
        EXPECT_EQ(one->number(4), code) << one->text(1);
        EXPECT_EQ(one->number(6), code == 4 ? 0xFFFFU : 0U) << "the upper limit of a number of two octets";
    }
    const auto parts = other.handle(request(MessageType::kMibUpload, kOnuDataKey, NoContent{})).answer->content;
    EXPECT_EQ(number16(parts, 0), ask<CommandNumber>(MessageType::kMibUpload, kOnuDataKey, NoContent{}).number)
        << "an upload is without it";
    const Entity* omci = mib.find(class_id::kOmciObject, 0);
    EXPECT_EQ(omci->rows(1).size(), managedEntities().size());
    EXPECT_EQ(joined(omci->rows(2)), hex("04 06 08 09 0B 0C 0D 0E 0F 12 13 14 15 16 17 18 19 1A 1C 1D"));
    EXPECT_EQ((std::tuple(entity->number(3), entity->number(6), entity->number(8))), (std::tuple(1U, 0x300U, 1U)));
    EXPECT_EQ((std::tuple(attribute->number(3), attribute->number(9))), (std::tuple(3U, 1U))) << "read and written";
    const auto instances = [&] {
        other.handle(
            request(MessageType::kGet, {class_id::kEntityObject, class_id::kEthernetUni}, AttributesAsked{maskOf(7)}));
        return joined(entity->rows(7));
    };
    EXPECT_EQ(instances(), hex("0101 0102 0103 0104"));
    const Entity* counters = mib.find(class_id::kEntityObject, class_id::kGemPortPm);
    EXPECT_EQ(counters->rows(4), TableRows{hex("01")}) << "alert of encryption key errors";
    const Entity* igmp = mib.find(class_id::kEntityObject, class_id::kMulticastProfile);
    EXPECT_EQ(joined(mib.find(class_id::kAttributeObject, number16(igmp->rows(2)[0], 0))->rows(8)),
              hex("0001 0002 0003 0010 0011"));
}

}  // namespace omci
