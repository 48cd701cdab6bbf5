#include "commands/OmciListen.h"

#include <malloc.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <memory>
#include <stdexcept>
#include <utility>

#include <nlohmann/json.hpp>

#include "commands/EndingSignals.h"
#include "commands/Forwarding.h"
#include "commands/OmciFiles.h"
#include "commands/StateWriter.h"
#include "hal/HALFactory.h"
#include "hal/VornHal.h"
#include "living/AnswerFaults.h"
#include "living/ExchangeCapture.h"
#include "living/LateFrames.h"
#include "living/Layout.h"
#include "living/MessageCounts.h"
#include "living/MessageNumbers.h"
#include "living/MessageSocket.h"
#include "living/MibState.h"
#include "living/MicOption.h"
#include "living/OltSide.h"
#include "living/Server.h"
#include "omci/message/FrameGate.h"
#include "running/io/Output.h"
#include "running/io/Words.h"
#include "running/program/HalOutput.h"
#include "running/program/TapOption.h"
#include "views/DeviceReport.h"
#include "views/MessageLog.h"
#include "views/MessageOutput.h"
#include "views/MessageRecord.h"
#include "views/page/MetricServer.h"

namespace vorn_onu {

namespace {

constexpr int kTickMs = 1000;
constexpr std::size_t kMaxWritten = 1000;  // messages, for the files: the latest
constexpr std::size_t kUsuallyKept = 100;  // for those who reach the board by its name
constexpr std::size_t kCallsAMessage = 5;

// What is free goes back to the system: an ONU of a fleet is small. Before there is a second thread.
void keepHeapSmall() {
    constexpr int kLargest = 64 * 1024;  // bytes, of what is free at the end of the heap, or comes from it
    mallopt(M_ARENA_MAX, 1);
    mallopt(M_TRIM_THRESHOLD, kLargest);
    mallopt(M_MMAP_THRESHOLD, kLargest);
}

class Listener : private living::OltSide {
public:
    Listener(const OmciCommand& command, std::FILE* shown)
        : command_(command),
          shown_(shown),
          terminal_(Terminal::of(shown)),
          output_(terminal_, true),
          gate_(gateOf(command.mic)),
          log_(logChoice(command.logClasses, command.logInstances, command.logTypes)),
          layout_(layoutOf(command.layout)),
          socket_(command.listenAddress, peersOf(command)),
          start_(boardStart(command.board)),
          recording_(command.recordFile, socket_.address(), command.forwarding, start_),
          capture_(command.captureFile) {
        log_.values = command.logValues;
        log_.bytes = command.logBytes;
        auto& onu = virtual_onu::VirtualOnu::instance();
        onu.reset();
        run_.name = socket_.address();
        run_.newBoard = readState(onu.toJson());
        taps_ = openTaps(command.taps);
        living_ = std::make_unique<LivingOnu>(layout_, start_);
        if (!writesMessages() || command.kept != 0) onu.keepTrace(mostKept() * kCallsAMessage);
        board_.connect(*this);
        if (!command.name.empty()) {
            server_ = std::make_unique<living::Server>(command.name, command.taps);
            server_->start(board_);
            server_->answer();
        }
        if (!command.metrics.empty()) {
            metrics_ = std::make_unique<page::MetricServer>(command.metrics, board_);
            remark("metrics: " + metrics_->link());
        }
        if (taps_ != nullptr) taps_->start();
        writer_ = std::make_unique<StateWriter>(command.jsonFile == "-" ? "" : command.jsonFile);
    }

    void untilSignal(int signals) {
        say(terminal_.bold("An ONU at " + socket_.address()) + "\n" +
            terminal_.dim(forwardingWords(command_.forwarding)) + "\n" +
            terminal_.dim("A datagram is a message; SIGTERM or Ctrl-C ends it.") + "\n\n");
        pollfd waits[] = {{socket_.descriptor(), POLLIN, 0}, {signals, POLLIN, 0}};
        auto last = std::chrono::steady_clock::now();
        while (true) {
            poll(waits, 2, late_.waitMs(kTickMs));
            if ((waits[1].revents & POLLIN) != 0) return;
            const std::lock_guard<std::mutex> calls(board_.hal());
            for (const omci::Bytes& frame : late_.due()) sendFrame(frame);
            for (int taken = 0; taken < kMaxAtOnce; ++taken) {
                const auto datagram = socket_.receive();
                if (!datagram) break;
                take(*datagram);
            }
            const auto now = std::chrono::steady_clock::now();
            if (now - last < std::chrono::milliseconds(kTickMs)) continue;
            last = now;
            tell(living_->tick());
            capture_.flush();
            if (changed_) malloc_trim(0);
            writeState();
        }
    }

    void summary(HalOutput& hal) {
        metrics_.reset();
        if (server_) server_->stop("the ONU has been asked to end");
        writer_.reset();
        say(output_.flush());
        const nlohmann::json device = virtual_onu::VirtualOnu::instance().toJson();
        const DeviceState state = readState(device);
        const std::string report = deviceReport(state, run_.newBoard, terminal_);
        say(output_.rule("What is on the device"));
        say(report.empty() ? "\n  Nothing: the device is as new.\n" : report);
        say(warnings(state, terminal_) + output_.closing(tally_));
        if (const std::string words = droppedWords(); !words.empty()) say("  " + words + "\n");
        say("  what the HAL printed: " + hal.path() + " (" + std::to_string(hal.lines()) + " lines)\n");
        if (command_.jsonFile == "-") print(shown_, omciJson(run_, device));
        capture_.flush();
        recording_.finish();
        writeOmciFiles(command_, run_, device);
    }

    bool good() const { return tally_.good(); }

private:
    static constexpr int kMaxAtOnce = 64;  // datagrams, before a signal and the clock are looked at

    static omci::FrameGate gateOf(const std::string& mic) {
        const auto integrity = integrityOf(mic);
        return integrity ? omci::FrameGate(*integrity) : omci::FrameGate();
    }

    static Peers peersOf(const OmciCommand& command) { return command.peer.empty() ? Peers() : Peers(command.peer); }

    void say(const std::string& text) {
        if (!command_.quiet && command_.jsonFile != "-") print(shown_, text);
    }

    std::string droppedWords() const {
        const omci::GateCounters& counted_ = gate_.counters();
        const std::uint64_t dropped = counted_.dropped() + socket_.ofOthers();
        if (dropped == 0) return "";
        std::vector<std::string> kinds;
        const auto add = [&kinds](std::uint64_t count, const char* what) {
            if (count > 0) kinds.push_back(std::to_string(count) + what);
        };
        add(counted_.badFrames, " no messages");
        add(counted_.otherForms, " of another size");
        add(counted_.wrongCodes, " with a wrong integrity code");
        add(socket_.ofOthers(), " of others than the peer");
        return counted(static_cast<std::size_t>(dropped), "datagram") + " dropped: " + joined(kinds);
    }

    void take(const omci::Bytes& datagram) {
        capture_.add(omci::Direction::kDownstream, datagram);
        const omci::DecodedFrame decoded = omci::decodeFrame(datagram);
        const omci::Gate gate = gate_.take(decoded, datagram);
        if (gate != omci::Gate::kTaken) {
            const bool bad = decoded.error != omci::FrameError::kNone;
            say("  " +
                terminal_.yellow(std::string("! a datagram is dropped: ") +
                                 (bad ? omci::nameOf(decoded.error) : omci::nameOf(gate))) +
                "\n");
            return;
        }
        socket_.taken();
        const auto begin = std::chrono::steady_clock::now();
        Handling handling = living_->handle(decoded.message);
        std::string fault;
        if (handling.handled.answer) {
            faults_.alter(decoded.message, *handling.handled.answer);
            fault = sendAnswer(*handling.handled.answer);
        }
        const double latencyMs =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
        for (const omci::Message& message : handling.autonomous) send(message);
        Played one = played(decoded.message, handling);
        if (one.answer) one.latencyMs = latencyMs;
        one.fault = std::move(fault);
        keep(std::move(one));
        changed_ = true;
    }

    Played numbered(const omci::Message& message) {
        Played one;
        one.number = ++number_;
        one.place = one.number;
        one.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
        one.microseconds = static_cast<std::uint64_t>(
            std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch())
                .count());
        one.message = message;
        one.text = omci::textOf(message);
        return one;
    }

    Played played(const omci::Message& message, const Handling& handling) {
        Played one = numbered(message);
        numbers_.add(handling.handled.message, one.number);
        addHandling(one, handling, [this](std::uint64_t number) { return numbers_.of(number); });
        return one;
    }

    bool writesMessages() const { return !command_.jsonFile.empty() || !command_.reportFile.empty(); }
    std::size_t mostKept() const {
        if (command_.kept != 0) return command_.kept;
        return writesMessages() ? kMaxWritten : kUsuallyKept;
    }

    void keep(Played one) {
        if (!command_.quiet) say(command_.log ? logText(one, log_) : output_.message(one));
        tally_.add(one);
        counts_.add(one);
        for (const HalStep& call : one.calls) recording_.add(call);
        // A message with its calls and rules is several times as large as what is told of it.
        if (server_ && !writesMessages()) records_.push_back(messageRecord(one).dump());
        if (writesMessages()) run_.messages.push_back(std::make_shared<const Played>(std::move(one)));
        if (std::max(run_.messages.size(), records_.size()) <= mostKept()) return;
        writesMessages() ? run_.messages.pop_front() : records_.pop_front();
        ++run_.before;
    }

    void tell(const std::vector<omci::Message>& messages) {
        for (const omci::Message& message : messages) {
            send(message);
            Played one = numbered(message);
            one.fromOnu = true;
            keep(std::move(one));
            changed_ = true;
        }
    }

    void send(const omci::Message& message) { sendFrame(gate_.frameOf(message)); }

    void sendFrame(const omci::Bytes& frame) {
        capture_.add(omci::Direction::kUpstream, frame);
        socket_.send(frame);
    }

    // In words what a fault has made of it; "" where it went as it is.
    std::string sendAnswer(const omci::Message& answer) {
        const AnswerFate fate = faults_.next();
        if (fate.dropped) return fate.words;
        omci::Bytes frame = gate_.frameOf(answer);
        if (fate.damaged) damage(frame);
        for (int copies = fate.twice ? 2 : 1; copies > 0; --copies) {
            if (fate.delayMs != 0)
                late_.add(frame, std::chrono::milliseconds(fate.delayMs));
            else
                sendFrame(frame);
        }
        return fate.words;
    }

    // ---- for those who reach the board by its name ----

    void arm(const MessageFault& fault) override {
        faults_.arm(fault);
        if (fault.dataSync != 0) living_->moveDataSync(fault.dataSync);
        if (fault.reboot != 0) living_->reboot();
    }
    void clear() override { faults_.clear(); }
    nlohmann::json armed() const override { return faults_.armed(); }
    nlohmann::json mib() override { return mibJson(living_->mib()); }
    std::uint64_t messageCount() const override { return number_; }
    living::MetricText metrics() override {
        return counts_.metrics(gate_.counters(), socket_.ofOthers(), living_->mib());
    }
    nlohmann::json messages(std::uint64_t after, std::size_t most) override {
        auto list = nlohmann::json::array();
        const std::size_t known = after > run_.before ? static_cast<std::size_t>(after - run_.before) : 0;
        for (std::size_t at = known; at < run_.messages.size() && list.size() < most; ++at)
            list.push_back(messageRecord(*run_.messages[at]));
        for (std::size_t at = known; at < records_.size() && list.size() < most; ++at)
            list.push_back(nlohmann::json::parse(records_[at]));
        return list;
    }

    void writeState() {
        if (!std::exchange(changed_, false) || command_.jsonFile.empty() || command_.jsonFile == "-") return;
        OmciRun moment;
        moment.name = run_.name;
        moment.messages = run_.messages;
        moment.before = run_.before;
        // Without the calls into the device, which may be many thousands: the file has them when the ONU has ended.
        writer_->write([moment] { return omciJson(moment, virtual_onu::VirtualOnu::instance().toJsonWithoutTrace()); });
    }

    const OmciCommand& command_;
    std::FILE* shown_;
    Terminal terminal_;
    MessageOutput output_;
    MessageTally tally_;
    omci::FrameGate gate_;
    LogChoice log_;
    omci::BoardNumbering layout_;
    MessageSocket socket_;
    BoardStart start_;
    CallRecording recording_;
    ExchangeCapture capture_;
    OmciRun run_;
    std::deque<std::string> records_;  // of messages, where nothing but they is asked for
    std::unique_ptr<virtual_onu::Taps> taps_;
    std::unique_ptr<LivingOnu> living_;
    MessageNumbers numbers_;
    MessageCounts counts_;
    AnswerFaults faults_;
    LateFrames late_;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::size_t number_ = 0;
    bool changed_ = true;
    living::OwnBoard board_{virtual_onu::VirtualOnu::instance(), *HALFactory::getInstance()->CreateHALObject(0),
                            nlohmann::json{{"kind", "omci"}, {"program", {socket_.address()}}, {"hal", true}}};
    std::unique_ptr<living::Server> server_;
    std::unique_ptr<page::MetricServer> metrics_;
    std::unique_ptr<StateWriter> writer_;
};

// Whoever can send to the ONU can make it do what an OLT can.
void checkReach(const OmciCommand& command) {
    if (isOfThisMachine(command.listenAddress)) return;
    if (command.peer.empty() || command.mic.compare(0, 5, "cmac:") != 0)
        throw std::invalid_argument(command.listenAddress +
                                    ": others reach it; that needs --peer ADDRESS, whose messages are taken, and --mic "
                                    "cmac:KEY, by which they are known");
}

}  // namespace

int listenToOlt(const OmciCommand& command) {
    if (!command.from.empty()) throw std::invalid_argument("omci: --from goes with a FILE, not with --listen");
    checkReach(command);
    const int signals = endingSignals();
    if (signals < 0) throw std::runtime_error("signals cannot be waited for");
    keepHeapSmall();
    HalOutput hal("omci");
    Listener listener(command, hal.shown());
    listener.untilSignal(signals);
    listener.summary(hal);
    close(signals);
    return listener.good() ? kHeld : kNotHeld;
}

}  // namespace vorn_onu
