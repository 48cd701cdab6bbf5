// Options and words of boards that run: --name, vorn-onu ls, vorn-onu at NAME.
#include <memory>

#include <CLI/CLI.hpp>

#include "commands/CommandLine.h"
#include "commands/Commands.h"
#include "commands/FrameOptions.h"
#include "commands/LogOptions.h"
#include "living/BoardSocket.h"
#include "running/scenario/Scenario.h"
#include "views/page/MetricServer.h"

namespace vorn_onu {

namespace {

CLI::Validator boardName() {
    return CLI::Validator(
        [](const std::string& name) {
            const std::string problem = living::problemOfName(name);
            return problem.empty() ? "" : "'" + name + "' " + problem;
        },
        "");
}

// What can be done at a board, each with its own words.
using Work = std::function<int()>;
using Works = std::vector<std::pair<CLI::App*, Work>>;

// The name is known when the command is chosen.
template <typename Chosen>
Work atBoard(const std::shared_ptr<Chosen>& command, const std::string& name) {
    return [command, &name] {
        command->name = name;
        return command->run();
    };
}

void addShow(CLI::App& at, const std::string& name, Works& works) {
    const auto show = std::make_shared<AtShowCommand>();
    CLI::App* command = at.add_subcommand("show", "show what is on the board");
    command->add_flag("--json", show->json, "the device state as JSON, with its trace");
    works.emplace_back(command, atBoard(show, name));
}

void addMetrics(CLI::App& at, const std::string& name, Works& works) {
    const auto metrics = std::make_shared<AtMetricsCommand>();
    CLI::App* command = at.add_subcommand(
        "metrics", "show what the board counts, as Prometheus reads it: services, frames, calls, messages");
    works.emplace_back(command, atBoard(metrics, name));
}

void addServe(CLI::App& at, const std::string& name, Works& works) {
    constexpr int kUsualPort = 8080, kMaxPort = 65535;
    const auto serve = std::make_shared<AtServeCommand>();
    serve->port = kUsualPort;
    CLI::App* command = at.add_subcommand("serve", "show the board on a page for this machine's browsers");
    command->add_option("--port", serve->port, "where on 127.0.0.1; 0: any that is free")
        ->capture_default_str()
        ->check(CLI::Range(0, kMaxPort))
        ->type_name("PORT");
    command->footer(
        "Open the link that it prints: with its token the page can pull cables and fibre, silence the gateway, let "
        "calls "
        "fail and send frames; without it one can only look. The page stays when the board goes, and finds the next "
        "one of the same name. A signal ends it.");
    works.emplace_back(command, atBoard(serve, name));
}

void addTrace(CLI::App& at, const std::string& name, Works& works) {
    const auto trace = std::make_shared<AtTraceCommand>();
    CLI::App* command = at.add_subcommand("trace", "show the calls into the device, with waits and log lines");
    command->add_flag("--follow", trace->following, "go on with those to come, until the board is gone");
    command->add_flag("--failed", trace->failed, "only calls into the device kit that failed");
    addCountOption(*command, "--last", trace->last, "begin with the last so many; otherwise with all that are kept");
    command->add_flag("--json", trace->json, "an entry as JSON on each line");
    works.emplace_back(command, atBoard(trace, name));
}

void addOmciAt(CLI::App& at, const std::string& name, Works& works) {
    const auto omci = std::make_shared<AtOmciCommand>();
    CLI::App* command = at.add_subcommand("omci", "show the messages of an OLT that the ONU keeps, a line each");
    command->add_flag("--follow", omci->following, "go on with those to come, until the board is gone");
    addCountOption(*command, "--last", omci->last, "begin with the last so many; otherwise with all that are kept");
    const LogWords words{omci->values, omci->bytes, omci->classes, omci->instances, omci->types};
    addLogOptions(*command, words, "");
    command->add_flag("--json", omci->json, "a message as JSON on each line");
    works.emplace_back(command, atBoard(omci, name));
}

void addMib(CLI::App& at, const std::string& name, Works& works) {
    constexpr int kMaxClass = 65535;
    const auto mib = std::make_shared<AtMibCommand>();
    CLI::App* command = at.add_subcommand("mib", "show the MIB that an OLT has made of the board");
    CLI::Option* tree =
        command->add_flag("--tree", mib->tree, "along the pointers: bridges, ports, GEM ports, queues, rows");
    command->add_option("--class", mib->classId, "only entities of this class")
        ->check(CLI::Range(0, kMaxClass))
        ->type_name("NUMBER")
        ->excludes(tree);
    command->add_flag("--json", mib->json, "answer in JSON; vorn-onu diff compares two of them")->excludes(tree);
    works.emplace_back(command, atBoard(mib, name));
}

void addWatch(CLI::App& at, const std::string& name, Works& works) {
    const auto watch = std::make_shared<AtWatchCommand>();
    CLI::App* command =
        at.add_subcommand("watch", "show services, ports, counters and calls as they change; q ends it");
    works.emplace_back(command, atBoard(watch, name));
}

void addSendAt(CLI::App& at, const std::string& name, Works& works) {
    const auto send = std::make_shared<AtSendCommand>();
    CLI::App* command = at.add_subcommand("send", "send a frame, and tell where it goes");
    const FrameOptions frame = addFrameOptions(*command, *send);
    frame.from->required();
    command->add_flag("--json", send->json, "answer in JSON");
    command->callback([send, command, frame] { readTags(*command, frame, *send); });
    works.emplace_back(command, atBoard(send, name));
}

void addStep(CLI::App& at, const std::string& kind, const std::string& doc, const std::string& name, Works& works) {
    const auto step = std::make_shared<AtStepCommand>();
    step->kind = kind;
    CLI::App* command = at.add_subcommand(kind.empty() ? "step" : kind, doc);
    command
        ->add_option("WORDS", step->words, kind.empty() ? "the step as JSON" : "its value, or KEY=VALUE for each field")
        ->required()
        ->expected(kind.empty() ? 1 : -1)
        ->type_name("");
    command->add_flag("--json", step->json, "answer in JSON");
    if (kind == "restart") command->group("");  // every board refuses it, and says why
    command->positionals_at_end(false);
    works.emplace_back(command, atBoard(step, name));
}

}  // namespace

CLI::Option* addBoardName(CLI::App& command, std::string& name, const std::string& how) {
    return command.add_option("--name", name, "let others reach the board by this name, " + how)
        ->type_name("NAME")
        ->check(boardName());
}

CLI::Option* addMetricsOption(CLI::App& command, std::string& metrics, const std::string& how) {
    return command
        .add_option("--metrics", metrics,
                    "serve the board's metrics for Prometheus, " + how +
                        ": a port of 127.0.0.1 (0: any that is free), or ADDRESS:PORT, then for everybody who reaches "
                        "that address")
        ->type_name("PORT")
        ->check(CLI::Validator(
            [](const std::string& place) {
                const std::string problem = page::problemOfMetricPlace(place);
                return problem.empty() ? "" : "'" + place + "' " + problem;
            },
            ""));
}

Command addLs(CLI::App& app) {
    const auto ls = std::make_shared<LsCommand>();
    CLI::App* command = app.add_subcommand("ls", "list the boards that run");
    command->add_flag("--json", ls->json, "answer in JSON");
    command->footer("They are those of exec --name, omci --listen --name and run --stay, of this user.");
    return {command, [ls] { return ls->run(); }};
}

Command addAt(CLI::App& app) {
    struct At {
        std::string name;
        Works works;
    };
    const auto at = std::make_shared<At>();
    CLI::App* command = app.add_subcommand("at", "look at a board that runs, and take steps on it");
    command->add_option("NAME", at->name, "the board's name, as vorn-onu ls has it")
        ->required()
        ->type_name("")
        ->check(boardName());
    addShow(*command, at->name, at->works);
    addTrace(*command, at->name, at->works);
    addOmciAt(*command, at->name, at->works);
    addMib(*command, at->name, at->works);
    addWatch(*command, at->name, at->works);
    addSendAt(*command, at->name, at->works);
    addMetrics(*command, at->name, at->works);
    addServe(*command, at->name, at->works);
    for (const StepKind& kind : stepKinds()) {
        if (kind.key == "show" || kind.key == "note") continue;  // nothing to look at, and words for a reader
        addStep(*command, kind.key, kind.doc, at->name, at->works);
    }
    addStep(*command, "", "take a step that is given as in a scenario", at->name, at->works);
    command->require_subcommand(1);
    for (const auto& work : at->works) work.first->set_help_flag("-h,--help", "show this help and end");
    command->footer(
        "Steps are those of scenarios (docs/scenario-format.md), with the same words and checks. A field of an object "
        "is KEY=VALUE, with dots into objects in it: board links.eth0=down optics.receive=0 bitErrorRatio=1e-5; "
        "gateway silent; fault function=tmctl_setQueueCfg nth=2; fault omci drop=3; advance 5000; frame from=sid0 "
        "'tags=[{\"vid\": 20}]'.\n\n"
        "Exit codes: 0 done, 1 the step failed or the frame is dropped, 2 no such board or bad input.");
    return {command, [at] {
                for (const auto& [app_, work] : at->works)
                    if (app_->parsed()) return work();
                return kBadInput;
            }};
}

}  // namespace vorn_onu
