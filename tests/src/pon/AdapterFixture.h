// A test's own PON adapter on its virtual ONU.
#ifndef TESTS_ADAPTER_FIXTURE_H
#define TESTS_ADAPTER_FIXTURE_H

#include "support/OnuFixture.h"
#include "xpon/OnuXponHalAdapterBCM.h"

class AdapterFixture : public OnuFixture {
protected:
    void TearDown() override {
        OnuXponHalAdapterBCM::destroyInstance();
        OnuFixture::TearDown();
    }
    static OnuXponHalAdapterBCM& adapter() { return *OnuXponHalAdapterBCM::getInstance(); }
};

#endif
