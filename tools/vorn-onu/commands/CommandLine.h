// The command line of vorn-onu. Each command has a file for its options; --help and the manual page are made of the
// words that are there and nowhere else.
#ifndef VORN_ONU_COMMAND_LINE_H
#define VORN_ONU_COMMAND_LINE_H

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
class Option;
class ParseError;
}  // namespace CLI

namespace vorn_onu {

// A command and what it does when it was chosen; the work answers the program's exit code.
struct Command {
    CLI::App* app;
    std::function<int()> work;
    bool isLong = false;  // its work may go on for days, and does not look at the command line again
};

// Each makes its command with options and words: the description is one sentence, the footer says the rest, paragraphs
// with an empty line between them. One row for each in CommandLine.cpp.
Command addRun(CLI::App& app);
Command addSend(CLI::App& app);
Command addAudit(CLI::App& app);
Command addOmci(CLI::App& app);
Command addExec(CLI::App& app);
Command addLs(CLI::App& app);
Command addAt(CLI::App& app);
Command addDiff(CLI::App& app);
Command addInfo(CLI::App& app);
Command addSchema(CLI::App& app);
Command addHelp(CLI::App& app);

class CommandLine {
public:
    CommandLine();
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;
    // Answers the exit code. What is wrong with the words is reported on standard error.
    int run(int argc, const char* const* argv);

private:
    std::string problemOf(const CLI::ParseError& error) const;
    std::unique_ptr<CLI::App> app_;
    std::vector<Command> commands_;
};

// A command by its name, or null; and what is said of a name that there is not.
const CLI::App* findCommand(const CLI::App& app, const std::string& name);
std::string noSuchCommand(const CLI::App& app, const std::string& name);

// --name, by which others reach the board; how: for how long, or when.
CLI::Option* addBoardName(CLI::App& command, std::string& name, const std::string& how);
// --metrics PORT, of a board that can be reached.
CLI::Option* addMetricsOption(CLI::App& command, std::string& metrics, const std::string& how);

// An option whose value is a file, and one whose value is a number from 1 on.
CLI::Option* addFileOption(CLI::App& command, const std::string& name, std::string& file, const std::string& words);
CLI::Option* addCountOption(CLI::App& command, const std::string& name, std::size_t& count, const std::string& words);

// What holds for all commands, for --help and the manual page alike.
struct Topic {
    std::string title;  // "EXIT STATUS"
    std::vector<std::pair<std::string, std::string>> rows;
};
const std::vector<Topic>& commonTopics();
Topic environmentTopic();
std::string topicText(const Topic& topic, std::size_t width);  // in columns
std::vector<std::string> examples();                           // whole lines

// The manual page, for man -l.
std::string manualPage(const CLI::App& app);

}  // namespace vorn_onu

#endif
