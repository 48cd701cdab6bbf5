// The picture of the report. Each service is a lane of its own, so that nothing crosses however many there are: UNI
// ends on the left, the bridge in the middle, the PON side with its GEM ports and T-CONTs on the right.
#include <algorithm>

#include "show/Html.h"
#include "show/Report.h"
#include "state/PonWords.h"
#include "state/Services.h"

namespace vorn_onu {

namespace {

constexpr int kBoxHeight = 26;
constexpr int kRowHeight = 34;
constexpr int kLanePadding = 8;
constexpr int kLaneGap = 8;
constexpr int kHeadHeight = 24;

// Columns: left edge and width of the boxes.
struct Column {
    int x;
    int width;
    const char* head;
};
constexpr Column kUniPort{12, 64, "UNI"};
constexpr Column kUniDevice{100, 96, "VLAN device"};
constexpr Column kBridge{240, 82, "bridge"};
constexpr Column kAniDevice{366, 104, "VLAN device"};
constexpr Column kAniPort{494, 84, "ANI"};
constexpr Column kGemPort{602, 126, "GEM port (index)"};
constexpr Column kTcont{752, 236, "T-CONT, queue, alloc-id"};
constexpr int kPictureWidth = kTcont.x + kTcont.width + 12;

class Picture {
public:
    void head(const Column& column) {
        svg_ += "<text class=\"head\" x=\"" + std::to_string(column.x) + "\" y=\"15\">" + column.head + "</text>\n";
    }
    void lane(int top, int height) {
        svg_ += "<rect class=\"lane\" x=\"2\" y=\"" + std::to_string(top) + "\" width=\"" +
                std::to_string(kPictureWidth - 4) + "\" height=\"" + std::to_string(height) + "\" rx=\"10\"/>\n";
    }
    void box(const Column& column, int centre, const char* kind, const std::string& text, bool solid = true) {
        svg_ += "<rect class=\"" + std::string(kind) + (solid ? "" : " off") + "\" x=\"" + std::to_string(column.x) +
                "\" y=\"" + std::to_string(centre - kBoxHeight / 2) + "\" width=\"" + std::to_string(column.width) +
                "\" height=\"" + std::to_string(kBoxHeight) + "\" rx=\"7\"/>\n<text x=\"" +
                std::to_string(column.x + column.width / 2) + "\" y=\"" + std::to_string(centre + 5) +
                "\" text-anchor=\"middle\">" + html::escaped(text) + "</text>\n";
    }
    // From the right edge of one column to the left edge of another.
    void wire(const Column& from, int fromY, const Column& to, int toY) {
        const int start = from.x + from.width;
        const int middle = (start + to.x) / 2;
        svg_ += "<path class=\"wire\" d=\"M" + std::to_string(start) + " " + std::to_string(fromY) + " C" +
                std::to_string(middle) + " " + std::to_string(fromY) + " " + std::to_string(middle) + " " +
                std::to_string(toY) + " " + std::to_string(to.x) + " " + std::to_string(toY) + "\"/>\n";
    }
    std::string finish(int height) const {
        const std::string size = std::to_string(kPictureWidth) + " " + std::to_string(height);
        return "<svg role=\"img\" aria-label=\"Devices, bridges, GEM ports and T-CONTs by service\" "
               "style=\"min-width:" +
               std::to_string(kPictureWidth) + "px\" viewBox=\"0 0 " + size + "\">\n" + svg_ + "</svg>";
    }

private:
    std::string svg_;
};

bool isUp(const DeviceState& state, const std::string& name) {
    const auto* device = state.device(name);
    return device == nullptr || device->up;
}

// The middle of row `row` among `count` rows that share a lane of `rows` rows.
int centreOf(int top, std::size_t row, std::size_t count, std::size_t rows) {
    const int spare = static_cast<int>(rows - count) * kRowHeight / 2;
    return top + kLanePadding + spare + static_cast<int>(row) * kRowHeight + kRowHeight / 2;
}

// "0, 3, 5 and more"
std::string queueNumbers(const std::set<unsigned>& queues) {
    constexpr std::size_t kMostQueues = 3;
    std::string text;
    std::size_t shown = 0;
    for (const unsigned queue : queues) {
        if (++shown > kMostQueues) return text + "…";
        text += (text.empty() ? "" : ",") + std::to_string(queue);
    }
    return text;
}

std::string tcontWords(const DeviceState& state, const Service& service, const virtual_onu::GemPort& port) {
    if (port.downstreamOnly || port.allocId == kNoAllocId) return "downstream only";
    const auto queues = service.queues.find(port.index);
    const std::string queue = queues == service.queues.end() ? "" : " · queue " + queueNumbers(queues->second);
    for (const auto& tcont : state.tconts)
        if (tcont.allocId == port.allocId)
            return "T-CONT " + std::to_string(tcont.index) + queue + " · alloc-id " + std::to_string(tcont.allocId);
    return "alloc-id " + std::to_string(port.allocId) + ", no T-CONT";
}

std::vector<const virtual_onu::GemPort*> gemPortsOf(const DeviceState& state, const Service& service) {
    std::vector<const virtual_onu::GemPort*> ports;
    for (const auto& port : state.gemPorts)
        if (service.gemIndexes.count(port.index) != 0) ports.push_back(&port);
    return ports;
}

std::size_t rowsOf(const DeviceState& state, const Service& service) {
    return std::max({std::size_t{1}, service.unis.size(), service.anis.size(), gemPortsOf(state, service).size()});
}

void drawUniSide(Picture& picture, const DeviceState& state, const Service& service, int top, std::size_t rows,
                 int middle) {
    for (std::size_t i = 0; i < service.unis.size(); ++i) {
        const ServiceEnd& end = service.unis[i];
        const int y = centreOf(top, i, service.unis.size(), rows);
        picture.box(kUniPort, y, "uni", end.port, isUp(state, end.port));
        if (end.device.empty()) {
            picture.wire(kUniPort, y, kBridge, middle);
            continue;
        }
        picture.wire(kUniPort, y, kUniDevice, y);
        picture.box(kUniDevice, y, "uni", end.device, isUp(state, end.device));
        if (service.isBridge)
            picture.wire(kUniDevice, y, kBridge, middle);
        else
            picture.wire(kUniDevice, y, kAniDevice, middle);
    }
}

void drawPonSide(Picture& picture, const DeviceState& state, const Service& service, int top, std::size_t rows,
                 int middle) {
    int ani = middle;
    for (std::size_t i = 0; i < service.anis.size(); ++i) {
        const ServiceEnd& end = service.anis[i];
        const int y = ani = centreOf(top, i, service.anis.size(), rows);
        if (service.isBridge) picture.wire(kBridge, middle, kAniDevice, y);
        picture.box(kAniDevice, y, "pon", end.device.empty() ? end.port : end.device, isUp(state, end.device));
        if (end.device.empty() || end.port.empty()) continue;
        picture.wire(kAniDevice, y, kAniPort, y);
        picture.box(kAniPort, y, "pon", end.port, isUp(state, end.port));
    }
    const auto ports = gemPortsOf(state, service);
    for (std::size_t i = 0; i < ports.size(); ++i) {
        const int y = centreOf(top, i, ports.size(), rows);
        picture.wire(kAniPort, ani, kGemPort, y);
        picture.box(kGemPort, y, "pon", std::to_string(ports[i]->portId) + " (" + std::to_string(ports[i]->index) + ")",
                    ports[i]->enabled);
        picture.wire(kGemPort, y, kTcont, y);
        picture.box(kTcont, y, "pon", tcontWords(state, service, *ports[i]));
    }
}

}  // namespace

std::string topologyPicture(const DeviceState& state) {
    const std::vector<Service> services = servicesOf(state);
    if (services.empty()) return "";
    Picture picture;
    for (const Column& column : {kUniPort, kUniDevice, kBridge, kAniDevice, kAniPort, kGemPort, kTcont})
        picture.head(column);
    int top = kHeadHeight;
    for (const Service& service : services) {
        const std::size_t rows = rowsOf(state, service);
        const int height = static_cast<int>(rows) * kRowHeight + 2 * kLanePadding;
        const int middle = top + height / 2;
        picture.lane(top, height);
        drawUniSide(picture, state, service, top, rows, middle);
        if (service.isBridge) picture.box(kBridge, middle, "bridge", service.name, isUp(state, service.name));
        drawPonSide(picture, state, service, top, rows, middle);
        top += height + kLaneGap;
    }
    return picture.finish(top);
}

}  // namespace vorn_onu
