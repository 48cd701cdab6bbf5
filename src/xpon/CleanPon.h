// Takes the adapter's GEM ports and T-CONTs off the device.
#ifndef XPON_CLEAN_PON_H
#define XPON_CLEAN_PON_H

#include <functional>

// What the drivers refuse stays in the maps; one line each goes to refused.
void cleanPon(const std::function<void(const char*)>& refused);

#endif
