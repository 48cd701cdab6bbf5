// The tests that the OLT asks for. The answer says that a test has begun; its result goes out as a message of its own.
#ifndef OMCI_AGENT_SELF_TEST_H
#define OMCI_AGENT_SELF_TEST_H

#include <optional>

#include "omci/agent/Device.h"
#include "omci/mib/Entity.h"

class VornHal;

namespace omci {

struct SelfTestOutcome {
    Result result = Result::kSuccess;
    Bytes report;  // the content of the test result message
};

// An ANI-G gives its optical line supervision (supply, levels, bias, temperature), an ONU-G and a circuit pack say that
// they work. Other tests are refused with a parameter error, those of other classes as not supported.
SelfTestOutcome runSelfTest(ClassId classId, ByteView request, VornHal& hal, Device& device);

// The optical levels as the HAL reports them, units of 0.002 dB relative to 1 mW.
std::optional<int> receivedLevel(VornHal& hal);
std::optional<int> transmittedLevel(VornHal& hal);

}  // namespace omci

#endif
