// vorn-onu omci FILE: what does the ONU do with these messages?
#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>

#include <nlohmann/json.hpp>

#include "commands/AskedOfMib.h"
#include "commands/Commands.h"
#include "commands/Forwarding.h"
#include "commands/FrameSending.h"
#include "commands/OmciFiles.h"
#include "commands/OmciListen.h"
#include "living/Layout.h"
#include "living/MessageFile.h"
#include "living/MicOption.h"
#include "living/Playing.h"
#include "running/io/Files.h"
#include "running/io/Output.h"
#include "running/io/Words.h"
#include "running/program/HalOutput.h"
#include "views/AuditWords.h"
#include "views/DeviceReport.h"
#include "views/MessageLog.h"
#include "views/MessageOutput.h"

namespace vorn_onu {

namespace {

constexpr std::size_t kMaxFileBytes = std::size_t{256} << 20U;
constexpr std::size_t kMaxSkippedShown = 3;

std::string heading(const std::string& name, const MessageFile& file, const omci::BoardNumbering& layout,
                    const Playing& playing, const std::string& forwarding, const Terminal& terminal) {
    std::string text =
        terminal.bold(cut("The messages in " + name + ", and what the ONU does with them", terminal.width())) + "\n";
    const auto line = [&](const std::string& words, bool warning) {
        for (const std::string& one : wrapped(words, terminal.width()))
            text += (warning ? terminal.yellow(one) : terminal.dim(one)) + "\n";
    };
    std::string counts = counted(playing.count(), "message");
    if (file.messages.size() > playing.count())
        counts += ", " + counted(file.messages.size() - playing.count(), "answer") + " of the ONU in the capture";
    if (file.others > 0) counts += ", " + counted(file.others, file.placeName) + " of other protocols";
    line(counts, false);
    line(forwardingWords(forwarding), false);
    if (const std::string words = layoutWords(layout); !words.empty())
        line("The ONU is numbered otherwise: " + words, false);
    if (playing.beginsInTheMiddle())
        line(
            "The capture begins in the middle: what the OLT asked for before is not known. Entities from then are "
            "made with values of 0 when a message names them.",
            true);
    for (std::size_t at = 0; at < file.skipped.size() && at < kMaxSkippedShown; ++at)
        line("No message: " + file.skipped[at], true);
    if (file.skipped.size() > kMaxSkippedShown)
        line("and " + std::to_string(file.skipped.size() - kMaxSkippedShown) + " more that are no messages", true);
    return text + "\n";
}

struct Sending {
    SentFrame sent;
    std::vector<Return> returns;
    bool good() const { return !sent.walk.exits.empty() && allReturn(returns); }
};

Sending sendTyped(const FrameInput& input, bool bothWays) {
    const auto& onu = virtual_onu::VirtualOnu::instance();
    if (!canArrive(input, onu)) throw badFrame({"from", noSuchPlace(input, " then", placesOn(onu))});
    const virtual_onu::FrozenDataPath path = onu.freezeDataPath();
    Sending sending{{input, send(path, input)}, {}};
    if (bothWays) sending.returns = sendBack([&](const FrameInput& back) { return send(path, back); }, sending.sent);
    return sending;
}

int runPlayed(const OmciCommand& command, const MessageFile& file, const std::optional<FrameInput>& input) {
    BoardStart start = boardStart(command.board);
    start.file.clear();  // messages of a file begin with a new board
    HalOutput hal(command.file);
    const Terminal terminal = Terminal::of(hal.shown());
    const bool words = command.jsonFile != "-";
    const auto say = [&](const std::string& text, bool always = false) {
        if (words && (always || !command.quiet)) print(hal.shown(), text);
    };
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.reset();
    OmciRun run;
    run.name = std::filesystem::path(command.file).filename().string();
    run.newBoard = readState(onu.toJson());
    const omci::BoardNumbering layout = command.layout.empty() ? layoutInUpload(file) : layoutOf(command.layout);
    LivingOnu living(layout, start);
    Playing playing(living, file, command.until, command.strict);
    const auto numberOf = [&playing](std::uint64_t message) { return playing.numberOf(message); };
    MessageTally tally;
    LogChoice log = logChoice(command.logClasses, command.logInstances, command.logTypes);
    log.values = command.logValues;
    log.bytes = command.logBytes;
    MessageOutput output(terminal, file.placeName == "packet");
    if (command.until > playing.count())
        throw FileProblem(command.file, "has " + counted(playing.count(), "message") + ", there is no message " +
                                            std::to_string(command.until));
    CallRecording recording(command.recordFile, run.name, command.forwarding, start);
    say(heading(run.name, file, layout, playing, command.forwarding, terminal));
    playing.run([&](const Played& played) {
        run.messages.push_back(std::make_shared<const Played>(played));
        for (const HalStep& call : played.calls) recording.add(call);
        tally.add(played);
        if (command.quiet && isAsExpected(played)) return;
        say(command.log ? logText(played, log) : output.message(played), true);
    });
    say(output.flush(), true);
    const nlohmann::json device = onu.toJson();
    const DeviceState state = readState(device);
    say(output.rule("What the HAL was asked for") + output.calls(run.calls()));
    say(output.rule("What is on the device"));
    const std::string report = deviceReport(state, run.newBoard, terminal);
    say(report.empty() ? "\n  Nothing: the device is as new.\n" : report);
    say(warnings(state, terminal));
    if (command.audit) {
        run.sendCommand = audit::commandFor("omci", command.file);
        if (command.until != 0) run.sendCommand += " --until " + std::to_string(command.until);
        run.audit = audit::auditOf(askedOf(living.mib(), living.currentPieces(), numberOf), onu.freezeDataPath(),
                                   audit::untakenWith(command.forwarding));
        say(output.rule("The device beside the standard") + "\n" + auditWords(*run.audit, run.sendCommand, terminal));
    }
    bool good = tally.good();
    if (input) {
        const Sending sending = sendTyped(*input, command.bothWays);
        good = good && sending.good();
        say(output.rule("Frame: " + input->text()) + "\n" + walkWords(sending.sent.walk, terminal) +
                returnWords(sending.returns, terminal),
            true);
        run.sent = sending.sent;
        run.returns = sending.returns;
        run.origins = living.origins().of(sending.sent.walk);
        for (const Return& back : run.returns) run.returnOrigins.push_back(living.origins().of(back.walk));
    }
    say(output.closing(tally));
    say("  what the HAL printed: " + hal.path() + " (" + std::to_string(hal.lines()) + " lines)\n");
    if (command.jsonFile == "-") print(hal.shown(), omciJson(run, device));
    recording.finish();
    writeOmciFiles(command, run, device);
    return good ? kHeld : kNotHeld;
}

}  // namespace

int OmciCommand::run() const {
    for (const std::string& path : {jsonFile, reportFile, pcapFile, recordFile, captureFile})
        if (path != "-") checkWritable(path);
    useForwarding(forwarding);
    if (!listenAddress.empty()) return listenToOlt(*this);
    if (file.empty()) throw std::invalid_argument("omci: say which FILE to play, or where to --listen");
    std::optional<FrameInput> input;
    if (!from.empty()) input = frameOf(*this);
    return runPlayed(*this, readMessages(readFile(file, kMaxFileBytes), file, integrityOf(mic)), input);
}

}  // namespace vorn_onu
