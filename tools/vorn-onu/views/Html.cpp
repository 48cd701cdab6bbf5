#include "views/Html.h"

#include <algorithm>

namespace vorn_onu::html {

std::string escaped(const std::string& text) {
    std::string safe;
    for (const char c : text) {
        switch (c) {
            case '&':
                safe += "&amp;";
                break;
            case '<':
                safe += "&lt;";
                break;
            case '>':
                safe += "&gt;";
                break;
            case '"':
                safe += "&quot;";
                break;
            case '\'':
                safe += "&#39;";
                break;
            default:
                // A control character is no character of a page.
                safe += static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\t' ? '?' : c;
        }
    }
    return safe;
}

std::string element(const std::string& tag, const std::string& content, const std::string& classes) {
    return "<" + tag + (classes.empty() ? "" : " class=\"" + classes + "\"") + ">" + content + "</" + tag + ">";
}

std::string code(const std::string& text) {
    return element("code", escaped(text));
}

std::string chip(const std::string& text, const std::string& kind) {
    return element("span", escaped(text), "chip " + kind);
}

std::string mark(bool passed) {
    return passed ? "<span class=\"ok\" role=\"img\" aria-label=\"as expected\">✓</span>"
                  : "<span class=\"no\" role=\"img\" aria-label=\"not as expected\">✗</span>";
}

std::string link(const std::string& anchor, const std::string& text) {
    return "<a href=\"#" + escaped(anchor) + "\">" + escaped(text) + "</a>";
}

namespace {

bool isEmpty(const std::vector<RowGroup>& groups) {
    return std::all_of(groups.begin(), groups.end(), [](const RowGroup& group) { return group.rows.empty(); });
}

// The columns that hold anything.
std::vector<std::size_t> filledColumns(std::size_t count, const std::vector<RowGroup>& groups) {
    std::vector<std::size_t> filled;
    for (std::size_t column = 0; column < count; ++column) {
        const bool any = std::any_of(groups.begin(), groups.end(), [&](const RowGroup& group) {
            return std::any_of(group.rows.begin(), group.rows.end(),
                               [&](const auto& cells) { return !cells[column].empty(); });
        });
        if (any) filled.push_back(column);
    }
    return filled;
}

// A table whose rows may be laid out as paragraphs says what its parts are; the layout would take that away.
class TableText {
public:
    TableText(const std::vector<std::string>& headings, const std::vector<RowGroup>& groups, bool stacks)
        : headings_(headings), columns_(filledColumns(headings.size(), groups)), stacks_(stacks) {}
    std::string head() const {
        std::string cells;
        for (const std::size_t column : columns_)
            cells += "<th scope=\"col\"" + role("columnheader") + ">" + escaped(headings_[column]) + "</th>";
        return "<thead" + role("rowgroup") + ">" + row(cells, "") + "</thead>\n";
    }
    std::string body(const RowGroup& group) const {
        if (group.rows.empty()) return "";
        std::string rows;
        if (!group.title.empty())
            rows += row("<th scope=\"rowgroup\" colspan=\"" + std::to_string(columns_.size()) + "\"" +
                            role("rowheader") + ">" + escaped(group.title) + "</th>",
                        " class=\"way\"");
        for (const auto& cells : group.rows) {
            std::string text;
            for (const std::size_t column : columns_) text += cell(column, cells[column]);
            rows += row(text, "");
        }
        return "<tbody" + role("rowgroup") + ">\n" + rows + "</tbody>\n";
    }
    std::string role(const char* name) const { return stacks_ ? std::string(" role=\"") + name + "\"" : ""; }

private:
    std::string row(const std::string& cells, const char* attributes) const {
        return std::string("<tr") + attributes + role("row") + ">" + cells + "</tr>\n";
    }
    std::string cell(std::size_t column, const std::string& content) const {
        if (!stacks_) return "<td>" + content + "</td>";
        // A paragraph has no place for a cell without content.
        const std::string empty = content.empty() ? " class=\"empty\"" : "";
        return "<td" + empty + role("cell") + " data-label=\"" + escaped(headings_[column]) + "\">" + content + "</td>";
    }

    const std::vector<std::string>& headings_;
    std::vector<std::size_t> columns_;
    bool stacks_;
};

std::string tableText(const std::vector<std::string>& headings, const std::vector<RowGroup>& groups, bool stacks,
                      const std::string& classes) {
    if (isEmpty(groups)) return "";
    const TableText text(headings, groups, stacks);
    std::string body = text.head();
    for (const RowGroup& group : groups) body += text.body(group);
    return "<table" + (classes.empty() ? "" : " class=\"" + classes + "\"") + text.role("table") + ">" + body +
           "</table>";
}

}  // namespace

std::string table(const std::vector<std::string>& headings, const std::vector<RowGroup>& groups) {
    const std::string text = tableText(headings, groups, false, "");
    return text.empty() ? "" : element("div", text, "scroll") + "\n";
}

std::string stackingTable(const std::vector<std::string>& headings, const std::vector<RowGroup>& groups,
                          const std::string& classes) {
    return tableText(headings, groups, true, classes + " stacks");
}

std::string card(const std::string& body) {
    return element("div", body, "card") + "\n";
}

std::string details(const std::string& summary, const std::string& body, bool open, const std::string& classes) {
    return "<details" + (classes.empty() ? "" : " class=\"" + classes + "\"") + (open ? " open" : "") + ">" +
           element("summary", summary) + body + "</details>\n";
}

std::string section(const std::string& title, const std::string& body) {
    if (body.empty()) return "";
    return "<section id=\"" + anchorOf(title) + "\">\n" + element("h2", escaped(title)) + "\n" + body + "</section>\n";
}

std::string anchorOf(const std::string& title) {
    std::string anchor;
    for (const char c : title) anchor += c == ' ' ? '-' : c;
    return escaped(anchor);
}

}  // namespace vorn_onu::html
