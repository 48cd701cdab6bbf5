// The rules of a plan on the device, all or none of them.
#ifndef BRCM_BCM968580_DATA_G988_CARRY_OUT_H
#define BRCM_BCM968580_DATA_G988_CARRY_OUT_H

#include <string>

#include "BRCM/BCM968580/DATA/g988/Difference.h"
#include "BRCM/BCM968580/DATA/g988/Planner.h"

namespace g988 {

struct Outcome {
    bool done = false;
    // Why not, for the log: "sid0 row VID 100 p5: the kit cannot match UDP ports". Empty when it is done.
    std::string reason;
    bool isPartly = false;  // not done, and what was there before could not all be put back
};

// What keeps the plan from being carried out, as far as it is known before the kit is asked; "": nothing.
std::string obstacleTo(const Plan& plan, const Installed& installed);

// Asks the kit for the difference between what is installed and the plan, and keeps `installed` true after each call. A
// plan with an obstacle changes nothing. When the kit fails, what has been done is taken back; the tables then have the
// rules that they had, in an order that means the same. Should the kit refuse that too, `installed` still says what
// there is.
Outcome carryOut(const Plan& plan, Installed& installed);

// For the state file: the rule has come or gone.
void noteRule(const TableKey& table, std::uint32_t id);

}  // namespace g988

#endif
