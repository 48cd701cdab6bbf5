// A whole ONU at the end of a line: agent, services and HAL on the process's virtual ONU.
#ifndef TESTS_OMCI_SERVICES_ONU_LINE_H
#define TESTS_OMCI_SERVICES_ONU_LINE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "VirtualOnu.h"
#include "bridge/BridgeControl.h"
#include "device/EthernetUni.h"
#include "hal/HALFactory.h"
#include "hal/HalForwarding.h"
#include "hal/VornHal.h"
#include "omci/agent/Agent.h"
#include "omci/olt/Olt.h"
#include "omci/services/Services.h"

class OnuLine : public olt::Line {
public:
    OnuLine()
        : agent_(board(), hal(), device_, clock_),
          performer_(hal(), {[](std::uint16_t port, bool up) { setEthernetUniStatus(port, up ? 1 : 0); },
                             updateEthernetUniSpeed, isolate, setAgeing}),
          services(agent_.mib(), performer_, settings()) {
        services.onCall([this](const omci::services::MadeCall& call) { calls.push_back(call); });
        services.onProblem([this](const omci::services::Problem& problem) { problems.push_back(problem); });
    }

    std::optional<omci::Message> exchange(const omci::Message& request) override {
        const auto handled = agent_.handle(request);
        services.settle(static_cast<int>(request.type), request.transaction);
        agent_.afterAnswer();
        return handled.answer;
    }

    omci::Agent& agent() { return agent_; }

    static VornHal& hal() { return *HALFactory::getInstance()->CreateHALObject(0); }
    static omci::Board board() { return {}; }
    static omci::services::Settings settings() {
        omci::services::Settings settings;
        settings.standardForwarding = vorn_hal_get_forwarding() == VORN_HAL_FORWARDING_G988;
        settings.isolatesPorts = settings.setsAgeing = true;
        return settings;
    }

private:
    // The board numbers its first two ports the other way round.
    static int isolate(std::uint16_t bridge, std::uint16_t port, bool isolated) {
        const std::string number = std::to_string(bridge), sid = std::to_string(port <= 2 ? 2 - port : port - 1);
        return br_set_port_isolated(("br" + number).c_str(), ("sid" + sid + "." + number).c_str(), isolated ? 1 : 0);
    }

    static int setAgeing(std::uint16_t bridge, std::uint32_t seconds) {
        timeval time{static_cast<time_t>(seconds), 0};
        return br_set_ageing_time(("br" + std::to_string(bridge)).c_str(), &time);
    }

    omci::Device device_;
    omci::SteadyClock clock_;
    omci::Agent agent_;
    omci::services::HalPerformer performer_;

public:
    omci::services::Services services;
    std::vector<omci::services::MadeCall> calls;
    std::vector<omci::services::Problem> problems;
};

// A factory-new board with the HAL connected to a gateway that answers at once.
void startHal();

struct StartedHal {
    StartedHal() { startHal(); }
};
// An OLT, and an ONU whose board is new.
class OltAndOnu : public ::testing::Test, StartedHal {
protected:
    static virtual_onu::VirtualOnu& onu() { return virtual_onu::VirtualOnu::instance(); }
    OnuLine line_;
    olt::Olt olt_{line_};
};

// The device's state, but for what the order of the same work decides: GEM ports by their ids instead of their indexes,
// lines in alphabetical order, each once. What the HAL leaves behind when everything is taken back is left out: rules
// that steer GEM ports to their bridges, the default bridge.
std::vector<std::string> comparableState();

#endif
