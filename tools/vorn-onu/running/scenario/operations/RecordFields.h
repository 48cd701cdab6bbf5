// The fields of the provisioning records as scenarios name them, with the words that stand for their codes.
#ifndef VORN_ONU_RECORD_FIELDS_H
#define VORN_ONU_RECORD_FIELDS_H

#include <set>
#include <string>
#include <vector>

#include "running/scenario/fields/Field.h"

namespace vorn_onu {

// true and false, or a number.
inline const Numbers kFlag{0, 255, {}, true};

// A bridge service; what is required depends on the operation.
std::vector<Field> bridgeServiceFields(const std::set<std::string>& requiredNames);
std::vector<Field> uniDataFields();
std::vector<Field> ipHostFields();
std::vector<Field> tcontFields();
std::vector<Field> gemPortFields();
std::vector<Field> gemStatusFields();

}  // namespace vorn_onu

#endif
