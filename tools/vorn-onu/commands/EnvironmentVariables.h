#ifndef VORN_ONU_ENVIRONMENT_VARIABLES_H
#define VORN_ONU_ENVIRONMENT_VARIABLES_H

#include <string>
#include <utility>
#include <vector>

namespace vorn_onu {

// Name and meaning of each that the tool and the libraries read.
const std::vector<std::pair<std::string, std::string>>& environmentVariables();

}  // namespace vorn_onu

#endif
