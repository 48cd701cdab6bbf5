// An agent of one's own, with nothing but what is installed: an OLT's get is answered.
#include <cstdio>

#include "hal/VornHal.h"
#include "omci/agent/Endpoint.h"
#include "omci/message/MessageText.h"

int main() {
    VornHal hal;
    omci::Device device;
    omci::SteadyClock clock;
    omci::Agent agent(omci::Board(), hal, device, clock);
    omci::Endpoint endpoint(agent, omci::Integrity());

    omci::Message get;
    get.transaction = 1;
    get.type = omci::MessageType::kGet;
    get.answerWanted = true;
    get.entity = {omci::class_id::kTCont, 0x8000};
    omci::encodeContent(get, omci::AttributesAsked{0x8000});
    const omci::Received received = endpoint.receive(omci::encodeFrame(get));
    const std::string line = omci::lineOf(omci::textOf(omci::decodeFrame(received.answer).message));
    std::puts(line.c_str());
    return line == "ONU  0x0001  get  T-CONT 0x8000  Alloc-ID 65535  success" ? 0 : 1;
}
