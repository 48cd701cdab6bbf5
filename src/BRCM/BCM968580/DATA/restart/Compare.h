// What a state file says against what the device has.
#ifndef BRCM_BCM968580_DATA_RESTART_COMPARE_H
#define BRCM_BCM968580_DATA_RESTART_COMPARE_H

#include <string>

namespace restart {

// Compares devices and their bridges, T-CONTs, GEM ports with index and state, and the number of rules in each table.
// What the device no longer has is forgotten, what it has too much is named, one log line each; the device is only
// read.
void compareWithDevice();
// A bridge whose UNI device is gone has none that its removal could take out.
void forgetUniOf(const std::string& device);

}  // namespace restart

#endif
