#include "show/Html.h"

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

std::string row(const std::vector<std::string>& cells, const char* tag) {
    std::string text;
    for (const std::string& cell : cells) text += element(tag, cell);
    return element("tr", text) + "\n";
}

std::string table(const std::vector<std::string>& headings, const std::string& rows, const std::string& classes) {
    const std::string head = headings.empty() ? "" : element("thead", row(headings, "th"));
    return element("div", element("table", head + element("tbody", rows), classes), "scroll") + "\n";
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
