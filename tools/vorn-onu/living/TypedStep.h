// A scenario's step out of words of a command line.
#ifndef VORN_ONU_TYPED_STEP_H
#define VORN_ONU_TYPED_STEP_H

#include <string>
#include <vector>

#include "running/scenario/fields/Problem.h"

namespace vorn_onu::living {

// The step of this kind. One word is the value, as JSON where it reads as such: "silent", "5000", "{...}". Words with
// KEY=VALUE make an object; dots lead into it ("links.eth0=down"), quotes keep a name with dots together
// ("links.\"sid0.3\"=down"). Of a call the first word is the operation. Keys that are beside the value in a scenario
// ("within") do so here. The board says what is wrong with a value; throws a Problem where words make no step.
Json stepOf(const std::string& kind, const std::vector<std::string>& words);

}  // namespace vorn_onu::living

#endif
