#include "views/page/Shell.h"

#include "VirtualOnu.h"
#include "views/Html.h"
#include "views/Report.h"
#include "views/ReportStyle.h"
#include "views/page/Guard.h"
#include "views/page/PageStyle.h"

namespace vorn_onu::page {

namespace {

using namespace html;

// A field with its label. attributes: of the input element, as HTML.
std::string field(const std::string& name, const std::string& label, const std::string& attributes) {
    return "<label>" + element("span", escaped(label)) + "<input name=\"" + name + "\" " + attributes + "></label>\n";
}

std::string number(const std::string& name, const std::string& label, const std::string& lowest,
                   const std::string& highest, const std::string& more = "") {
    return field(name, label, "type=\"number\" min=\"" + lowest + "\" max=\"" + highest + "\" step=\"1\" " + more);
}

std::string form(const std::string& id, const std::string& title, const std::string& fields,
                 const std::string& buttons) {
    return "<form id=\"" + id + "\" class=\"card\" aria-labelledby=\"" + id + "-title\">\n<h3 id=\"" + id +
           "-title\">" + escaped(title) + "</h3>\n" + element("div", fields, "fields") +
           element("div", buttons, "buttons") + "</form>\n";
}

std::string submit(const std::string& text) {
    return "<button type=\"submit\">" + escaped(text) + "</button>";
}

std::string tagFields(const std::string& which, const std::string& title) {
    return "<fieldset><legend>" + escaped(title) + "</legend><div class=\"fields\">" +
           number(which + "-vid", "VID", "0", "4095", "placeholder=\"none\"") +
           number(which + "-pbits", "p-bits", "0", "7", "placeholder=\"0\"") +
           field(which + "-tpid", "TPID",
                 "placeholder=\"0x8100\" pattern=\"0x[0-9a-fA-F]{1,4}\" title=\"a type word such as 0x88a8\" "
                 "autocomplete=\"off\"") +
           "</div></fieldset>";
}

std::string etherTypes() {
    std::string options;
    for (const char* name : {"ipv4", "ipv6", "arp", "pppoeDiscovery", "pppoeSession", "eapol"})
        options += "<option>" + std::string(name) + "</option>";
    return "<label><span>EtherType</span><select name=\"etherType\">" + options + "</select></label>\n";
}

std::string frameForm() {
    return form("frame-form", "Compose a frame",
                field("from", "comes from",
                      "required list=\"part-places\" placeholder=\"sid0, gem 1001\" autocomplete=\"off\"") +
                    etherTypes() + number("dscp", "DSCP", "0", "63", "placeholder=\"0\"") +
                    field("ipProtocol", "IP protocol", "placeholder=\"none; udp, 6\" autocomplete=\"off\"") +
                    number("payload", "payload, octets", "0", "9600", "placeholder=\"least\"") +
                    field("source", "source MAC", "placeholder=\"any\" autocomplete=\"off\"") +
                    field("destination", "destination MAC", "placeholder=\"any\" autocomplete=\"off\"") +
                    tagFields("outer", "Outer tag") + tagFields("inner", "Inner tag"),
                submit("Send the frame"));
}

std::string faultForm() {
    std::string names;
    for (const std::string& name : virtual_onu::VirtualOnu::faultNames())
        names += "<option value=\"" + escaped(name) + "\"></option>";
    return form("fault-form", "Let a call fail",
                field("function", "call",
                      "required list=\"functions\" placeholder=\"tmctl_setQueueCfg\" autocomplete=\"off\"") +
                    number("nth", "which from now on", "1", "1000000", "value=\"1\" required") +
                    number("code", "result, or errno", "-1000000", "1000000", "value=\"1\" required"),
                submit("Let it fail") +
                    "<button type=\"button\" data-step=\"{&quot;fault&quot;:&quot;clear&quot;}\">Take all faults "
                    "away</button>") +
           "<datalist id=\"functions\">" + names + "</datalist>\n";
}

std::string timeForms() {
    return form("delay-form", "Let the gateway take its time",
                number("answersAfterMs", "answers after, ms", "0", "60000", "value=\"50\" required"), submit("Set")) +
           form("advance-form", "Let idle threads live through some time",
                number("advance", "milliseconds", "1", "60000", "value=\"2000\" required"), submit("Advance"));
}

// A place for a part; hidden until there is something to show.
std::string place(const std::string& part) {
    return "<div id=\"part-" + part + "\"></div>\n";
}

std::string emptySection(const std::string& title, const std::string& part) {
    return "<section id=\"" + part + "\" hidden>\n" + element("h2", escaped(title)) + "\n" + place(part) +
           "</section>\n";
}

std::string contents() {
    std::string links;
    const auto add = [&links](const char* anchor, const char* title) { links += link(anchor, title) + "\n"; };
    add("picture", "Picture");
    add("disturb", "Disturb it");
    add("frame", "Follow a frame");
    add("counters", "Counters");
    add("calls", "Last calls");
    add("services", "Services and rules");
    add("mib", "MIB");
    add("pon", "GEM ports and T-CONTs");
    add("devices", "Bridges and devices");
    add("lists", "Runner, routing, messages");
    return "<nav aria-label=\"Contents\">" + links + "</nav>\n";
}

// What is on the board, by words.
std::string filter() {
    return "<p class=\"filter\"><label><span>Show only what has these words</span><input type=\"search\" id=\"filter\" "
           "placeholder=\"br12, VID 100, gem 1012\" autocomplete=\"off\"></label> <span id=\"filtered\" "
           "role=\"status\"></span></p>\n";
}

}  // namespace

std::string newNonce() {
    return Guard(0).token();
}

std::string policyOf(const std::string& nonce) {
    return "default-src 'none'; script-src 'nonce-" + nonce + "'; style-src 'nonce-" + nonce +
           "'; connect-src 'self'; img-src data:; form-action 'none'; base-uri 'none'; frame-ancestors 'none'";
}

std::string shellPage(const std::string& board, const std::string& nonce) {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<meta name=\"viewport\" "
           "content=\"width=device-width, initial-scale=1\">\n<title>" +
           escaped(board) +
           " – virtual ONU</title>\n<link rel=\"icon\" href=\"data:,\">\n<link rel=\"stylesheet\" nonce=\"" + nonce +
           "\" href=\"page.css\">\n<script nonce=\"" + nonce +
           "\" src=\"page.js\" defer></script>\n</head>\n<body>\n<a class=\"skip\" href=\"#picture\">To the "
           "picture</a>\n"
           "<main>\n<header><div class=\"source\">a board that runs</div>" +
           element("h1", escaped(board)) +
           "<p id=\"connection\" role=\"status\">Connecting …</p><ul id=\"part-facts\" "
           "class=\"facts\"></ul></header>\n" +
           contents() + filter() +
           "<noscript><p class=\"warn\">This page needs its script: the board changes while it is "
           "open.</p></noscript>\n"
           "<p id=\"readonly\" class=\"warn\" hidden>You can look at this board. To change something, open the link "
           "with the "
           "token that <code>vorn-onu at " +
           escaped(board) + " serve</code> has printed.</p>\n" + emptySection("Warnings", "warnings") +
           emptySection("The device by service", "picture") +
           "<section id=\"disturb\">\n<h2>Disturb it</h2>\n<fieldset class=\"bare\" id=\"changes\" disabled>\n" +
           "<legend class=\"unseen\">Links, fibre, gateway, faults and time</legend>\n<div class=\"board\">\n<div "
           "id=\"part-controls\"></div>\n" +
           element("div", faultForm() + timeForms()) +
           "</div>\n</fieldset>\n</section>\n<section id=\"frame\">\n<h2>Follow a frame</h2>\n<fieldset class=\"bare\" "
           "disabled>\n<legend class=\"unseen\">A frame</legend>\n" +
           frameForm() +
           "<datalist id=\"part-places\"></datalist>\n</fieldset>\n<div id=\"way\" class=\"card\" "
           "hidden></div>\n</section>\n" +
           emptySection("Counters", "counters") + emptySection("Last calls into the device", "calls") +
           emptySection("Services and their rules", "services") + emptySection("MIB", "mib") +
           emptySection("GEM ports and T-CONTs", "pon") + emptySection("Bridges and devices", "devices") +
           emptySection("Runner, routing, messages", "lists") +
           "</main>\n<p id=\"outcome\" role=\"status\"></p>\n</body>\n</html>\n";
}

std::string pageStyle() {
    return kReportStyle + pictureStyle() + kPageStyle;
}

}  // namespace vorn_onu::page
