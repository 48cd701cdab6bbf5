// Takes the adapter's GEM ports and T-CONTs off the device.
#ifndef XPON_CLEAN_PON_H
#define XPON_CLEAN_PON_H

#include <cstdint>
#include <functional>

// What the drivers refuse stays in the maps; one line each goes to refused. The number of those that are gone.
int cleanPon(const std::function<bool(std::uint16_t gemPortId)>& portStays,
             const std::function<bool(std::uint16_t allocId)>& tcontStays,
             const std::function<void(const char*)>& refused);

#endif
