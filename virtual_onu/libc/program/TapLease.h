// Real packets for a program's board: the tool's TAPs are borrowed when the program has called the device, on a thread
// of the virtual ONU's own.
#ifndef VIRTUAL_ONU_TAP_LEASE_H
#define VIRTUAL_ONU_TAP_LEASE_H

namespace virtual_onu::taplease {

void begin();    // without TAPs in the run's folder the other does nothing
void touched();  // the program has called the device; takes no lock

}  // namespace virtual_onu::taplease

#endif
