// Any operation of the HAL's interface with any arguments: fields beyond their ranges, texts that fill their field to
// the last byte, null pointers, keys that are no p-bits.
#ifndef FUZZ_EVERY_OPERATION_H
#define FUZZ_EVERY_OPERATION_H

#include <fuzzer/FuzzedDataProvider.h>

#include <memory>
#include <string>
#include <vector>

#include "hal/ProvisioningRecords.h"
#include "hal/VornHal.h"

class EveryOperation {
public:
    explicit EveryOperation(FuzzedDataProvider& input) : input_(input) {}

    // One operation. Left out are those that start a thread, which a process does once.
    void one();

private:
    void service();
    void veip();
    void ipHost();
    void pon();
    void identity();
    void rest();

    template <typename Number>
    Number any() {
        return input_.ConsumeIntegral<Number>();
    }
    // A number that other operations have used, or any.
    std::uint16_t number(std::uint16_t first, std::uint16_t last) {
        return input_.ConsumeProbability<float>() < 0.7F ? input_.ConsumeIntegralInRange(first, last)
                                                         : any<std::uint16_t>();
    }
    std::uint16_t bridge() { return number(0, 3); }
    std::uint16_t gemPort() { return number(1000, 1004); }
    // The record, or null at times.
    template <typename Record>
    Record* orNull(Record& record) {
        return input_.ConsumeIntegralInRange(0, 15) == 0 ? nullptr : &record;
    }
    std::string text(std::size_t longest) { return input_.ConsumeRandomLengthString(longest); }

    BridgeServiceProvisioning anyService();
    UniDataProvisioning anyRow();
    IpHostProvision anyHost();

    FuzzedDataProvider& input_;
};

// Answers whoever waits for the gateway, within a millisecond: from now on, on a thread of its own.
void answerForTheGateway();

// Takes out of the library what outlives an input: maps, counts, singletons.
void forgetServices();

#endif
