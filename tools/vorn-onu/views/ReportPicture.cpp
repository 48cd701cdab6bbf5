// The picture of the report. Each service is a lane of its own, so that nothing crosses however many there are: UNI
// ends on the left, the bridge in the middle, the PON side with its GEM ports and T-CONTs on the right. Boxes name the
// VLANs that pass them.
#include <algorithm>

#include "running/io/Words.h"
#include "running/state/ServiceWords.h"
#include "running/state/Services.h"
#include "views/Html.h"
#include "views/Report.h"

namespace vorn_onu {

namespace {

constexpr int kBoxHeight = 38;
constexpr int kRowHeight = 46;
constexpr int kLanePadding = 6;
constexpr int kLaneGap = 8;
constexpr int kHeadHeight = 24;

// Columns: left edge and width of the boxes.
struct Column {
    int x;
    int width;
    const char* head;
};
constexpr Column kUniPort{12, 64, "UNI"};
constexpr Column kUniDevice{98, 138, "VLAN device"};
constexpr Column kBridge{268, 76, "bridge"};
constexpr Column kAniDevice{372, 104, "VLAN device"};
constexpr Column kAniPort{494, 72, "ANI"};
constexpr Column kGemPort{592, 138, "GEM port (index)"};
constexpr Column kTcont{752, 148, "T-CONT, alloc-id"};
constexpr int kPictureWidth = kTcont.x + kTcont.width + 12;
constexpr std::size_t kLettersInBox = 20;  // of the small text in the wide boxes

std::string number(int value) {
    return std::to_string(value);
}

class Picture {
public:
    void head(const Column& column) {
        svg_ += "<text class=\"head\" x=\"" + number(column.x) + "\" y=\"15\">" + column.head + "</text>\n";
    }
    void lane(int height) {
        svg_ += "<rect class=\"lane\" x=\"2\" y=\"0\" width=\"" + number(kPictureWidth - 4) + "\" height=\"" +
                number(height) + "\" rx=\"10\"/>\n";
    }
    // below: small, under the name; "" where there is nothing to say.
    void box(const Column& column, int centre, const char* kind, const std::string& name, bool solid = true,
             const std::string& below = "") {
        svg_ += "<rect class=\"" + std::string(kind) + (solid ? "" : " off") + "\" x=\"" + number(column.x) +
                "\" y=\"" + number(centre - kBoxHeight / 2) + "\" width=\"" + number(column.width) + "\" height=\"" +
                number(kBoxHeight) + "\" rx=\"7\"/>\n";
        text(column, centre + (below.empty() ? 5 : -2), "", name);
        if (!below.empty()) text(column, centre + 13, " class=\"small\"", below);
    }
    // From the right edge of one column to the left edge of another.
    void wire(const Column& from, int fromY, const Column& to, int toY) {
        const int start = from.x + from.width;
        const int middle = (start + to.x) / 2;
        svg_ += "<path class=\"wire\" d=\"M" + number(start) + " " + number(fromY) + " C" + number(middle) + " " +
                number(fromY) + " " + number(middle) + " " + number(toY) + " " + number(to.x) + " " + number(toY) +
                "\"/>\n";
    }
    // Past the bridge, in the row of its left end, and only then to where it leads.
    void flow(const Column& from, int fromY, const Column& to, int toY) {
        const int start = from.x + from.width, turn = kBridge.x + kBridge.width + 4;
        const int middle = (turn + to.x) / 2;
        svg_ += "<path class=\"flow\" d=\"M" + number(start) + " " + number(fromY) + " L" + number(turn) + " " +
                number(fromY) + " C" + number(middle) + " " + number(fromY) + " " + number(middle) + " " + number(toY) +
                " " + number(to.x) + " " + number(toY) + "\"/>\n";
    }
    // An image of its own. key: of a page that is open, to follow it; label: what it shows, "" for headings.
    std::string finish(int height, const std::string& key, const std::string& label) const {
        const std::string meaning = label.empty() ? " aria-hidden=\"true\""
                                                  : " role=\"img\" data-key=\"" + html::escaped(key) +
                                                        "\" aria-label=\"" + html::escaped(label) + "\"";
        return "<svg class=\"picture\"" + meaning + " viewBox=\"0 0 " + number(kPictureWidth) + " " + number(height) +
               "\">\n" + svg_ + "</svg>\n";
    }

private:
    void text(const Column& column, int y, const char* attributes, const std::string& what) {
        svg_ += std::string("<text") + attributes + " x=\"" + number(column.x + column.width / 2) + "\" y=\"" +
                number(y) + "\" text-anchor=\"middle\">" + html::escaped(what) + "</text>\n";
    }
    std::string svg_;
};

bool isUp(const DeviceState& state, const std::string& name) {
    const auto* device = state.device(name);
    return device == nullptr || device->up;
}

// The middle of row `row` among `count` rows that share a lane of `rows` rows.
int centreOf(std::size_t row, std::size_t count, std::size_t rows) {
    const int spare = static_cast<int>(rows - count) * kRowHeight / 2;
    return kLanePadding + spare + static_cast<int>(row) * kRowHeight + kRowHeight / 2;
}

std::vector<const virtual_onu::GemPort*> gemPortsOf(const DeviceState& state, const Service& service) {
    std::vector<const virtual_onu::GemPort*> ports;
    for (const auto& port : state.gemPorts)
        if (service.gemIndexes.count(port.index) != 0) ports.push_back(&port);
    return ports;
}

// Rows on the left: a bridge has one of its own when a flow passes it.
std::size_t userRows(const Service& service) {
    return service.unis.size() + service.flowDevices.size();
}

std::size_t rowsOf(const DeviceState& state, const Service& service) {
    const bool besides = service.unis.empty() && !service.flowDevices.empty();
    return std::max({std::size_t{1}, userRows(service) + (besides ? 1 : 0), service.anis.size(),
                     gemPortsOf(state, service).size()});
}

// A service that is drawn: its lane and the heights in it.
struct Lane {
    const DeviceState& state;
    const Service& service;
    std::size_t rows;
    int bridge;  // height of the bridge
    int ani;     // height of the first PON device
};

void drawUniSide(Picture& picture, const Lane& lane) {
    const Service& service = lane.service;
    const std::size_t count = std::max(userRows(service), std::size_t{1});
    for (std::size_t i = 0; i < service.unis.size(); ++i) {
        const ServiceEnd& end = service.unis[i];
        const int y = centreOf(i, count, lane.rows);
        picture.box(kUniPort, y, "uni", end.port, isUp(lane.state, end.port));
        if (end.device.empty()) {
            picture.wire(kUniPort, y, kBridge, lane.bridge);
            continue;
        }
        picture.wire(kUniPort, y, kUniDevice, y);
        picture.box(kUniDevice, y, "uni", end.device, isUp(lane.state, end.device),
                    vlanList(vlansAt(service, end), kLettersInBox));
        if (service.isBridge)
            picture.wire(kUniDevice, y, kBridge, lane.bridge);
        else
            picture.wire(kUniDevice, y, kAniDevice, lane.ani);
    }
}

// Devices of other services at the bottom of the lane.
void drawFlows(Picture& picture, const Lane& lane) {
    const std::size_t count = lane.service.flowDevices.size();
    for (std::size_t i = 0; i < count; ++i) {
        const std::string& device = lane.service.flowDevices[i];
        const int y = centreOf(lane.rows - count + i, lane.rows, lane.rows);
        picture.flow(kUniDevice, y, kAniDevice, lane.ani);
        picture.box(kUniDevice, y, "uni", device, isUp(lane.state, device), "VLAN flow");
    }
}

void drawPonSide(Picture& picture, const Lane& lane) {
    const Service& service = lane.service;
    const DeviceState& state = lane.state;
    for (std::size_t i = 0; i < service.anis.size(); ++i) {
        const ServiceEnd& end = service.anis[i];
        const int y = centreOf(i, service.anis.size(), lane.rows);
        if (service.isBridge) picture.wire(kBridge, lane.bridge, kAniDevice, y);
        picture.box(kAniDevice, y, "pon", end.device.empty() ? end.port : end.device, isUp(state, end.device));
        if (end.device.empty() || end.port.empty()) continue;
        picture.wire(kAniDevice, y, kAniPort, y);
        picture.box(kAniPort, y, "pon", end.port, isUp(state, end.port));
    }
    const auto ports = gemPortsOf(state, service);
    for (std::size_t i = 0; i < ports.size(); ++i) {
        const auto& port = *ports[i];
        const int y = centreOf(i, ports.size(), lane.rows);
        picture.wire(kAniPort, lane.ani, kGemPort, y);
        picture.box(kGemPort, y, "pon", std::to_string(port.portId) + " (" + std::to_string(port.index) + ")",
                    port.enabled, vlanList(vlansOnGemPort(service, port.index), kLettersInBox));
        picture.wire(kGemPort, y, kTcont, y);
        const TcontWords words = tcontWords(state, service, port);
        picture.box(kTcont, y, "pon", words.tcont, true, words.allocId);
    }
}

// "br3: sid1.3, gpon3.3, GEM port 1001; the services and their rules tell the same in words"
std::string labelOf(const DeviceState& state, const Service& service) {
    std::vector<std::string> parts;
    for (const auto* ends : {&service.unis, &service.anis})
        for (const ServiceEnd& end : *ends) parts.push_back(end.device.empty() ? end.port : end.device);
    for (const auto* port : gemPortsOf(state, service)) parts.push_back("GEM port " + std::to_string(port->portId));
    return service.name + (parts.empty() ? "" : ": ") + joined(parts) +
           "; the services and their rules tell the same in words";
}

std::string laneOf(const DeviceState& state, const Service& service) {
    const std::size_t rows = rowsOf(state, service);
    const int height = static_cast<int>(rows) * kRowHeight + 2 * kLanePadding;
    // Flows lie at the bottom of the lane, the bridge in the middle of the rest.
    const std::size_t bridgeRows = std::max(rows - service.flowDevices.size(), std::size_t{1});
    const int bridge = centreOf(0, 1, bridgeRows);
    const int ani = service.anis.empty() ? bridge : centreOf(0, service.anis.size(), rows);
    const Lane lane{state, service, rows, bridge, ani};
    Picture picture;
    picture.lane(height);
    drawFlows(picture, lane);
    drawUniSide(picture, lane);
    if (service.isBridge) picture.box(kBridge, lane.bridge, "bridge", service.name, isUp(state, service.name));
    drawPonSide(picture, lane);
    return picture.finish(height + kLaneGap, service.name, labelOf(state, service));
}

}  // namespace

std::string pictureStyle() {
    return "svg.picture { min-width:" + number(kPictureWidth) + "px }\n";
}

std::string topologyPicture(const DeviceState& state) {
    const std::vector<Service> services = servicesOf(state);
    if (services.empty()) return "";
    Picture heads;
    for (const Column& column : {kUniPort, kUniDevice, kBridge, kAniDevice, kAniPort, kGemPort, kTcont})
        heads.head(column);
    std::string all = heads.finish(kHeadHeight, "", "");
    for (const Service& service : services) all += laneOf(state, service);
    return all;
}

}  // namespace vorn_onu
