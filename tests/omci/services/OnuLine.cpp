#include "omci/services/OnuLine.h"

#include <algorithm>
#include <map>
#include <sstream>

void startHal() {
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.reset();
    onu.setGateway(virtual_onu::GatewayMode::Answers, 10);
    OnuLine::hal().vorn_omci_hal_init();
}

namespace {

// The line with the number behind each mark replaced.
void replaceNumbers(std::string& line, const std::string& mark, const std::map<std::string, std::string>& by) {
    for (std::size_t at = line.find(mark); at != std::string::npos; at = line.find(mark, at)) {
        at += mark.size();
        const std::size_t end = std::min(line.find_first_not_of("0123456789", at), line.size());
        const auto found = by.find(line.substr(at, end - at));
        if (found != by.end()) line.replace(at, end - at, found->second);
    }
}

bool beginsWith(const std::string& line, const std::string& text) {
    return line.compare(0, text.size(), text) == 0;
}

}  // namespace

std::vector<std::string> comparableState() {
    auto& onu = virtual_onu::VirtualOnu::instance();
    std::map<std::string, std::string> ids, nothing;  // by index
    for (const auto& port : onu.gemPorts()) {
        ids[std::to_string(port.index)] = "#" + std::to_string(port.portId);
        nothing[std::to_string(port.index)] = "";
    }
    std::vector<std::string> lines;
    std::istringstream stream(onu.stateText());
    for (std::string line; std::getline(stream, line);) {
        // The default actions under a management host are set when its device is made, and the device outlives its
        // bridge.
        if (beginsWith(line, "default br")) continue;
        // A default action that drops goes to no device, but the last service's name is there.
        if (beginsWith(line, "default gpondef rx")) line.resize(line.rfind(' '));
        if (beginsWith(line, "gem ")) replaceNumbers(line, " index ", nothing);
        replaceNumbers(line, "gem=", ids);
        replaceNumbers(line, "mark-gem:=", ids);
        lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
    return lines;
}
