// What the tests of the ANI side share: a bridge service on bridge 3.
#ifndef TESTS_ANI_SERVICE_H
#define TESTS_ANI_SERVICE_H

#include <cstdio>

#include "support/OnuFixture.h"

class AniService : public OnuFixture {
protected:
    static constexpr unsigned kGemPort = 1000;
    static constexpr unsigned kGemIndex = 7;

    // Bridge 3 with its ANI devices gpon3 and gpon3.3, and a GEM port.
    void SetUp() override {
        OnuFixture::SetUp();
        printedBy([&] { engine().configureBridge(3, 0, false); });
        onu().addGemPort(kGemPort, kGemIndex);
    }

    // A filtering service: p-bit 0 on the GEM port's queue 2.
    static BridgeServiceProvisioning service(unsigned forwardOperation, const std::string& tciList = "",
                                             unsigned entries = 0) {
        BridgeServiceProvisioning record{};
        record.gemPortId = kGemPort;
        record.bridgeId = 3;
        std::snprintf(record.vlanTciFilterList, sizeof record.vlanTciFilterList, "%s", tciList.c_str());
        record.forwardOperation = static_cast<std::uint8_t>(forwardOperation);
        record.numberOfEntries = static_cast<std::uint8_t>(entries);
        record.trafficModel = 2;
        record.pbitMap[0] = {kGemPort, 2};
        return record;
    }

    static int configure(const BridgeServiceProvisioning& record, std::string* printed = nullptr) {
        int result = -1;
        const std::string text = printedBy([&] { result = engine().configureAniTagRules(&record); });
        if (printed != nullptr) *printed = text;
        return result;
    }
};

#endif
