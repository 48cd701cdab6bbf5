#include "views/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "running/io/Printed.h"

namespace vorn_onu {

namespace {

constexpr std::size_t kDefaultWidth = 100;
constexpr std::size_t kNarrowest = 40;
constexpr std::size_t kBetweenColumns = 2;

bool continuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80;
}

// 0 where there is no window.
std::size_t windowWidth(int descriptor) {
    winsize size{};
    if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    const char* columns = std::getenv("COLUMNS");  // NOLINT(concurrency-mt-unsafe): nothing sets the environment
    const long number = columns != nullptr ? std::strtol(columns, nullptr, 10) : 0;
    return number > 0 ? static_cast<std::size_t>(number) : 0;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isSigned(const std::string& word) {
    return word.size() > 1 && (word[0] == '+' || word[0] == '-') && isDigit(word[1]);
}

// What stays on one line: words, a number with the word in front of it ("VID 100"), a change with what it counts ("+7
// rules").
std::vector<std::string> unitsOf(const std::string& text) {
    std::vector<std::string> units;
    std::string word;
    bool paired = false;  // the last unit is a pair already
    const auto end = [&] {
        if (word.empty()) return;
        const bool pairs = !paired && !units.empty() &&
                           ((isDigit(word.front()) && isLetter(units.back().back())) || isSigned(units.back()));
        if (pairs)
            units.back() += " " + word;
        else
            units.push_back(word);
        paired = pairs;
        word.clear();
    };
    for (const char c : text) {
        if (c == ' ' || c == '\n')
            end();
        else
            word += c;
    }
    end();
    return units;
}

}  // namespace

std::size_t widthOf(const std::string& text) {
    std::size_t width = 0;
    bool inEscape = false;
    for (const char c : text) {
        if (c == '\x1b')
            inEscape = true;
        else if (inEscape)
            inEscape = c != 'm';
        else if (!continuesCharacter(c))
            ++width;
    }
    return width;
}

std::string cut(const std::string& text, std::size_t width) {
    if (widthOf(text) <= width) return text;
    std::string result;
    std::size_t used = 0;
    for (const char c : text) {
        if (!continuesCharacter(c) && ++used >= width) break;
        result += c;
    }
    return result + "…";
}

std::vector<std::string> wrapped(const std::string& text, std::size_t width) {
    std::vector<std::string> lines(1);
    for (const std::string& unit : unitsOf(text)) {
        if (!lines.back().empty() && widthOf(lines.back()) + 1 + widthOf(unit) > width) lines.emplace_back();
        lines.back() += (lines.back().empty() ? "" : " ") + unit;
    }
    return lines;
}

std::string hanging(const std::string& text, std::size_t width, std::size_t indent) {
    std::string result;
    for (const std::string& line : wrapped(text, width > indent ? width - indent : 1))
        result += (result.empty() ? "" : "\n" + std::string(indent, ' ')) + line;
    return result;
}

Terminal Terminal::of(std::FILE* stream) {
    const int descriptor = fileno(stream);
    const char* noColour = std::getenv("NO_COLOR");  // NOLINT(concurrency-mt-unsafe)
    const char* kind = std::getenv("TERM");          // NOLINT(concurrency-mt-unsafe)
    const bool dumb = kind != nullptr && std::string(kind) == "dumb";
    const bool colour = isatty(descriptor) == 1 && (noColour == nullptr || *noColour == '\0') && !dumb;
    const std::size_t window = windowWidth(descriptor);
    Terminal terminal(colour, window == 0 ? kDefaultWidth : std::max(window, kNarrowest));
    terminal.isWindow_ = window > 0;
    return terminal;
}

std::string Terminal::painted(const char* code, const std::string& text) const {
    if (!colour_ || text.empty()) return text;
    return vorn_onu::painted(code, text);
}

namespace {

std::size_t longestUnit(const std::string& text) {
    std::size_t longest = 0;
    for (const std::string& unit : unitsOf(text)) longest = std::max(longest, widthOf(unit));
    return longest;
}

// Takes columns from the widest ones until the sum fits, as far as the words in them allow.
void narrow(std::vector<std::size_t>& widths, const std::vector<std::size_t>& narrowest, std::size_t room) {
    std::size_t sum = 0;
    for (const std::size_t width : widths) sum += width;
    while (sum > room) {
        std::size_t widest = widths.size();
        for (std::size_t i = 0; i < widths.size(); ++i)
            if (widths[i] > narrowest[i] && (widest == widths.size() || widths[i] >= widths[widest])) widest = i;
        if (widest == widths.size()) return;
        --widths[widest];
        --sum;
    }
}

}  // namespace

// The widths of the columns in a window of this width.
std::vector<std::size_t> Table::widths(std::size_t room) const {
    std::vector<std::size_t> widths, narrowest;
    const auto measure = [&](const std::vector<std::string>& cells) {
        widths.resize(std::max(widths.size(), cells.size()));
        narrowest.resize(widths.size());
        for (std::size_t i = 0; i < cells.size(); ++i) {
            widths[i] = std::max(widths[i], widthOf(cells[i]));
            narrowest[i] = std::max(narrowest[i], longestUnit(cells[i]));
        }
    };
    measure(headings_);
    for (const auto& cells : rows_) measure(cells);
    const std::size_t between = widths.empty() ? 0 : kBetweenColumns * (widths.size() - 1);
    narrow(widths, narrowest, room > between ? room - between : 0);
    return widths;
}

bool Table::fits(const Terminal& terminal, std::size_t indent) const {
    std::size_t sum = indent, columns = 0;
    for (const std::size_t width : widths(std::numeric_limits<std::size_t>::max())) {
        sum += width + (columns++ > 0 ? kBetweenColumns : 0);
    }
    return sum <= terminal.width();
}

std::string Table::text(const Terminal& terminal, std::size_t indent) const {
    const std::vector<std::size_t> all = widths(terminal.width() > indent ? terminal.width() - indent : 0);
    std::string result;
    const auto write = [&](const std::vector<std::string>& cells, bool heading) {
        std::vector<std::vector<std::string>> parts;
        std::size_t height = 1;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            // A line that fits stays as it is, blanks in front of it too.
            const bool isLine = cells[i].find('\n') == std::string::npos;
            parts.push_back(isLine && widthOf(cells[i]) <= all[i] ? std::vector<std::string>{cells[i]}
                                                                  : wrapped(cells[i], all[i]));
            height = std::max(height, parts.back().size());
        }
        for (std::size_t n = 0; n < height; ++n) {
            std::string line(indent, ' ');
            std::size_t owed = 0;  // blanks that only count when something follows
            for (std::size_t i = 0; i < parts.size(); ++i) {
                const std::string part = n < parts[i].size() ? parts[i][n] : "";
                if (!part.empty()) line += std::string(owed, ' ') + (heading ? terminal.dim(part) : part);
                owed = (part.empty() ? owed : 0) + all[i] - std::min(all[i], widthOf(part)) + kBetweenColumns;
            }
            result += (line.find_first_not_of(' ') == std::string::npos ? "" : line) + "\n";
        }
    };
    if (!headings_.empty() && !rows_.empty()) write(headings_, true);
    for (const auto& cells : rows_) write(cells, false);
    return result;
}

}  // namespace vorn_onu
