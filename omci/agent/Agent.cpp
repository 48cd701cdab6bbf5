#include "omci/agent/Agent.h"

#include <utility>

#include "omci/agent/SelfTest.h"
#include "omci/message/Lookup.h"
#include "omci/mib/TableRows.h"

namespace omci {

namespace {

constexpr EntityKey kOnuDataKey{class_id::kOnuData, 0};

// Successful requests of these types raise the data sync counter.
constexpr MessageTypes kCounted = bit(MessageType::kCreate) | bit(MessageType::kDelete) | bit(MessageType::kSet) |
                                  bit(MessageType::kSetTable) | bit(MessageType::kStartSoftwareDownload) |
                                  bit(MessageType::kEndSoftwareDownload) | bit(MessageType::kActivateImage) |
                                  bit(MessageType::kCommitImage);

// An answer of the type with nothing but its result.
Content refusal(MessageType type, Result result) {
    switch (type) {
        case MessageType::kCreate:
            return CreateAnswer{result, 0};
        case MessageType::kSet:
        case MessageType::kSetTable:
            return SetAnswer{result, 0, 0};
        case MessageType::kGet:
        case MessageType::kGetCurrentData:
            return GetAnswer{result, 0, {}, 0, 0};
        case MessageType::kGetNext:
            return TablePartAnswer{result, 0, {}};
        // These have no result: nothing follows.
        case MessageType::kGetAllAlarms:
        case MessageType::kMibUpload:
            return CommandNumber{0};
        case MessageType::kGetAllAlarmsNext:
            return AlarmEntries{};
        case MessageType::kMibUploadNext:
            return UploadEntries{};
        case MessageType::kStartSoftwareDownload:
            return DownloadStartAnswer{result, 1, {}};
        case MessageType::kDownloadSection:
            return SectionAnswer{result, 0};
        case MessageType::kEndSoftwareDownload:
            return DownloadEndAnswer{result, {}};
        case MessageType::kSynchronizeTime:
            return TimeAnswer{result, false};
        default:
            return ResultAnswer{result};
    }
}

// Several images in one download are named by an instance of their own. They are for slots that this ONU does not have.
bool namesSeveralImages(const Message& request) {
    return request.entity == EntityKey{class_id::kSoftwareImage, 0xFFFF};
}

bool hasOneBit(AttributeMask mask) {
    return mask != 0 && (mask & (mask - 1)) == 0;
}

AttributeNumber onlyAttribute(AttributeMask mask) {
    AttributeNumber number = 1;
    while (maskOf(number) != mask) ++number;
    return number;
}

}  // namespace

const char* nameOf(Dropped dropped) {
    static constexpr Names<Dropped> kNames[] = {
        {Dropped::kNo, "answered"},
        {Dropped::kNotARequest, "not a request"},
        {Dropped::kNoTransaction, "transaction 0 is the ONU's own"},
        {Dropped::kUnknownSet, "this ONU does not know the extended set"},
        {Dropped::kNoAnswerAsked, "no answer asked for"},
    };
    return lookUp(kNames, dropped, "unknown reason");
}

Agent::Agent(const Board& board, VornHal& hal, Device& device, Clock& clock)
    : board_(board),
      hal_(hal),
      device_(device),
      clock_(clock),
      commands_(mib_, board_),
      outbox_(mib_),
      alarms_(mib_, outbox_),
      sources_(mib_, hal, device),
      performance_(mib_, alarms_, sources_, clock.nowMs()),
      images_(mib_, outbox_, device),
      startedMs_(clock.nowMs()) {
    commands_.start();
}

Handled Agent::handle(const Message& request) {
    Handled handled;
    if (isUpstream(request)) {
        handled.dropped = Dropped::kNotARequest;
        return handled;
    }
    if (request.transaction == 0) {
        handled.dropped = Dropped::kNoTransaction;
        return handled;
    }
    if (request.set == MessageSet::kExtended && !knowsExtendedSet(board_)) {
        handled.dropped = Dropped::kUnknownSet;
        return handled;
    }
    if (const Message* answer = transactions_.answered(request)) {
        handled.answer = *answer;
        handled.repeated = true;
        return handled;
    }
    handled.message = ++messages_;
    mib_.setCause(handled.message);
    if (request.set == MessageSet::kExtended) outbox_.follow(MessageSet::kExtended);
    const Content content = execute(request);
    if ((bit(request.type) & kCounted) != 0 && resultOf(content) == Result::kSuccess) raiseDataSync(request.entity);
    mib_.setCause(0);
    if (!request.answerWanted) {
        handled.dropped = Dropped::kNoAnswerAsked;
        return handled;
    }
    Message answer = answerTo(request);
    encodeContent(answer, content);
    transactions_.keep(request, answer);
    handled.answer = std::move(answer);
    return handled;
}

void Agent::raiseDataSync(EntityKey changed) {
    // A value that the OLT gives the counter is not counted itself (not certain).
    if (changed == kOnuDataKey) return;
    const std::uint8_t count = mib_.find(kOnuDataKey)->number8(attr::onu_data::kMibDataSync);
    mib_.setNumber(kOnuDataKey, attr::onu_data::kMibDataSync, count == 255 ? 1 : count + 1U);
}

Content Agent::execute(const Message& request) {
    const DecodedContent decoded = decodeContent(request);
    if (decoded.error == ContentError::kReservedType) return ResultAnswer{Result::kNotSupported};
    if (request.type == MessageType::kCreate) {
        const bool read = decoded.error == ContentError::kNone;
        return read ? create(request, std::get<CreateValues>(decoded.content))
                    : refusal(request.type, Result::kParameterError);
    }
    const Result result =
        namesSeveralImages(request) ? Result::kParameterError : commands_.check(request.entity, request.type);
    if (result != Result::kSuccess) return refusal(request.type, result);
    if (decoded.error != ContentError::kNone) return refusal(request.type, Result::kParameterError);
    return executeOnEntity(request, decoded.content);
}

Content Agent::executeOnEntity(const Message& request, const Content& content) {
    switch (request.type) {
        case MessageType::kDelete:
            return ResultAnswer{commands_.erase(request.entity)};
        case MessageType::kSet:
        case MessageType::kSetTable:
            return set(request, std::get<AttributeValues>(content));
        case MessageType::kGet:
        case MessageType::kGetCurrentData:
            return get(request, std::get<AttributesAsked>(content).mask);
        case MessageType::kGetNext:
            return getNext(request, std::get<TablePartAsked>(content));
        case MessageType::kGetAllAlarms:
        case MessageType::kGetAllAlarmsNext:
            return alarmCopy(request, content);
        case MessageType::kMibUpload:
        case MessageType::kMibUploadNext:
            return upload(request, content);
        case MessageType::kMibReset:
            return reset();
        case MessageType::kTest:
            return startTest(request, std::get<TestContent>(content));
        case MessageType::kStartSoftwareDownload:
        case MessageType::kDownloadSection:
        case MessageType::kEndSoftwareDownload:
            return image(request, content);
        case MessageType::kActivateImage:
            return activate(request, std::get<Flags>(content).flags);
        case MessageType::kCommitImage:
            return ResultAnswer{images_.commit(request.entity.instance)};
        case MessageType::kSynchronizeTime:
            return synchronize(std::get<TimeSet>(content));
        case MessageType::kReboot:
            return reboot(request, std::get<Flags>(content).flags);
        default:
            return refusal(request.type, Result::kNotSupported);
    }
}

Content Agent::create(const Message& request, const CreateValues& values) {
    const CreateOutcome outcome = commands_.create(request.entity, values.values);
    if (outcome.result == Result::kSuccess) performance_.written(request.entity);
    return CreateAnswer{outcome.result, outcome.failed};
}

Content Agent::set(const Message& request, const AttributeValues& values) {
    const bool extended = request.set == MessageSet::kExtended;
    const ClassInfo& info = *findClass(request.entity.classId);
    const bool oneTable = hasOneBit(values.mask) && (values.mask & info.tables()) != 0;
    if (request.type == MessageType::kSetTable && !oneTable) return SetAnswer{Result::kParameterError, 0, 0};
    const SetOutcome outcome =
        commands_.set(request.entity, values.mask, values.values, extended ? Tables::kRows : Tables::kRow);
    if (outcome.done) afterSet(request.entity, values.mask);
    // Not certain: a set of which a part failed counts for the part that was done.
    if (outcome.done && outcome.result == Result::kAttributesFailed) raiseDataSync(request.entity);
    return SetAnswer{outcome.result, outcome.unsupported, outcome.failed};
}

Content Agent::get(const Message& request, AttributeMask mask) {
    const std::size_t room = request.set == MessageSet::kExtended ? kExtendedGetValues : kBaselineGetValues;
    refresh(request.entity, mask);
    const bool running = request.type == MessageType::kGetCurrentData;
    GetOutcome outcome =
        running ? performance_.current(request.entity, mask, room) : commands_.get(request.entity, mask, room);
    const Entity& entity = *mib_.find(request.entity);
    for (AttributeNumber number = 1; number <= kMaxAttributes; ++number) {
        if ((outcome.mask & entity.info().tables() & maskOf(number)) == 0) continue;
        tables_.start(request.entity, number, joined(entity.rows(number)), clock_.nowMs());
    }
    return GetAnswer{outcome.result, outcome.mask, std::move(outcome.values), outcome.unsupported, outcome.failed};
}

Content Agent::getNext(const Message& request, const TablePartAsked& asked) {
    const ClassInfo& info = *findClass(request.entity.classId);
    if (!hasOneBit(asked.mask) || (asked.mask & info.tables()) == 0)
        return refusal(request.type, Result::kParameterError);
    const std::size_t size = request.set == MessageSet::kExtended ? kExtendedTablePart : kBaselineTablePart;
    const auto [result, part] =
        tables_.part(request.entity, onlyAttribute(asked.mask), asked.part, size, clock_.nowMs());
    if (result != Result::kSuccess) return refusal(request.type, result);
    return TablePartAnswer{result, asked.mask, part.copy()};
}

Content Agent::upload(const Message& request, const Content& content) {
    if (const auto* command = std::get_if<CommandNumber>(&content)) {
        return upload_.part(command->number, request.set, clock_.nowMs());
    }
    // What lives is reported as it is at this moment.
    refreshAll();
    return CommandNumber{upload_.start(mib_, request.set, clock_.nowMs())};
}

Content Agent::alarmCopy(const Message& request, const Content& content) {
    if (const auto* command = std::get_if<CommandNumber>(&content)) {
        return alarms_.copyPart(command->number, request.set, clock_.nowMs());
    }
    const bool heldBackToo = std::get<Flags>(content).flags == 0;
    return CommandNumber{alarms_.startCopy(heldBackToo, request.set, clock_.nowMs())};
}

Content Agent::reset() {
    commands_.reset();
    alarms_.releaseAll();
    tables_.clear();
    return ResultAnswer{Result::kSuccess};
}

Content Agent::startTest(const Message& request, const TestContent& test) {
    SelfTestOutcome outcome = runSelfTest(request.entity.classId, test.bytes, hal_, device_);
    if (outcome.result == Result::kSuccess) {
        outbox_.sendTestResult(request.entity, request.transaction, std::move(outcome.report));
    }
    return ResultAnswer{outcome.result};
}

Content Agent::synchronize(const TimeSet& set) {
    performance_.synchronize(clock_.nowMs());
    if (set.time) device_.setTime(*set.time);
    return TimeAnswer{Result::kSuccess, set.time.has_value()};
}

Content Agent::image(const Message& request, const Content& content) {
    const InstanceId instance = request.entity.instance;
    if (const auto* start = std::get_if<DownloadStart>(&content)) return images_.start(instance, *start);
    if (const auto* end = std::get_if<DownloadEnd>(&content)) return images_.end(instance, *end);
    return images_.section(std::get<ImageSection>(content), request.answerWanted);
}

Content Agent::activate(const Message& request, std::uint8_t flags) {
    const Result result = images_.activate(request.entity.instance, flags);
    if (result == Result::kSuccess) restart_ = request.entity.instance;
    return ResultAnswer{result};
}

Content Agent::reboot(const Message&, std::uint8_t flags) {
    if (flags > 2) return ResultAnswer{Result::kParameterError};
    if (flags != 0 && device_.callInProgress(flags == 2)) return ResultAnswer{Result::kDeviceBusy};
    restart_ = images_.committed();
    return ResultAnswer{Result::kSuccess};
}

}  // namespace omci
