#include "living/BoardStart.h"

#include "VirtualOnu.h"

namespace vorn_onu {

void BoardStart::apply() const {
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.reset();
    if (!file.empty()) onu.openBoard(file);
    if (!serialNumber.empty()) onu.setSerialNumber(serialNumber);
    if (!baseMac.empty()) onu.setBaseMac(baseMac);
}

}  // namespace vorn_onu
