// How text looks where it is read: colour only on a terminal that wants it, lines no wider than the window.
#ifndef VORN_ONU_TERMINAL_H
#define VORN_ONU_TERMINAL_H

#include <cstdio>
#include <string>
#include <vector>

namespace vorn_onu {

// Columns that a text takes: characters, not bytes; colour takes none.
std::size_t widthOf(const std::string& text);
// The text cut to a width, with "…" at its end where something is missing.
std::string cut(const std::string& text, std::size_t width);
// The text in lines of at most this width, broken between words; a number stays with the word in front of it ("VID
// 100"). A word that is too long is alone.
std::vector<std::string> wrapped(const std::string& text, std::size_t width);
// The same as one text for the end of a line that `indent` columns of the width are taken from: what follows the first
// line begins below it.
std::string hanging(const std::string& text, std::size_t width, std::size_t indent);

class Terminal {
public:
    Terminal(bool colour, std::size_t width) : colour_(colour), width_(width) {}
    // What the stream leads to: colour on a terminal unless NO_COLOR is set, the window's width or 100 columns.
    static Terminal of(std::FILE* stream);

    std::size_t width() const { return width_; }
    // Whether the width is that of a window, which would break what is longer; a file takes lines of any length.
    bool isWindow() const { return isWindow_; }
    std::string bold(const std::string& text) const { return painted("1", text); }
    std::string dim(const std::string& text) const { return painted("2", text); }
    std::string red(const std::string& text) const { return painted("31", text); }
    std::string green(const std::string& text) const { return painted("32", text); }
    std::string yellow(const std::string& text) const { return painted("33", text); }

private:
    std::string painted(const char* code, const std::string& text) const;
    bool colour_;
    std::size_t width_;
    bool isWindow_ = false;
};

// Columns that line up. Where they are too wide for the window, the widest are broken into several lines.
class Table {
public:
    // Without headings the rows are alone.
    explicit Table(std::vector<std::string> headings = {}) : headings_(std::move(headings)) {}
    void row(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    bool empty() const { return rows_.empty(); }
    // Whether no row has to be broken.
    bool fits(const Terminal& terminal, std::size_t indent = 2) const;
    std::string text(const Terminal& terminal, std::size_t indent = 2) const;

private:
    std::vector<std::size_t> widths(std::size_t room) const;
    std::vector<std::string> headings_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace vorn_onu

#endif
