#include "living/LivingOnu.h"

#include <utility>

#include <nlohmann/json.hpp>

#include "VirtualOnu.h"
#include "bridge/BridgeControl.h"
#include "device/EthernetUni.h"
#include "hal/HALFactory.h"
#include "hal/HalForwarding.h"
#include "hal/VornHal.h"
#include "living/CallStep.h"
#include "omci/agent/Identity.h"
#include "running/scenario/CallTally.h"
#include "running/scenario/ListenerStart.h"
#include "running/scenario/operations/Operations.h"
#include "running/state/Effects.h"

namespace vorn_onu {

namespace {

constexpr int kGatewayMs = 10;

VornHal& startedHal(const BoardStart& start) {
    start.apply();
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.setGateway(virtual_onu::GatewayMode::Answers, kGatewayMs);
    VornHal& hal = *HALFactory::getInstance()->CreateHALObject(0);
    onu.letReceiversWait(false);  // for messages of another life, on a bus that is new
    const ListenerStart listener(onu);
    if (hal.vorn_omci_hal_init() == 0) listener.wait();
    onu.letReceiversWait(true);
    return hal;
}

omci::Board boardOf(VornHal& hal, const omci::BoardNumbering& numbering) {
    omci::Board board;
    omci::setNumbering(board, numbering);
    omci::readIdentity(hal, board);
    return board;
}

omci::services::Settings settings() {
    omci::services::Settings settings;
    settings.standardForwarding = vorn_hal_get_forwarding() == VORN_HAL_FORWARDING_G988;
    settings.isolatesPorts = settings.setsAgeing = true;
    return settings;
}

int isolatePort(std::uint16_t bridge, std::uint16_t port, bool isolated) {
    return br_set_port_isolated(BoardDevice::bridgeName(bridge).c_str(), BoardDevice::memberName(bridge, port).c_str(),
                                isolated ? 1 : 0);
}

int setAgeing(std::uint16_t bridge, std::uint32_t seconds) {
    timeval time{static_cast<time_t>(seconds), 0};
    return br_set_ageing_time(BoardDevice::bridgeName(bridge).c_str(), &time);
}

std::vector<omci::InstanceId> portsOf(const omci::Board& board) {
    std::vector<omci::InstanceId> ports;
    for (unsigned port = 0; port < board.ethernetPorts; ++port)
        ports.push_back(omci::ethernetPortInstance(board, port));
    return ports;
}

}  // namespace

LivingOnu::EffectPerformer::EffectPerformer(VornHal& hal)
    : hal_(hal, {[](std::uint16_t port, bool up) { setEthernetUniStatus(port, up ? 1 : 0); }, updateEthernetUniSpeed,
                 isolatePort, setAgeing}) {}

int LivingOnu::EffectPerformer::perform(const omci::services::HalCall& call) {
    const auto& onu = virtual_onu::VirtualOnu::instance();
    const DeviceImage before = DeviceImage::of(onu);
    const int result = hal_.perform(call);
    effects = vorn_onu::effects(before, DeviceImage::of(onu));
    return result;
}

LivingOnu::LivingOnu(const omci::BoardNumbering& numbering, const BoardStart& start)
    : hal_(startedHal(start)),
      board_(boardOf(hal_, numbering)),
      device_(portsOf(board_)),
      agent_(board_, hal_, device_, clock_),
      performer_(hal_),
      services_(agent_.mib(), performer_, settings()) {
    origins_.take(virtual_onu::VirtualOnu::instance().ruleTables(), 0);
    services_.onCall([this](const omci::services::MadeCall& made) {
        HalStep call;
        call.number = ++calls_;
        call.step = callStep(made.call);
        call.name = shortOperationName(call.step->at("call").get<std::string>());
        call.words = callWords(*call.step);
        (*call.step)["result"] = made.result;
        call.effects = std::exchange(performer_.effects, {});
        call.rules = origins_.take(virtual_onu::VirtualOnu::instance().ruleTables(), call.number);
        call.result = made.result;
        callTally().add(call.name, made.result != 0);
        call.entities = made.cause.entities;
        for (const auto& message : made.cause.messages) call.messages.push_back(message.number);
        now_.calls.push_back(std::move(call));
    });
    services_.onProblem([this](const omci::services::Problem& problem) { now_.problems.push_back(problem); });
}

LivingOnu::~LivingOnu() {
    virtual_onu::VirtualOnu::instance().closeBoard();
}

Handling LivingOnu::handle(const omci::Message& request) {
    omci::Handled handled = agent_.handle(request);
    services_.settle(static_cast<int>(request.type), request.transaction);
    agent_.afterAnswer();
    now_.handled = std::move(handled);
    now_.autonomous = agent_.takeAutonomous();
    return std::exchange(now_, {});
}

std::vector<omci::Message> LivingOnu::tick() {
    agent_.tick();
    return agent_.takeAutonomous();
}

void LivingOnu::moveDataSync(unsigned count) {
    constexpr unsigned kMax = 255;  // followed by 1
    const omci::EntityKey key{omci::class_id::kOnuData, 0};
    const unsigned now = agent_.mib().find(key)->number8(omci::attr::onu_data::kMibDataSync) + count;
    agent_.mib().setNumber(key, omci::attr::onu_data::kMibDataSync, now > kMax ? now - kMax : now);
}

void LivingOnu::reboot() {
    agent_.restartByItself();
    services_.settle(static_cast<int>(omci::MessageType::kReboot), 0);
}

Json LivingOnu::startSteps(const BoardStart& start) {
    Json steps = Json::array(), board = Json::object();
    if (!start.serialNumber.empty()) board["serialNumber"] = start.serialNumber;
    if (!start.baseMac.empty()) board["baseMac"] = start.baseMac;
    if (!board.empty()) steps.push_back(Json{{"board", board}});
    steps.push_back(Json{{"gateway", {{"answersAfterMs", kGatewayMs}}}});
    steps.push_back(Json{{"call", "vorn_omci_hal_init"}});
    return steps;
}

}  // namespace vorn_onu
