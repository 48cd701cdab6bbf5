#include "running/scenario/FrameReturn.h"

#include <algorithm>
#include <utility>

#include <nlohmann/json.hpp>

#include "running/state/WalkWords.h"

namespace vorn_onu {

namespace {

// The answer to a frame that left: from where it left to where it came from.
FrameInput answerTo(const virtual_onu::Exit& exit) {
    FrameInput input;
    input.gemPort = exit.gemPort;
    input.from = exit.gemPort ? "gem " + std::to_string(*exit.gemPort) : exit.device;
    input.frame = exit.frame;
    std::swap(input.frame.source, input.frame.destination);
    const bool toGroup = (std::stoul(input.frame.source.substr(0, 2), nullptr, 16) & 1) != 0;
    if (toGroup) input.frame.source = virtual_onu::Frame{}.destination;  // a group answers nothing; one of it does
    input.frame.groupMessage.reset();
    return input;
}

bool isPlaceOf(const virtual_onu::Exit& exit, const FrameInput& input) {
    return input.gemPort ? exit.gemPort == input.gemPort : exit.device == input.from;
}

std::string returnDifference(const FrameInput& sent, const virtual_onu::Walk& back) {
    if (back.exits.empty()) return back.drops.empty() ? "it vanishes" : dropWords(back, back.drops.front());
    for (const auto& exit : back.exits) {
        if (!isPlaceOf(exit, sent)) continue;
        if (back.exits.size() > 1) return "it comes back at " + sent.place() + ", and elsewhere too";
        if (exit.frame.tags == sent.frame.tags && exit.frame.etherType == sent.frame.etherType) return "";
        virtual_onu::Frame went = sent.frame, came = exit.frame;
        return "it comes back as " + came.text() + ", not as " + went.text();
    }
    return "it comes out at " + exitWords(back.exits.front()) + ", not at " + sent.place();
}

}  // namespace

std::vector<std::string> placesOn(const virtual_onu::VirtualOnu& onu) {
    std::vector<std::string> places;
    for (const auto& device : onu.devices()) {
        const bool isPort = device.realDevice.empty() && !device.isBridge && device.name != "gpondef";
        if (isPort || !device.addresses.empty()) places.push_back(device.name);
    }
    for (const auto& port : onu.gemPorts()) places.push_back("gem " + std::to_string(port.portId));
    return places;
}

bool canArrive(const FrameInput& input, const virtual_onu::VirtualOnu& onu) {
    return input.gemPort ? onu.gemPort(*input.gemPort).has_value() : onu.deviceExists(input.from);
}

std::string noSuchPlace(const FrameInput& input, const std::string& then, const std::vector<std::string>& places) {
    return "there is no port '" + input.from + "'" + then + suggestion(input.from, places) + "; there are " +
           joined(places);
}

virtual_onu::Walk send(const virtual_onu::FrozenDataPath& path, const FrameInput& input) {
    return input.gemPort ? path.sendFromPon(*input.gemPort, input.frame) : path.sendFromPort(input.from, input.frame);
}

std::vector<Return> sendBack(const FrameSender& sender, const SentFrame& sent) {
    std::vector<Return> returns;
    for (const auto& exit : sent.walk.exits) {
        Return one{answerTo(exit), {}, ""};
        one.walk = sender(one.input);
        one.against = returnDifference(sent.input, one.walk);
        returns.push_back(std::move(one));
    }
    return returns;
}

bool allReturn(const std::vector<Return>& returns) {
    return std::all_of(returns.begin(), returns.end(), [](const Return& one) { return one.against.empty(); });
}

Json sentJson(const SentFrame& sent, const std::vector<Return>& returns, bool bothWays) {
    Json json = walkJson(sent.walk);
    json["from"] = sent.input.from;
    json["sent"] = frameJson(sent.input.frame);
    if (!bothWays) return json;
    Json back = Json::array();
    for (const Return& one : returns) {
        Json walk = walkJson(one.walk);
        walk["from"] = one.input.from;
        walk["sent"] = frameJson(one.input.frame);
        walk["asItWent"] = one.against.empty();
        if (!one.against.empty()) walk["reason"] = one.against;
        back.push_back(std::move(walk));
    }
    json["back"] = std::move(back);
    return json;
}

}  // namespace vorn_onu
