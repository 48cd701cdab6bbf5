#include "commands/CommandLine.h"

#include <algorithm>
#include <sstream>

#include <CLI/CLI.hpp>

#include "commands/Commands.h"
#include "commands/EnvironmentVariables.h"
#include "commands/HelpFormat.h"
#include "running/io/Output.h"
#include "running/scenario/fields/Problem.h"
#include "views/Terminal.h"

namespace vorn_onu {

namespace {

constexpr const char* kName = "vorn-onu";
constexpr const char* kDescription = "Runs HAL scenarios and whole programs against the virtual ONU.";

using AddCommand = Command (*)(CLI::App& app);
// In the order in which --help and the manual page show them.
constexpr AddCommand kCommands[] = {addRun, addSend, addAudit, addOmci,   addExec, addLs,
                                    addAt,  addDiff, addInfo,  addSchema, addHelp};

// Its exit code is the program's own.
constexpr const char* kRunsPrograms = "exec";

constexpr std::size_t kUnbroken = 1000;  // columns; the formatter breaks lines

// The exit code when all is said. Words that got lost are no success, whatever they were about.
int ended(int code, bool isOfAProgram) {
    const std::string lost = lostOutput();
    if (lost.empty()) return code;
    complain("standard output cannot be written: " + lost);
    return isOfAProgram && code != kHeld ? code : kBadInput;
}

// The exit code of a command. What its work throws is bad input.
int codeOf(const std::function<int()>& work) {
    try {
        return work();
    } catch (const std::exception& error) {
        complain(error.what());
        return kBadInput;
    }
}

std::vector<std::string> commandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App* one) { return !one->get_group().empty(); }))
        names.push_back(command->get_name());
    return names;
}

std::vector<std::string> optionNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options())
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

std::string footer() {
    std::string text;
    for (const Topic& topic : commonTopics()) text += topicText(topic, kUnbroken) + "\n";
    text += "Examples:\n";
    for (const std::string& line : examples()) text += "  " + line + "\n";
    return text +
           "\nvorn-onu help COMMAND tells more of a command, vorn-onu help environment of the variables that are read.";
}

// "vorn-onu diff BEFORE AFTER"
std::string usageOf(const CLI::App& command) {
    std::string text = std::string(kName) + " " + command.get_name();
    for (const CLI::Option* option : command.get_options())
        if (option->get_positional()) text += " " + option->get_name(true);
    return text;
}

}  // namespace

const std::vector<Topic>& commonTopics() {
    static const std::vector<Topic> topics = {
        {"Exit codes",
         {{"0", "all expectations held"},
          {"1", "one did not"},
          {"2", "bad input, or an output that cannot be written"}}},
        {"Files",
         {{"$TMPDIR/vorn-onu.UID", "logs and snapshots of programs, and boards/"},
          {"$XDG_RUNTIME_DIR/vorn-onu", "sockets of boards that others can reach"},
          {"/usr/share/doc/vorn-onu", "documents and scenarios"}}}};
    return topics;
}

Topic environmentTopic() {
    return {"Environment", environmentVariables()};
}

std::string topicText(const Topic& topic, std::size_t width) {
    std::string text = topic.title + ":\n";
    std::size_t names = 0;
    for (const auto& row : topic.rows) names = std::max(names, row.first.size());
    for (const auto& [name, meaning] : topic.rows)
        text += "  " + name + std::string(names - name.size() + 2, ' ') + hanging(meaning, width, names + 4) + "\n";
    return text;
}

std::vector<std::string> examples() {
    return {"vorn-onu run scenarios/bridge.json --trace",
            "vorn-onu send scenarios/internet.json --from sid0 --vlan 20 --pbits 5",
            "vorn-onu omci scenarios/omci/internet.pcap --from sid1",
            "vorn-onu exec --record session.json -- ./my-omci-daemon"};
}

const CLI::App* findCommand(const CLI::App& app, const std::string& name) {
    const auto found = app.get_subcommands([&name](const CLI::App* command) { return command->get_name() == name; });
    return found.empty() ? nullptr : found.front();
}

std::string noSuchCommand(const CLI::App& app, const std::string& name) {
    const auto names = commandNames(app);
    return "there is no command '" + name + "'" + suggestion(name, names) + "; there are " + joined(names);
}

CLI::Option* addFileOption(CLI::App& command, const std::string& name, std::string& file, const std::string& words) {
    return command.add_option(name, file, words)->type_name("FILE");
}

CLI::Option* addCountOption(CLI::App& command, const std::string& name, std::size_t& count, const std::string& words) {
    const auto problemOf = [](const std::string& text) -> std::string {
        const bool digits = !text.empty() && text.size() < 10 &&
                            std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
        return digits && std::stoi(text) >= 1 ? "" : "must be a number from 1 on, not '" + text + "'";
    };
    return command.add_option(name, count, words)->check(CLI::Validator(problemOf, ""))->type_name("N");
}

CommandLine::CommandLine() : app_(std::make_unique<CLI::App>(kDescription, kName)) {
    app_->set_version_flag("--version", std::string(kName) + " " + VORN_VERSION, "show the version and end");
    app_->set_help_flag("-h,--help", "show this help and end");
    app_->formatter(helpFormat());   // the commands inherit it
    app_->require_subcommand(0, 1);  // the second word of "help send" is no command
    for (const AddCommand add : kCommands) {
        commands_.push_back(add(*app_));
        commands_.back().app->set_help_flag("-h,--help", "show this help and end");
    }
    app_->footer(footer());  // after the commands, which would inherit it
}

CommandLine::~CommandLine() = default;

// In words of ours where a word is not known: the nearest one that is.
std::string CommandLine::problemOf(const CLI::ParseError& error) const {
    const auto chosen = app_->get_subcommands();
    auto unknown = app_->remaining(true);
    unknown.erase(std::find(unknown.begin(), unknown.end(), "--"), unknown.end());  // a program's words follow
    if (chosen.empty() && !unknown.empty() && unknown.front().compare(0, 1, "-") != 0)
        return noSuchCommand(*app_, unknown.front());
    const CLI::App& command = chosen.empty() ? *app_ : *chosen.front();
    const std::string place = chosen.empty() ? "" : command.get_name() + ": ";
    const bool lacksCommand = command.get_require_subcommand_min() > 0 && command.get_subcommands().empty();
    if (lacksCommand && !unknown.empty() && unknown.front().compare(0, 1, "-") != 0)
        return place + noSuchCommand(command, unknown.front());
    const auto option = std::find_if(unknown.begin(), unknown.end(),
                                     [](const std::string& word) { return word.size() > 1 && word.front() == '-'; });
    if (option != unknown.end()) {
        const std::string name = option->substr(0, option->find('='));
        const auto known = optionNames(command);
        if (std::find(known.begin(), known.end(), name) != known.end())
            return place + name + " belongs behind the command, not before it";
        return place + "there is no option " + name + suggestion(name, known);
    }
    if (!unknown.empty()) return place + "'" + unknown.front() + "' is one word too many";
    if (lacksCommand && command.count_all() > 1) return place + "say what to do: " + joined(commandNames(command));
    if (error.get_name() == "RequiredError") return place + error.what() + ": " + usageOf(command);
    return place + error.what();
}

int CommandLine::run(int argc, const char* const* argv) {
    try {
        app_->parse(argc, argv);
    } catch (const CLI::Success& wanted) {  // --help and --version
        std::ostringstream text;
        app_->exit(wanted, text, text);
        print(text.str());
        return ended(kHeld, false);
    } catch (const CLI::ParseError& error) {
        complain(problemOf(error));
        return kBadInput;
    }
    for (const Command& command : commands_) {
        if (!command.app->parsed()) continue;
        const bool isOfAProgram = command.app->get_name() == kRunsPrograms;
        const auto work = command.work;
        if (command.isLong) {  // the words of all commands are 200 kB
            commands_.clear();
            app_.reset();
        }
        return ended(codeOf(work), isOfAProgram);
    }
    complain("say what to do: " + joined(commandNames(*app_)) + "; vorn-onu help tells how");
    return kBadInput;
}

}  // namespace vorn_onu
