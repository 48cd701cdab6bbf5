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
// The text in lines of at most this width, broken between words. A word that is too long stands alone.
std::vector<std::string> wrapped(const std::string& text, std::size_t width);

class Terminal {
public:
    Terminal(bool colour, std::size_t width) : colour_(colour), width_(width) {}
    // What the stream leads to: colour on a terminal unless NO_COLOR is set, the window's width or 100 columns.
    static Terminal of(std::FILE* stream);

    std::size_t width() const { return width_; }
    std::string bold(const std::string& text) const { return painted("1", text); }
    std::string dim(const std::string& text) const { return painted("2", text); }
    std::string red(const std::string& text) const { return painted("31", text); }
    std::string green(const std::string& text) const { return painted("32", text); }
    std::string yellow(const std::string& text) const { return painted("33", text); }

private:
    std::string painted(const char* code, const std::string& text) const;
    bool colour_;
    std::size_t width_;
};

// Columns that line up. Only the last column is broken into several lines when a row is too wide.
class Table {
public:
    // Without headings the rows stand alone.
    explicit Table(std::vector<std::string> headings = {}) : headings_(std::move(headings)) {}
    void row(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    bool empty() const { return rows_.empty(); }
    std::string text(const Terminal& terminal, std::size_t indent = 2) const;

private:
    std::vector<std::string> headings_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace vorn_onu

#endif
