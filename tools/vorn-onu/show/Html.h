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
std::string row(const std::vector<std::string>& cells, const char* tag = "td");
// rows: the table's body; without headings it has none. Wide tables scroll by themselves.
std::string table(const std::vector<std::string>& headings, const std::string& rows, const std::string& classes = "");
std::string card(const std::string& body);
// What opens when it is asked to; no script is needed for that.
std::string details(const std::string& summary, const std::string& body, bool open, const std::string& classes = "");
// A part of the page with its heading; "" for an empty body. The heading's anchor is its title without blanks.
std::string section(const std::string& title, const std::string& body);
std::string anchorOf(const std::string& title);

}  // namespace vorn_onu::html

#endif
