#include "commands/OmciListen.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "living/MessageSocket.h"
#include "commands/EndingSignals.h"
#include "commands/OmciFiles.h"
#include "hal/HALFactory.h"
#include "hal/VornHal.h"
#include "running/io/Files.h"
#include "running/io/Output.h"
#include "living/Server.h"
#include "omci/message/Integrity.h"
#include "views/DeviceReport.h"
#include "running/program/HalOutput.h"
#include "views/MessageOutput.h"
#include "running/program/TapOption.h"

namespace vorn_onu {

namespace {

constexpr int kTickMs = 1000;
constexpr std::size_t kMostKept = 100000;  // messages, for the files and the closing lines

class Listener {
public:
    Listener(const OmciCommand& command, std::FILE* shown)
        : command_(command),
          shown_(shown),
          terminal_(Terminal::of(shown)),
          output_(terminal_, true),
          socket_(command.listenAddress) {
        auto& onu = virtual_onu::VirtualOnu::instance();
        onu.reset();
        run_.name = socket_.address();
        run_.newBoard = readState(onu.toJson());
        taps_ = openTaps(command.taps);
        living_ = std::make_unique<LivingOnu>();
        if (!command.name.empty()) {
            server_ = std::make_unique<living::Server>(command.name, command.taps);
            server_->start(board_);
        }
        if (taps_ != nullptr) taps_->start();
        run_.numberOf = [this](std::uint64_t message) {
            const auto found = numbers_.find(message);
            return found != numbers_.end() ? found->second : 0;
        };
    }

    void untilSignal(int signals) {
        say(terminal_.bold("An ONU at " + socket_.address()) + "\n" +
            terminal_.dim("A datagram is a message; SIGTERM or Ctrl-C ends it.") + "\n\n");
        pollfd waits[] = {{socket_.descriptor(), POLLIN, 0}, {signals, POLLIN, 0}};
        auto last = std::chrono::steady_clock::now();
        while (true) {
            poll(waits, 2, kTickMs);
            if ((waits[1].revents & POLLIN) != 0) return;
            const std::lock_guard<std::mutex> calls(board_.hal());
            while (const auto datagram = socket_.receive()) take(*datagram);
            const auto now = std::chrono::steady_clock::now();
            if (now - last < std::chrono::milliseconds(kTickMs)) continue;
            last = now;
            tell(living_->tick());
            writeState();
        }
    }

    void summary(HalOutput& hal) {
        if (server_) server_->stop("the ONU has been told to end");
        say(output_.flush());
        const nlohmann::json device = virtual_onu::VirtualOnu::instance().toJson();
        const DeviceState state = readState(device);
        const std::string report = deviceReport(state, run_.newBoard, terminal_);
        say(output_.rule("What stands on the device"));
        say(report.empty() ? "\n  Nothing: the device is as new.\n" : report);
        say(warnings(state, terminal_) + output_.closing(run_.messages));
        if (dropped_ > 0)
            say("  " + std::to_string(dropped_) +
                (dropped_ == 1 ? " datagram was no message\n" : " datagrams were no messages\n"));
        say("  what the HAL printed: " + hal.path() + " (" + std::to_string(hal.lines()) + " lines)\n");
        if (command_.jsonFile == "-") print(shown_, omciJson(run_, device));
        writeOmciFiles(command_, run_, device);
    }

    bool good() const { return std::all_of(run_.messages.begin(), run_.messages.end(), isAsExpected); }

private:
    void say(const std::string& text) {
        if (!command_.quiet && command_.jsonFile != "-") print(shown_, text);
    }

    // Codes are made where the OLT makes them. One that is not the CRC-32 of the message, and not left empty by a
    // driver, is damage.
    static bool hasWrongCode(const omci::DecodedFrame& decoded, const omci::Bytes& datagram) {
        if (!decoded.integrityCode || *decoded.integrityCode == 0) return false;
        return omci::crc32(omci::ByteView(datagram).part(0, decoded.protectedSize)) != *decoded.integrityCode;
    }

    void take(const omci::Bytes& datagram) {
        const omci::DecodedFrame decoded = omci::decodeFrame(datagram);
        const bool wrongCode = decoded.error == omci::FrameError::kNone && hasWrongCode(decoded, datagram);
        if (decoded.error != omci::FrameError::kNone || wrongCode) {
            ++dropped_;
            say("  " +
                terminal_.yellow(std::string("! a datagram is no message: ") +
                                 (wrongCode ? "wrong integrity code" : omci::nameOf(decoded.error))) +
                "\n");
            return;
        }
        withCode_ = decoded.integrityCode.has_value();
        Handling handling = living_->handle(decoded.message);
        if (handling.handled.answer) send(*handling.handled.answer);
        for (const omci::Message& message : handling.autonomous) send(message);
        keep(played(decoded.message, std::move(handling)));
        changed_ = true;
    }

    Played played(const omci::Message& message, Handling handling) {
        Played one;
        one.number = ++number_;
        one.place = one.number;
        one.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
        one.message = message;
        one.text = omci::textOf(message);
        numbers_[handling.handled.message] = one.number;
        one.repeated = handling.handled.repeated;
        if (handling.handled.answer)
            one.answer = omci::textOf(*handling.handled.answer);
        else
            one.whyNoAnswer = omci::nameOf(handling.handled.dropped);
        one.calls = std::move(handling.calls);
        one.problems = std::move(handling.problems);
        for (const auto& told : handling.autonomous) one.autonomous.push_back(omci::textOf(told));
        return one;
    }

    void keep(const Played& one) {
        say(output_.message(one));
        if (run_.messages.size() < kMostKept) run_.messages.push_back(one);
    }

    void tell(const std::vector<omci::Message>& messages) {
        for (const omci::Message& message : messages) {
            send(message);
            Played one;
            one.number = ++number_;
            one.fromOnu = true;
            one.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
            one.message = message;
            one.text = omci::textOf(message);
            keep(one);
        }
    }

    void send(const omci::Message& message) {
        omci::Bytes frame = omci::encodeFrame(message);
        if (withCode_) omci::Integrity::crc().protect(frame, omci::Direction::kUpstream);
        socket_.send(frame);
    }

    // Whole at any moment: put in place of the one before.
    void writeState() {
        if (!changed_ || command_.jsonFile.empty() || command_.jsonFile == "-") return;
        changed_ = false;
        const std::string beside = command_.jsonFile + ".new";
        writeFile(beside, omciJson(run_, virtual_onu::VirtualOnu::instance().toJson()));
        if (std::rename(beside.c_str(), command_.jsonFile.c_str()) != 0)
            throw FileProblem(command_.jsonFile, "cannot be written");
    }

    const OmciCommand& command_;
    std::FILE* shown_;
    Terminal terminal_;
    MessageOutput output_;
    MessageSocket socket_;
    OmciRun run_;
    std::unique_ptr<virtual_onu::Taps> taps_;
    std::unique_ptr<LivingOnu> living_;
    std::map<std::uint64_t, std::size_t> numbers_;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::size_t number_ = 0, dropped_ = 0;
    bool withCode_ = false, changed_ = true;
    living::OwnBoard board_{virtual_onu::VirtualOnu::instance(), *HALFactory::getInstance()->CreateHALObject(0),
                            nlohmann::json{{"kind", "omci"}, {"program", {socket_.address()}}, {"hal", true}}};
    std::unique_ptr<living::Server> server_;
};

}  // namespace

int listenToOlt(const OmciCommand& command) {
    if (!command.from.empty())
        throw std::invalid_argument("vorn-onu: omci: --from goes with a FILE, not with --listen");
    const int signals = endingSignals();
    if (signals < 0) throw std::runtime_error("signals cannot be waited for");
    HalOutput hal("omci");
    Listener listener(command, hal.shown());
    listener.untilSignal(signals);
    listener.summary(hal);
    close(signals);
    return listener.good() ? kHeld : kNotHeld;
}

}  // namespace vorn_onu
