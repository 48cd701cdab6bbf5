// vorn_omci_hal_init() starts a listener for the gateway, which announces itself on a thread of its own. That belongs
// to the start, and not to the call that is made when the thread happens to run.
#ifndef VORN_ONU_LISTENER_START_H
#define VORN_ONU_LISTENER_START_H

#include <cstdint>

#include "VirtualOnu.h"

namespace vorn_onu {

class ListenerStart {
public:
    // Before the call.
    explicit ListenerStart(const virtual_onu::VirtualOnu& onu) : onu_(onu), before_(waits()) {}
    // Behind it, until the listener waits for the gateway. Not for ever: the system may have no thread for one.
    void wait() const;

private:
    std::uint64_t waits() const;  // so far

    const virtual_onu::VirtualOnu& onu_;
    const std::uint64_t before_;
};

}  // namespace vorn_onu

#endif
