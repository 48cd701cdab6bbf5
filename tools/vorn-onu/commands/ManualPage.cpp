// The manual page, made of the words of --help.
#include <algorithm>
#include <cctype>

#include <CLI/CLI.hpp>

#include "commands/CommandLine.h"

namespace vorn_onu {

namespace {

// Text for troff: hyphens that can be copied, and no line that reads as a request.
std::string troff(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else
            result += c;
    }
    return !result.empty() && (result[0] == '.' || result[0] == '\'') ? "\\&" + result : result;
}

std::string bold(const std::string& text) {
    return "\\fB" + troff(text) + "\\fR";
}
std::string italic(const std::string& text) {
    return "\\fI" + troff(text) + "\\fR";
}

std::string paragraphs(const std::string& text) {
    std::string result;
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = std::min(text.find("\n\n", start), text.size());
        result += ".PP\n" + troff(text.substr(start, end - start)) + "\n";
        start = end + 2;
    }
    return result;
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& command, bool positional) {
    std::vector<const CLI::Option*> options;
    for (const CLI::Option* option : command.get_options())
        if (option->get_positional() == positional && option != command.get_help_ptr()) options.push_back(option);
    return options;
}

// "vorn-onu send [options] FILE --from PORT"
std::string synopsis(const CLI::App& command) {
    std::string line = bold("vorn-onu " + command.get_name());
    std::string needed;
    bool anyOption = false;
    for (const CLI::Option* option : optionsOf(command, false)) {
        if (option->get_required())
            needed += " " + bold(option->get_name()) + " " + italic(option->get_type_name());
        else
            anyOption = true;
    }
    if (anyOption) line += " [" + italic("options") + "]";
    for (const CLI::Option* option : optionsOf(command, true)) {
        const std::string name = italic(option->get_name()) + (option->get_items_expected_max() > 1 ? " ..." : "");
        line += option->get_required() ? " " + name : " [" + name + "]";
    }
    return line + needed + "\n";
}

std::string optionRow(const CLI::Option& option) {
    const std::string value = option.get_type_name();
    const std::string name = option.get_positional() ? italic(option.get_name()) : bold(option.get_name());
    return ".TP\n" + name + (value.empty() || option.get_positional() ? "" : " " + italic(value)) + "\n" +
           troff(option.get_description()) + "\n";
}

// What can be said behind a command: "trace [--follow]".
std::string subcommandRow(const CLI::App& command) {
    std::string words = bold(command.get_name());
    for (const bool positional : {true, false})
        for (const CLI::Option* option : optionsOf(command, positional)) {
            const std::string name = positional ? italic(option->get_name()) : bold(option->get_name());
            words += option->get_required() ? " " + name : " [" + name + "]";
        }
    return ".TP\n" + words + "\n" + troff(command.get_description()) + "\n";
}

std::string section(const CLI::App& command) {
    std::string text = ".SS " + command.get_name() + "\n" + troff(command.get_description()) + "\n";
    text += paragraphs(command.get_footer());
    for (const bool positional : {true, false})
        for (const CLI::Option* option : optionsOf(command, positional)) text += optionRow(*option);
    for (const CLI::App* one : command.get_subcommands([](const CLI::App* sub) { return !sub->get_group().empty(); }))
        text += subcommandRow(*one);
    return text;
}

std::string upperCase(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

}  // namespace

std::string manualPage(const CLI::App& app) {
    const auto commands = app.get_subcommands([](const CLI::App*) { return true; });
    std::string text =
        ".\\\" Made by: vorn-onu help --man\n"
        ".TH VORN-ONU 1 \"\" \"vorn-hal\" \"User Commands\"\n.SH NAME\n"
        "vorn-onu \\- run scenarios and whole programs against a virtual ONU\n.SH SYNOPSIS\n";
    for (const CLI::App* command : commands) text += (command == commands.front() ? "" : ".br\n") + synopsis(*command);
    text +=
        ".SH DESCRIPTION\n" + troff(app.get_description()) +
        "\nThe virtual ONU takes the place of a passive\\-optical\\-network terminal: network devices and bridges, "
        "tag\\-rule tables,\nGEM ports, T\\-CONTs and queues, message bus, board and optics. The scenario format is "
        "described in\ndocs/scenario\\-format.md, the device state that\n.B \\-\\-json\nwrites in "
        "docs/state\\-format.md;\nthey and scenarios to begin with are in\n.IR /usr/share/doc/vorn\\-onu .\n.SH "
        "COMMANDS\n";
    for (const CLI::App* command : commands) text += section(*command);
    std::vector<Topic> topics = commonTopics();
    topics.push_back(environmentTopic());
    for (const Topic& topic : topics) {
        text += ".SH " + upperCase(topic.title) + "\n";
        for (const auto& [name, meaning] : topic.rows) text += ".TP\n" + bold(name) + "\n" + troff(meaning) + "\n";
    }
    text += ".SH EXAMPLES\n.nf\n";
    for (const std::string& line : examples()) text += troff(line) + "\n";
    return text + ".fi\n.SH SEE ALSO\n.BR wireshark (1),\n.BR ip\\-netns (8),\n.BR pytest (1)\n";
}

}  // namespace vorn_onu
