// The device's state as a file, written soon after every change and when the program ends. A process that never touches
// the device writes nothing, nor does a forked child that has left its board as it was.
#ifndef VIRTUAL_ONU_SNAPSHOT_H
#define VIRTUAL_ONU_SNAPSHOT_H

namespace virtual_onu::snapshot {

void begin();    // before main()
void touched();  // the program has called the device; takes no lock
void end();      // the program ends

}  // namespace virtual_onu::snapshot

#endif
