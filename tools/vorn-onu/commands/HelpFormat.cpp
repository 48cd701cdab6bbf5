#include "commands/HelpFormat.h"

#include <sstream>
#include <string>

#include <CLI/CLI.hpp>

#include "views/Terminal.h"

namespace vorn_onu {

namespace {

// Where the last column of a line begins, npos where the line is a command to copy.
std::size_t lastColumn(const std::string& line) {
    const std::size_t first = line.find_first_not_of(' ');
    const std::size_t gap = line.find("  ", first);
    if (gap != std::string::npos) return line.find_first_not_of(' ', gap);
    constexpr std::size_t kIndented = 4;
    return first == 0 || first > kIndented ? first : std::string::npos;
}

// The text with each line that is wider broken between words. What follows is below the description where the line has
// one, behind two spaces or more. Indented lines without one are commands to copy, and stay.
std::string fitted(const std::string& text, std::size_t width) {
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t column = widthOf(line) > width ? lastColumn(line) : std::string::npos;
        if (column != std::string::npos) line = line.substr(0, column) + hanging(line.substr(column), width, column);
        result += line + "\n";
    }
    return result;
}

class HelpFormat : public CLI::Formatter {
public:
    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override {
        return fitted(CLI::Formatter::make_help(app, std::move(name), mode), Terminal::of(stdout).width());
    }
    std::string make_option_opts(const CLI::Option* option) const override;
};

std::string HelpFormat::make_option_opts(const CLI::Option* option) const {
    const std::string type = option->get_type_name();
    const std::string value = option->get_positional() || type.empty() ? "" : " " + type.substr(0, type.find(':'));
    const bool several = option->get_expected_max() == CLI::detail::expected_max_vector_size;
    return value + (several ? " ..." : "") + (option->get_required() && !option->get_positional() ? " (required)" : "");
}

}  // namespace

std::shared_ptr<CLI::FormatterBase> helpFormat() {
    return std::make_shared<HelpFormat>();
}

}  // namespace vorn_onu
