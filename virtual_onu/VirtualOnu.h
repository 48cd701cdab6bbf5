// The virtual ONU: a workstation's stand-in for the device kit and the kernel of an ONU.
//
// The shared library virtual_onu defines every function of the device kit and interposes the few C library functions
// through which a HAL reaches the device. Link it (or preload it) in front of a program that uses the HAL, then look at
// the device through this header. Every member function may be called from any thread.
#ifndef VIRTUAL_ONU_VIRTUAL_ONU_H
#define VIRTUAL_ONU_VIRTUAL_ONU_H

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#if __has_include(<nlohmann/json_fwd.hpp>)
#include <nlohmann/json_fwd.hpp>
#define VIRTUAL_ONU_HAS_JSON 1
#endif

#include "Export.h"
#include "Frames.h"

namespace virtual_onu {

// ---- Network devices and bridges ----

struct VIRTUAL_ONU_API NetworkDevice {
    std::string name;
    int index = 0;  // kernel interface index, above 0
    bool up = false;
    unsigned flags = 0;  // as last set with SIOCSIFFLAGS
    int mtu = 1500;
    std::string mac;                     // "02:00:00:00:00:01"
    std::vector<std::string> addresses;  // "10.0.0.5 netmask 255.255.255.0 broadcast 10.0.0.5"
    std::string master;                  // bridge that the device is a member of, or ""
    std::string realDevice;              // device under a VLAN device, or ""
    bool isBridge = false;
    bool routed = false;     // of a VLAN device
    bool multicast = false;  // of a VLAN device
    bool ipv6Disabled = false;
    bool takenDown = false;                           // somebody has written its flags, and it is not up; not compared
    std::string operState;                            // "up" or "down", as /sys/class/net/<name>/operstate says
    std::map<std::string, std::uint64_t> statistics;  // /sys/class/net/<name>/statistics/<key>
    bool operator==(const NetworkDevice& other) const;
};

struct VIRTUAL_ONU_API BridgePort {
    std::string name;
    int priority = 32;
    int pathCost = 100;
    bool isolated = false;  // nothing passes between it and another isolated port of the bridge
    // Since it runs (it, its link and the bridge are up) a port passes through listening and learning, with the
    // spanning tree on; without it, it forwards at once. Virtual milliseconds, not compared.
    bool running = false;
    std::uint64_t learningFromMs = 0, forwardingFromMs = 0;
    bool operator==(const BridgePort& other) const;
};

struct VIRTUAL_ONU_API Bridge {
    std::string name;
    std::vector<BridgePort> ports;  // in the order of joining
    bool stp = false;
    int forwardDelay = 1500;  // hundredths of a second, like the next three
    int helloTime = 200;
    int maxAge = 2000;
    int ageingTime = 30000;
    int priority = 32768;
    bool multicastSnooping = true;  // IGMP and MLD; not compared
    bool operator==(const Bridge& other) const;
    std::vector<std::string> members() const;  // the names of the ports
};

struct VIRTUAL_ONU_API JoinedGroup {
    std::string bridge, port;
    bool ipv6 = false;
    std::array<std::uint8_t, 16> group{};  // IPv4 has four octets, the others are 0
    std::uint64_t ageMs = 0;               // since the last join
    std::uint64_t silentMs = 0;            // since the last frame to the group, or the first join where none has come
};

// An address that a bridge has learned.
struct VIRTUAL_ONU_API LearnedAddress {
    std::string bridge;
    std::string mac;
    std::string port;
    std::uint64_t ageMs = 0;  // since it was last seen, by the virtual clock
};

// ---- Tag rules ----

constexpr unsigned kReceive = 0;   // VLANCTL_DIRECTION_RX
constexpr unsigned kTransmit = 1;  // VLANCTL_DIRECTION_TX

// One filter or command of a tag rule.
struct VIRTUAL_ONU_API RuleTerm {
    enum class Kind {
        // Filters.
        RxDevice,
        TxDevice,
        Pbits,
        Cfi,
        Vid,
        TagType,
        Type,
        IpProto,
        Gem,
        // Commands.
        Push,
        Pop,
        SetPbits,
        SetCfi,
        SetVid,
        SetTagType,
        SetType,
        CopyPbits,
        CopyCfi,
        CopyVid,
        CopyTagType,
        DscpToPbits,
        Drop,
        MarkGem,
        MarkQueue,
    };
    Kind kind;
    std::uint32_t value = 0;  // the number compared or set; the source tag of a copy
    std::uint32_t tag = 0;    // tag index; the target tag of a copy
    std::string device;       // RxDevice and TxDevice
    bool isCommand() const { return kind >= Kind::Push; }
    bool operator==(const RuleTerm& other) const;
    // rxdev=sid0.3 txdev=sid0.3 pbits0=5 cfi0=1 vid0=100 tagtype0=0x8100 type=0x0800 ipproto=2 gem=7
    // push pop pbits0:=5 cfi0:=0 vid0:=200 tagtype0:=0x88a8 type:=0x88a8 pbits0:=pbits1 cfi0:=cfi1 vid0:=vid1
    // tagtype0:=tagtype1 pbits0:=dscp drop mark-gem:=7 mark-queue:=2
    std::string text() const;
};

struct VIRTUAL_ONU_API TagRule {
    std::uint32_t id = 0;
    std::vector<RuleTerm> terms;  // in the order added
    bool operator==(const TagRule& other) const;
    // Filters, then " | " and the commands if there are any: "rxdev=sid0.3 vid0=100 | push vid0:=200". A rule without
    // filters reads "any".
    std::string text() const;
};

struct VIRTUAL_ONU_API DefaultAction {
    unsigned action = 0;  // 0 pass to device, 1 drop
    std::string device;
    bool operator==(const DefaultAction& other) const;
};

// The rules for frames with this many tags on one real device and in one direction.
struct VIRTUAL_ONU_API RuleTable {
    std::string device;
    unsigned direction = kReceive;
    unsigned tags = 0;
    std::vector<TagRule> rules;  // in the order of matching
    std::optional<DefaultAction> defaultAction;
    bool operator==(const RuleTable& other) const;
};

// What a filter does that asks for a number which no frame can carry, p-bits above 7 or a VID above 4095. How the kit
// answers is not known.
enum class OutOfRangeFilters { NeverMatch, MatchAnything, Masked };

// ---- PON ----

struct VIRTUAL_ONU_API GemPort {
    unsigned index = 0;
    unsigned portId = 0;
    unsigned allocId = 0;
    bool downstreamOnly = false;
    bool enabled = false;
    // counter[0..9] of the kit's record. Frames move 0 and 1 (frames and octets sent), 2 and 3 (received) and 6
    // (discarded frames); the rest is what setGemCounter makes of it.
    std::vector<std::uint32_t> counters;
    bool operator==(const GemPort& other) const;
};

struct VIRTUAL_ONU_API Queue {
    unsigned id = 0, priority = 0, size = 0, weight = 0, schedMode = 0, shapingRate = 0, shapingBurst = 0;
    std::uint64_t frames = 0, octets = 0;  // sent since the queue was made; not compared
    bool operator==(const Queue& other) const;
};

struct VIRTUAL_ONU_API Tcont {
    unsigned index = 0;
    unsigned allocId = 65535;     // 65535: not bound
    bool trafficManaged = false;  // between portTmInit and portTmUninit
    std::vector<Queue> queues;    // by ascending id
    bool operator==(const Tcont& other) const;
};

// ---- Message bus ----

struct BusMessage {
    std::uint32_t type = 0, source = 0, destination = 0;
    std::uint16_t flags = 0;
    std::vector<std::uint8_t> payload;
    std::vector<std::uint8_t> raw;  // header and payload as sent
};

enum class GatewayMode { Answers, Silent };

// ---- Counts ----

// A function of the device kit.
struct VIRTUAL_ONU_API CallCount {
    std::string name;
    std::uint64_t calls = 0, failures = 0;  // failures: isFailedCall()
};

// Frames that came in at a port, or in a GEM port, and came to the same end.
struct VIRTUAL_ONU_API FrameCount {
    bool upstream = false;
    std::string fate;  // "forwarded": a copy has left; else why the last copy was dropped: "no_rule", "link_down", ...
    std::uint64_t frames = 0;
};

// Whether a result of a function of the device kit says that the call has failed: some answer with a length or a
// number, and some with what the caller wanted to know.
VIRTUAL_ONU_API bool isFailedCall(const std::string& name, long result);

// ---- Trace, faults ----

enum class CallKind { Platform, Ioctl, File, Socket, Shell, Wait, Log };

struct VIRTUAL_ONU_API TraceEntry {
    std::uint64_t number = 0;  // counted from 1 since the last reset or clearTrace
    CallKind kind = CallKind::Platform;
    std::string name;  // "vlanCtl_insertTagRule", "ioctl", "system", "sleep", ...
    // "\"sid0\", 0, 1, 2, 4294967295, &3": texts quoted and escaped as in C, what an out pointer received behind &,
    // "&-" when the call failed and left it alone. Log lines are named "log" and read: level, "function", "text".
    std::string arguments;
    long result = 0;
    bool injected = false;  // a fault that was asked for has decided the result
    // name(arguments) = result
    std::string text() const;
};

struct ShellCommand {
    std::string text;
    bool understood = false;
};

// A scripted answer of the character device "/dev/ngpon2_stack" to one request number.
struct StackAnswer {
    std::vector<std::uint8_t> record;  // copied over the caller's record from its first byte
    int error = 0;                     // errno of a failing request; 0 succeeds
};

class VIRTUAL_ONU_API VirtualOnu {
public:
    static VirtualOnu& instance();
    VirtualOnu(const VirtualOnu&) = delete;
    VirtualOnu& operator=(const VirtualOnu&) = delete;

    // A factory-new board: devices gpondef, sid0..sid7, eth0, eth1; MAC 02:10:20:30:40:50, serial number, part number;
    // two images; a laser; empty tables, trace, faults and files. The clock does not really sleep, the gateway answers.
    // The trace listener is forgotten too. Handles and descriptors of the message bus stay good.
    void reset();

    // ---- network devices and bridges ----
    std::vector<NetworkDevice> devices() const;  // by ascending index
    std::optional<NetworkDevice> device(const std::string& name) const;
    bool deviceExists(const std::string& name) const;
    std::vector<Bridge> bridges() const;
    std::optional<Bridge> bridge(const std::string& name) const;
    // Test set-up, as if another part of the device had made it. False when the name is taken or too long.
    bool addDevice(const std::string& name, const std::string& realDevice = "");
    bool removeDevice(const std::string& name);
    // A state as RFC 2863 names it, whatever the device's flags say; "" for what the flags say.
    void setOperState(const std::string& name, const std::string& state);
    // The state that setOperState() was given last; "" when the flags decide, or there is no such device.
    std::string givenOperState(const std::string& name) const;
    void setStatistic(const std::string& device, const std::string& key, std::uint64_t value);
    // vlanCtl_deleteVlanInterface of this device fails the next `times` times.
    void refuseDeletion(const std::string& device, int times, int code = 1);
    std::vector<std::string> ipRules() const;                     // "from 10.0.0.5 table 12"
    std::vector<std::string> ipRoutes() const;                    // "default via 10.0.0.1 dev br3.2 table 12"
    std::vector<std::vector<std::uint8_t>> packetFrames() const;  // frames sent through packet sockets
    // Network devices and bridges live in the caller's own network namespace instead of in memory. Off by default;
    // false when the kernel or the rights are missing, with the reason in *why.
    bool useHostKernel(bool on, std::string* why = nullptr);

    // ---- tag rules ----
    std::vector<RuleTable> ruleTables() const;  // the tables that hold a rule or a default action
    std::vector<TagRule> rules(const std::string& device, unsigned direction, unsigned tags) const;
    std::vector<std::string> ruleTexts(const std::string& device, unsigned direction, unsigned tags) const;
    std::optional<DefaultAction> defaultAction(const std::string& device, unsigned direction, unsigned tags) const;
    std::size_t ruleCount() const;
    std::vector<std::pair<std::string, std::string>> flows() const;  // (from, to), in the order of creation, no repeats

    void setOutOfRangeFilters(OutOfRangeFilters behaviour);  // NeverMatch on a new board
    OutOfRangeFilters outOfRangeFilters() const;

    // ---- PON ----
    std::vector<Tcont> tconts() const;
    std::optional<Tcont> tcont(unsigned index) const;
    std::vector<GemPort> gemPorts() const;
    std::optional<GemPort> gemPort(unsigned portId) const;
    // As if the driver had it already: a GEM port with a chosen index, also one that the driver itself never gives out.
    // std::invalid_argument when the port id or the index is taken or above 65535.
    void addGemPort(unsigned portId, unsigned index, unsigned allocId = 65535);
    // counter 0..9 of a port that exists; std::invalid_argument otherwise.
    void setGemCounter(unsigned portId, unsigned counter, std::uint32_t value);
    std::optional<unsigned> adminState() const;  // of the GPON link, once started

    // ---- runner and ingress queue ----
    std::vector<std::string> runnerObjects() const;     // "ingress_class/dir=us,index=12", in the order of creation
    std::vector<std::string> ingressQueueKeys() const;  // what the "iq" commands left behind
    std::vector<ShellCommand> shellCommands() const;    // every command run through the shell, in order
    std::vector<int> killedProcesses() const;
    // A process as `ps` lists it, such as (123, "dhcpc -i br3.2 -B -l 3600"); `kill` ends it.
    void addProcess(int pid, const std::string& commandLine);
    std::vector<std::pair<int, std::string>> processes() const;

    // ---- message bus ----
    // The gateway answers every service message (0x10002250, 0x10002254, flag request) with the same message after the
    // delay in real time, or never.
    void setGateway(GatewayMode mode, int answerDelayMs = 10);
    // Off: who receives with a timeout, and finds no message while the gateway is to answer none, does not wait for
    // one. On after reset().
    void letReceiversWait(bool on);
    std::vector<BusMessage> sentMessages() const;  // what the OMCI side has sent, the latest 10,000
    // The gateway sends a message to the OMCI side. dataLength says what the header claims (the payload's size if < 0):
    // the receiver gets that many bytes, the payload cut or followed by zeros, 65536 at most.
    void gatewaySends(std::uint32_t type, const std::vector<std::uint8_t>& payload, long dataLength = -1);

    // ---- board ----
    // "02:10:20:30:40:50"; std::invalid_argument for anything else, as for a PHY port outside 0..7 below.
    void setBaseMac(const std::string& mac);
    void setSerialNumber(const std::string& text);
    void setPartNumber(const std::string& text);
    void setBootedPartition(int partition);
    void setImageVersion(int image, const std::string& version);
    void setPhy(int port, bool linkUp, int speed, int duplex);
    std::pair<int, int> phyMode(int port) const;  // speed, duplex
    bool phyHasLink(int port) const;
    void setOptics(std::uint16_t rawReceive, std::uint16_t rawTransmit);
    std::pair<std::uint16_t, std::uint16_t> optics() const;  // raw receive, raw transmit
    // Wrong bits among 10^12 that come down, before they are corrected; no frame is lost by them.
    void setBitErrors(std::uint64_t perTerabit);
    std::uint64_t bitErrors() const;
    void setI2cImage(const std::vector<std::uint8_t>& image);
    void setStackAnswer(unsigned request, StackAnswer answer);
    // The record of the last request with this number as the driver received it; empty when there was none.
    std::vector<std::uint8_t> stackRequest(unsigned request) const;
    void setPersistent(const std::string& key, const std::string& value);
    std::optional<std::string> persistent(const std::string& key) const;

    // ---- files of the device ----
    // Device paths ("/proc/driver/i2c/first_mac", "/var/mcpd.conf", ...) are kept in memory, never on the host.
    void writeFile(const std::string& devicePath, const std::string& content);
    std::optional<std::string> readFile(const std::string& devicePath) const;
    void removeFile(const std::string& devicePath);
    void denyFile(const std::string& devicePath, bool denied = true);  // opening it fails with EACCES
    int openDescriptors() const;  // descriptors of device files and character devices that are open now

    // ---- frames ----
    // Where a frame goes that arrives at a port (sid0, eth0, veip0 from the gateway's side) or in a GEM port. The walk
    // is the answer. Bridges learn from the frame, and devices, GEM ports and queues count it; with Learning::Off the
    // answer is the same and the device is afterwards as it was.
    Walk sendFromPort(const std::string& device, const Frame& frame, Learning learning = Learning::On);
    Walk sendFromPon(unsigned gemPortId, const Frame& frame, Learning learning = Learning::On);
    // Likewise for a frame's bytes, as real packets are carried: the copies that leave, nothing where it is dropped.
    // With an offload for all frames that come of it, each of which is counted. They leave as one where all have the
    // same path and tags that other hosts can cut behind, otherwise frame by frame.
    std::vector<WireExit> carryFromPort(const std::string& device, const std::vector<std::uint8_t>& bytes,
                                        const Offload& offload = {});
    std::vector<WireExit> carryFromPon(unsigned gemPortId, const std::vector<std::uint8_t>& bytes,
                                       const Offload& offload = {});
    // The data path as it is now, for frames to be sent later, whatever becomes of the device.
    FrozenDataPath freezeDataPath() const;
    // Groups that the stations behind the ports of a bridge have joined, and the joins heard at a port so far.
    std::vector<JoinedGroup> joinedGroups() const;
    std::uint32_t joinMessages(const std::string& port) const;
    std::vector<LearnedAddress> learnedAddresses() const;  // by bridge and address, those that have not aged
    void forgetLearned();                                  // the addresses and multicast groups that the bridges know
    // IGMP and MLD snooping of a bridge, on as the kernel has it. False when there is no such bridge.
    bool setMulticastSnooping(const std::string& bridge, bool on);

    // ---- trace ----
    std::vector<TraceEntry> trace() const;  // the latest 200,000 entries
    void keepTrace(std::size_t most);       // from now on until reset(), so many
    // Those with a higher number than this, the oldest first and at most so many. Threads that call the device
    // meanwhile wait for the copy of these alone.
    std::vector<TraceEntry> traceAfter(std::uint64_t number, std::size_t most) const;
    std::uint64_t traced() const;  // the number of the last entry
    std::vector<std::string> traceTexts(CallKind kind) const;
    std::vector<std::string> traceTexts() const;
    void clearTrace();
    // Called for every entry as it is made, on the calling thread, outside of any lock. Null stops it.
    void onTrace(std::function<void(const TraceEntry&)> listener);

    // ---- counts, of this process since the board is new ----
    std::vector<CallCount> callCounts() const;    // by name, those that were called
    std::vector<FrameCount> frameCounts() const;  // every direction and fate; frames of Learning::Off are not counted

    // ---- faults ----
    // The nth next call (1 is the very next) of this function fails with the code: the result of a platform function,
    // errno for "ioctl", "open", "fopen", "socket", "bind", "sendto", "popen", the status for "system". A name may be
    // narrowed to a request: "ioctl:SIOCSIFMTU", "open:/dev/laser_dev", "vlanCtl_insertTagRule:sid0" (the first device
    // that the call names). Code 0 skips the work of a call and reports success. Answers the fault's own number.
    std::uint64_t failNext(const std::string& function, int nth, int code);
    // How many calls a fault of failNext still waits for; nothing once it has fired or has been cleared.
    std::optional<int> callsUntilFault(std::uint64_t fault) const;
    // The names that failNext knows: functions of the device kit and the C library, "ioctl:" with each request.
    static std::vector<std::string> faultNames();
    // Every call from now on with one of these numbers (counted from 1 over platform calls, ioctl, open, system) fails.
    void failCall(std::uint64_t number, int code);
    std::uint64_t callCount() const;  // calls that failCall counts, since reset
    void clearFaults();

    // ---- clock ----
    // Waits are recorded and end at once; idle waits (select without descriptors) end in real time or with advance().
    void sleepForReal(bool on);
    // Every thread lives through this time in its idle waits: a thread that polls each second polls ten times at once
    // after advance(10000), whether it waits already or comes to its wait later.
    void advance(unsigned milliseconds);
    std::uint64_t slept() const;  // milliseconds that waits (not idle waits) have asked for since reset

    // ---- a board in a file ----
    // From now on the board is what the file says, and the file holds it after every change: whoever is killed leaves
    // the board as it was after its last call. A file that is not there yet, or is empty, begins with the board as it
    // exists. Processes that are forked or started meanwhile may open the same board. std::runtime_error with what is
    // wrong; the board and the file are then as before.
    enum class BoardUse {
        Shared,  // others may work on the board
        Alone,   // nobody else is working on it: otherwise refused
        Run,     // alone; and the trace, faults, messages and commands of the run are shared with forked processes too
    };
    void openBoard(const std::string& file, BoardUse use = BoardUse::Alone);
    // The file keeps the board as it is now; the board here goes on without it. As reset() does, too.
    void closeBoard();

    // ---- whole state ----
#ifdef VIRTUAL_ONU_HAS_JSON
    // Keys: network, vlan, pon, runner, bus, board, shell, files, clock, calls, trace. There where nlohmann-json is.
    nlohmann::json toJson() const;
    nlohmann::json toJsonWithoutTrace() const;  // with an empty list for it
    nlohmann::json tapsToJson() const;          // its member "taps", real packets; an empty list where there are none
    // Its member "faults": what failNext and failCall wait for, as fault steps of a scenario would ask for it.
    nlohmann::json faultsToJson() const;
#endif
    // Counts changes of what decides where frames go: devices, bridges, rules, links, GEM ports, queues, runner
    // classes.
    std::uint64_t changes() const;
    // Devices, bridges, rules, flows, T-CONTs, GEM ports, runner objects, keys, addresses: what provisioning changes,
    // one line each. Rule ids, interface indexes and MACs are left out: they differ after the same work done twice.
    std::string stateText() const;

private:
    VirtualOnu();
    ~VirtualOnu() = delete;
};

#ifdef VIRTUAL_ONU_HAS_JSON
VIRTUAL_ONU_API nlohmann::json traceJson(const std::vector<TraceEntry>& entries);  // as toJson() has them
#endif

}  // namespace virtual_onu

#endif
