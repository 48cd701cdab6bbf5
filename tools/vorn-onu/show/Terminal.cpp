#include "show/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "io/Printed.h"

namespace vorn_onu {

namespace {

constexpr std::size_t kDefaultWidth = 100;
constexpr std::size_t kNarrowest = 40;
constexpr std::size_t kBetweenColumns = 2;

bool continuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80;
}

std::size_t windowWidth(int descriptor) {
    winsize size{};
    if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    const char* columns = std::getenv("COLUMNS");  // NOLINT(concurrency-mt-unsafe): nothing sets the environment
    const long number = columns != nullptr ? std::strtol(columns, nullptr, 10) : 0;
    return number > 0 ? static_cast<std::size_t>(number) : kDefaultWidth;
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
    std::string word;
    const auto addWord = [&] {
        if (word.empty()) return;
        if (!lines.back().empty() && widthOf(lines.back()) + 1 + widthOf(word) > width) lines.emplace_back();
        lines.back() += (lines.back().empty() ? "" : " ") + word;
        word.clear();
    };
    for (const char c : text) {
        if (c == ' ' || c == '\n')
            addWord();
        else
            word += c;
    }
    addWord();
    return lines;
}

Terminal Terminal::of(std::FILE* stream) {
    const int descriptor = fileno(stream);
    const char* noColour = std::getenv("NO_COLOR");  // NOLINT(concurrency-mt-unsafe)
    const char* kind = std::getenv("TERM");          // NOLINT(concurrency-mt-unsafe)
    const bool dumb = kind != nullptr && std::string(kind) == "dumb";
    const bool colour = isatty(descriptor) == 1 && (noColour == nullptr || *noColour == '\0') && !dumb;
    return {colour, std::max(windowWidth(descriptor), kNarrowest)};
}

std::string Terminal::painted(const char* code, const std::string& text) const {
    if (!colour_ || text.empty()) return text;
    return vorn_onu::painted(code, text);
}

std::string Table::text(const Terminal& terminal, std::size_t indent) const {
    std::vector<std::size_t> widths;
    const auto measure = [&widths](const std::vector<std::string>& cells) {
        widths.resize(std::max(widths.size(), cells.size()));
        for (std::size_t i = 0; i < cells.size(); ++i) widths[i] = std::max(widths[i], widthOf(cells[i]));
    };
    measure(headings_);
    for (const auto& cells : rows_) measure(cells);

    std::string result;
    const auto write = [&](const std::vector<std::string>& cells, bool heading) {
        std::string line(indent, ' ');
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const std::size_t used = widthOf(line);
            const bool last = i + 1 == cells.size();
            if (!last) {
                line += (heading ? terminal.dim(cells[i]) : cells[i]) +
                        std::string(widths[i] - widthOf(cells[i]) + kBetweenColumns, ' ');
                continue;
            }
            const std::size_t room = terminal.width() > used + 20 ? terminal.width() - used : 20;
            const auto lines = wrapped(cells[i], room);
            for (std::size_t n = 0; n < lines.size(); ++n)
                line += (n == 0 ? "" : "\n" + std::string(used, ' ')) + (heading ? terminal.dim(lines[n]) : lines[n]);
        }
        const auto end = line.find_last_not_of(' ');
        result += line.substr(0, end == std::string::npos ? 0 : end + 1) + "\n";
    };
    if (!headings_.empty() && !rows_.empty()) write(headings_, true);
    for (const auto& cells : rows_) write(cells, false);
    return result;
}

}  // namespace vorn_onu
