// Performs calls on a HAL.
#ifndef OMCI_SERVICES_PERFORMER_H
#define OMCI_SERVICES_PERFORMER_H

#include <cstdint>
#include <functional>

#include "omci/services/HalCall.h"

class VornHal;

namespace omci::services {

class Performer {
public:
    virtual ~Performer();
    // The HAL's answer: 0 for success.
    virtual int perform(const HalCall& call) = 0;
    // MAC address of the management host, as text; empty when the board does not report.
    virtual std::string hostMac() = 0;
};

// Ports and bridges are set by functions of their own beside the HAL's interface, whose slots for them do nothing on
// some boards. What is empty goes to the slot.
struct PortFunctions {
    std::function<void(std::uint16_t port, bool up)> setStatus;
    std::function<void(std::uint16_t port, std::uint16_t speed, std::uint8_t duplex)> setMode;
    // Keeps a port of a bridge apart from the other isolated ones, as br_set_port_isolated() does; 0 for success. Asked
    // for where Settings::isolatesPorts says that it is there.
    std::function<int(std::uint16_t bridge, std::uint16_t port, bool isolated)> isolate;
    // Lets a bridge forget addresses after that time, as br_set_ageing_time() does; 0 for success. Asked for where
    // Settings::setsAgeing says that it is there.
    std::function<int(std::uint16_t bridge, std::uint32_t seconds)> setAgeing;
};

class HalPerformer : public Performer {
public:
    // The HAL has to live as long as this object.
    explicit HalPerformer(VornHal& hal, PortFunctions ports = {});
    int perform(const HalCall& call) override;
    std::string hostMac() override;

private:
    VornHal& hal_;
    PortFunctions ports_;
};

}  // namespace omci::services

#endif
