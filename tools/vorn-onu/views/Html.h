// Pieces of an HTML page as text.
#ifndef VORN_ONU_HTML_H
#define VORN_ONU_HTML_H

#include <string>
#include <vector>

namespace vorn_onu::html {

// Text made safe inside an element or a quoted attribute.
std::string escaped(const std::string& text);

std::string element(const std::string& tag, const std::string& content, const std::string& classes = "");
std::string code(const std::string& text);  // escaped
std::string chip(const std::string& text, const std::string& kind);
// ✓ or ✗, with its meaning for those who do not see it.
std::string mark(bool passed);
std::string link(const std::string& anchor, const std::string& text);  // to a place on the same page

// Rows of a table, with a heading of their own or without one.
struct RowGroup {
    std::string title;
    std::vector<std::vector<std::string>> rows;  // cells as HTML, as many as the table has headings
};
// Columns without any content are left out; "" when there are no rows. A wide table scrolls by itself.
std::string table(const std::vector<std::string>& headings, const std::vector<RowGroup>& groups);
// On a narrow page each row is a paragraph of its own, with the headings in front of its cells.
std::string stackingTable(const std::vector<std::string>& headings, const std::vector<RowGroup>& groups,
                          const std::string& classes);

std::string card(const std::string& body);
// What opens when it is asked to; no script is needed for that.
std::string details(const std::string& summary, const std::string& body, bool open, const std::string& classes = "");
// A part of the page with its heading; "" for an empty body. The heading's anchor is its title without blanks.
std::string section(const std::string& title, const std::string& body);
std::string anchorOf(const std::string& title);

}  // namespace vorn_onu::html

#endif
