// How large the state file becomes through the library's own calls.
#include <algorithm>
#include <iostream>

#include "src/restart/Daemon.h"

namespace restart_tests {
namespace {

constexpr std::uint16_t kServices = 64;
constexpr std::uint16_t kRows = 48;  // of a service: 96 rules, as many as the rule map takes
constexpr std::uintmax_t kMaxCount = std::uintmax_t{1} << 20U;

class FileSize : public RestartFixture {
protected:
    // The row with the number, from 0, of the service on its own VIDs.
    void change(Daemon& daemon, std::uint16_t service, std::uint16_t number, bool add) {
        UniDataProvisioning one = row(add);
        one.bridgeId = service;
        one.uniPort = static_cast<std::uint16_t>(2 + service % 3);
        one.innerFilterPrio = 8;
        one.innerFilterVlanId = one.innerTreatmentVlanId =
            static_cast<std::uint16_t>(kRows * (service - 1) + number + 1);
        ASSERT_EQ(daemon->vorn_omci_hal_filter_flow_add(&one), 0);
        largest_ = std::max(largest_, fs::file_size(state()));
    }
    std::uintmax_t largest_ = 0;
};

TEST_F(FileSize, StaysBelowOneMebibyteWhileAFullDeviceIsProvisionedAndChanged) {
    Daemon daemon(folder_);
    ASSERT_EQ(daemon.open(state()), 0);
    for (std::uint16_t service = 1; service <= kServices; ++service) {
        ASSERT_EQ(daemon->vorn_omci_hal_configureBridge(service, 0), 0);
        for (std::uint16_t number = 0; number < kRows; ++number) change(daemon, service, number, true);
    }
    EXPECT_EQ(onu().ruleCount(), std::size_t{kServices} * kRows * 2 - 1) << "the first row needs none downstream";
    for (std::uint16_t service = 1; service <= kServices; ++service)
        for (const bool add : {false, true})
            for (std::uint16_t number = 0; number < 4; ++number) change(daemon, service, number, add);
    EXPECT_LT(largest_, kMaxCount);
    std::cout << "largest file: " << largest_ << " bytes\n";

    const std::size_t rules = onu().ruleCount();
    daemon.kill();
    Daemon next(folder_);
    EXPECT_GT(next.open(state()), kServices);
    EXPECT_EQ(onu().ruleCount(), rules);
    EXPECT_EQ(next.clean(), 0);
    EXPECT_EQ(onu().ruleCount(), 0U) << "each of them was in the file";
}

}  // namespace
}  // namespace restart_tests
