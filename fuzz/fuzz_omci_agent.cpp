// Sequences of messages at an agent. The input is a list of records: a byte with the number of bytes that follow, then
// message type and flags, class, instance, and the content.

#include "Expect.h"
#include "hal/VornHal.h"
#include "omci/agent/Agent.h"

namespace {

using namespace omci;

constexpr InstanceId kInstances[] = {0, 1, 2, 0x0101, 0x0601, 0x8000, 0x8001, 0xFFFF};
enum Flag : std::uint8_t { kExtendedFlag = 0x20, kUrgentFlag = 0x40, kLaterFlag = 0x80 };

class StillClock : public Clock {
public:
    std::uint64_t nowMs() override { return ms; }
    std::uint64_t ms = 0;
};

Message messageOf(ByteView record, std::uint16_t transaction) {
    const auto& classes = managedEntities();
    Message message;
    message.transaction = (record[0] & kUrgentFlag) != 0 ? transaction | kPriorityBit : transaction;
    message.type = static_cast<MessageType>(record[0] & 0x1F);
    message.set = (record[0] & kExtendedFlag) != 0 ? MessageSet::kExtended : MessageSet::kBaseline;
    message.answerWanted = (record[2] & 0x80U) == 0;
    message.entity.classId = record[1] < classes.size() ? classes[record[1]].id() : record[1];
    message.entity.instance = kInstances[record[2] % std::size(kInstances)];
    message.content = record.part(3).copy();
    if (message.set == MessageSet::kBaseline) message.content.resize(kBaselineContent, 0);
    return message;
}

std::size_t entitiesOf(const Mib& mib) {
    std::size_t count = 0;
    for (const ClassInfo& info : managedEntities()) {
        for (const auto& [instance, entity] : mib.instances(info.id())) {
            FUZZ_EXPECT(entity.instance() == instance);
            for (const AttributeInfo& attribute : info.attributes()) {
                for (const Bytes& row : entity.rows(attribute.number)) FUZZ_EXPECT(row.size() == attribute.size);
            }
            ++count;
        }
    }
    return count;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    VornHal hal;
    Device device;
    StillClock clock;
    Board board;
    board.tConts = 2;
    board.ethernetPorts = 1;
    board.queues = 2;
    Agent agent(board, hal, device, clock);
    const std::size_t atFirst = entitiesOf(agent.mib());

    ByteView input(data, size);
    std::uint16_t transaction = 0;
    while (!input.empty() && transaction < 200) {
        const ByteView record = input.part(1, input[0]);
        input = input.part(1 + record.size());
        if (record.size() < 3) continue;
        if ((record[0] & kLaterFlag) != 0) clock.ms += 1000ULL * record[2] * record[2];
        const Message request = messageOf(record, ++transaction);
        const Handled handled = agent.handle(request);
        if (handled.answer) {
            FUZZ_EXPECT(handled.answer->transaction == request.transaction && handled.answer->set == request.set);
            FUZZ_EXPECT(decodeContent(*handled.answer).error == ContentError::kNone || !isKnown(request.type) ||
                        request.type == MessageType::kSetTable);
            const Handled again = agent.handle(request);
            FUZZ_EXPECT(again.repeated && again.answer && again.answer->content == handled.answer->content);
        }
        agent.afterAnswer();
        agent.tick();
        for (const Message& message : agent.takeAutonomous()) {
            FUZZ_EXPECT(decodeContent(message).error == ContentError::kNone);
        }
    }
    FUZZ_EXPECT(entitiesOf(agent.mib()) >= atFirst);
    Message reset;
    reset.transaction = 0x7FFF;
    reset.type = MessageType::kMibReset;
    reset.answerWanted = true;
    reset.entity = {class_id::kOnuData, 0};
    agent.handle(reset);
    FUZZ_EXPECT(entitiesOf(agent.mib()) == atFirst);
    return 0;
}
