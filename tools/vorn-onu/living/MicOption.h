// The kind of integrity codes, as it is typed.
#ifndef VORN_ONU_MIC_OPTION_H
#define VORN_ONU_MIC_OPTION_H

#include <optional>
#include <string>

#include "omci/message/Integrity.h"

namespace vorn_onu {

// "crc", "none", "cmac:" with 32 hexadecimal digits; nothing for "". Throws std::invalid_argument.
std::optional<omci::Integrity> integrityOf(const std::string& text);

}  // namespace vorn_onu

#endif
