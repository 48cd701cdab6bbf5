// The ONU's end of the management channel (ITU-T G.988): one request in, one answer out, and what the ONU sends by
// itself.
#ifndef OMCI_AGENT_AGENT_H
#define OMCI_AGENT_AGENT_H

#include <cstdint>
#include <optional>
#include <vector>

#include "omci/agent/Alarms.h"
#include "omci/agent/Clock.h"
#include "omci/agent/CounterSources.h"
#include "omci/agent/Device.h"
#include "omci/agent/Outbox.h"
#include "omci/agent/Performance.h"
#include "omci/agent/SoftwareImages.h"
#include "omci/agent/Transactions.h"
#include "omci/message/Contents.h"
#include "omci/mib/Board.h"
#include "omci/mib/Commands.h"
#include "omci/mib/Mib.h"
#include "omci/mib/Upload.h"

class VornHal;

namespace omci {

// Why a message got no answer.
enum class Dropped : std::uint8_t {
    kNo,             // it was answered
    kNotARequest,    // an answer, or what only an ONU sends
    kNoTransaction,  // transaction 0 is the ONU's own
    kUnknownSet,     // the extended set, which the board's OMCC version does not have
    kNoAnswerAsked,  // carried out; no answer was wanted (sections of a window)
};
const char* nameOf(Dropped dropped);

struct Handled {
    std::optional<Message> answer;
    Dropped dropped = Dropped::kNo;
    bool repeated = false;      // came once more: the stored answer, nothing was done
    std::uint64_t message = 0;  // number of the request, counted from 1; the cause of the MIB's changes (Mib::setCause)
};

// Not thread safe. Nothing happens between the calls: time passes in tick().
class Agent {
public:
    // hal, device and clock live as long as this object.
    Agent(const Board& board, VornHal& hal, Device& device, Clock& clock);
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    Mib& mib() { return mib_; }
    const Mib& mib() const { return mib_; }
    const Board& board() const { return board_; }
    Alarms& alarms() { return alarms_; }
    const SoftwareImages& images() const { return images_; }

    // Carries out a request and gives its answer. Call afterAnswer() when the answer has been sent.
    Handled handle(const Message& request);
    // What has to wait until the answer has gone: a restart. Does nothing where nothing waits.
    void afterAnswer();
    // Restarts with the committed image, as after a loss of power: what a reboot does, without a message.
    void restartByItself() { restart(images_.committed()); }
    // What the ONU sends by itself since the last call, in order.
    std::vector<Message> takeAutonomous() { return outbox_.take(); }
    // Lets what time brings happen: ends of intervals and of alarm reporting control, crossed thresholds, port states
    // and optical levels. Once a second is meant; more often costs little.
    void tick();

    // The state of an Ethernet port's link: its attributes and the alarm LAN-LOS.
    void portChanged(InstanceId ethernetPort, const PortState& state);
    // The state of a VEIP: its attribute and the alarm of a failed connecting function.
    void veipChanged(InstanceId veip, bool connected);
    // The current addresses of an IP host.
    void hostChanged(InstanceId ipHost, const HostAddresses& addresses);

private:
    Content execute(const Message& request);
    Content executeOnEntity(const Message& request, const Content& content);
    Content create(const Message& request, const CreateValues& values);
    Content set(const Message& request, const AttributeValues& values);
    Content get(const Message& request, AttributeMask mask);
    Content getNext(const Message& request, const TablePartAsked& asked);
    Content upload(const Message& request, const Content& content);
    Content alarmCopy(const Message& request, const Content& content);
    Content reset();
    Content startTest(const Message& request, const TestContent& test);
    Content synchronize(const TimeSet& set);
    Content image(const Message& request, const Content& content);
    Content activate(const Message& request, std::uint8_t flags);
    Content reboot(const Message& request, std::uint8_t flags);
    void refresh(EntityKey entity, AttributeMask mask);
    void refreshPortOf(const Entity& bridgePort);
    std::optional<JoinedGroups> joinedAt(const Entity& bridgePort);
    void refreshLostGroups(EntityKey profile);
    void refreshMonitor(EntityKey monitor, const Entity& bridgePort);
    void refreshAll();
    void afterSet(EntityKey entity, AttributeMask mask);
    void raiseDataSync(EntityKey changed);
    void restart(InstanceId image);
    void watchPorts();
    void watchVeips();
    void watchHosts();
    void watchOptics();
    void watchBitErrors();

    Board board_;
    VornHal& hal_;
    Device& device_;
    Clock& clock_;
    Mib mib_;
    MibCommands commands_;
    Outbox outbox_;
    Alarms alarms_;
    CounterSources sources_;
    Performance performance_;
    SoftwareImages images_;
    Transactions transactions_;
    MibUpload upload_;
    TableCopies tables_;
    std::uint64_t startedMs_;
    std::uint64_t lastWatch_ = 0;  // seconds since the start
    std::uint64_t messages_ = 0;
    std::optional<InstanceId> restart_;  // the image that the ONU restarts with after the answer
};

}  // namespace omci

#endif
