#include "hal/HALFactory.h"

#include <iostream>
#include <memory>
#include <utility>

#include "BRCM/BCM968580/omci_brcm_hal.h"

namespace {

constexpr int kHalBroadcom = 0;
constexpr int kHalCortina = 1;

}  // namespace

HALFactory* HALFactory::m_Instance = nullptr;
VornHal* HALFactory::vornHalImpl = nullptr;

HALFactory* HALFactory::getInstance() {
    if (m_Instance == nullptr) m_Instance = new HALFactory;
    return m_Instance;
}

HALFactory::~HALFactory() {
    // Cleared first: the instance being destroyed here must not be destroyed once more.
    const HALFactory* const instance = std::exchange(m_Instance, nullptr);
    if (instance != this) delete instance;
}

VornHal* HALFactory::CreateHALObject(int halType) {
    if (vornHalImpl != nullptr) return vornHalImpl;
    switch (halType) {
        case kHalBroadcom: {
            std::cout << "\n The BRCM hal intialized************************\n";
            auto hal = std::make_unique<VornBrcmHal>();
            hal->engine = EtherSwitchBcm380::getInstance();
            vornHalImpl = hal.release();
            return vornHalImpl;
        }
        case kHalCortina:
            std::cout << "\n The cortina hal intialized************************\n";
            return vornHalImpl;
        default:
            std::cout << "Default, we shouldn't be reach here!!";
            return nullptr;
    }
}
