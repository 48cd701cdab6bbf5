#include "views/page/MibPart.h"

#include <cstddef>

#include "views/Html.h"

namespace vorn_onu::page {

namespace {

using namespace html;

constexpr std::size_t kMaxOpenTrees = 4;
const char* const kFreeTitle = "No bridge leads to";

// The line of an entity without what hangs on it.
std::string lineOf(const MibNode& node) {
    std::string line = node.how.empty() ? "" : element("span", escaped(node.how) + " → ", "soft");
    line += element("b", escaped(node.entity));
    if (!node.exists) line += element("span", " does not exist", "no");
    if (node.isAbove) line += element("span", " (above)", "soft");
    if (!node.attributes.empty()) line += "<br>" + element("span", escaped(node.attributes), "soft");
    std::string rows;
    for (const std::string& row : node.rows) rows += element("li", escaped(row));
    return line + (rows.empty() ? "" : element("ul", rows, "rows"));
}

// The nodes from at on that are below this depth, as nested lists.
std::string listFrom(const std::vector<MibNode>& nodes, std::size_t& at, std::size_t depth) {
    std::string items;
    while (at < nodes.size() && nodes[at].depth == depth) {
        const std::string line = lineOf(nodes[at]);
        ++at;
        items += element("li", line + listFrom(nodes, at, depth + 1));
    }
    return items.empty() ? "" : element("ul", items, "mib");
}

// Folded where there are many; the key is what the page knows it by.
std::string treeCard(const std::string& title, const std::string& body, bool open) {
    return "<div data-key=\"" + escaped(title) + "\">" +
           details(element("b", escaped(title)), body, open, "card folded") + "</div>\n";
}

}  // namespace

std::string mibPart(const std::vector<MibNode>& nodes) {
    if (nodes.empty()) return card(element("p", "The OLT has made no entities.", "last soft"));
    std::size_t trees = 0;
    for (const MibNode& node : nodes) trees += node.depth == 0 && !node.isFree ? 1 : 0;
    std::string text, free;
    for (std::size_t at = 0; at < nodes.size();) {
        const MibNode& root = nodes[at];
        if (root.isFree) {
            free = listFrom(nodes, at, 0);
            continue;
        }
        ++at;
        std::string body = root.attributes.empty() ? "" : element("p", escaped(root.attributes), "soft");
        body += listFrom(nodes, at, root.depth + 1);
        text += treeCard(root.entity, body, trees <= kMaxOpenTrees);
    }
    if (!free.empty()) text += treeCard(kFreeTitle, free, false);
    return text;
}

}  // namespace vorn_onu::page
