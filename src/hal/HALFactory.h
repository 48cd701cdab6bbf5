// Where the OMCI daemon gets its HAL object from.
#ifndef HAL_HAL_FACTORY_H
#define HAL_HAL_FACTORY_H

#include <map>

#include "hal/Export.h"
#include "hal/VornHal.h"  // IWYU pragma: export

// Start-up order: getInstance(), CreateHALObject(0), VornHal::vorn_omci_hal_init(), then any other operation. Nothing
// here locks: the daemon's start-up thread does this before another thread uses the HAL.
class VORN_API HALFactory {
public:
    // The one factory, made on the first call.
    static HALFactory* getInstance();
    // There is no need to destroy the factory. Doing so is harmless: a later getInstance() makes a new one, and the HAL
    // object stays.
    ~HALFactory();
    HALFactory(const HALFactory&) = delete;
    HALFactory& operator=(const HALFactory&) = delete;

    // The HAL object of the process, once there is one, whatever halType says. Before that: 0 makes the object of this
    // board; 1 (a platform that is not built) and every other number answer null after a printed line. The object lives
    // until the process ends.
    VornHal* CreateHALObject(int halType);

    static HALFactory* m_Instance;
    static VornHal* vornHalImpl;

private:
    HALFactory() = default;

    std::map<int, VornHal*> halObjects_;  // owns nothing and stays empty: the daemon knows the object's size
};

#endif
