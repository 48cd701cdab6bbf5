// A test's own virtual ONU with the library on top. ctest runs every test in a process of its own: the library's maps
// live as long as the process, as they do on the device.
#ifndef TESTS_ONU_FIXTURE_H
#define TESTS_ONU_FIXTURE_H

#include <gtest/gtest.h>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "StdoutCapture.h"
#include "VirtualOnu.h"

class OnuFixture : public ::testing::Test {
protected:
    void SetUp() override { onu().reset(); }
    void TearDown() override { EXPECT_EQ(onu().openDescriptors(), 0) << "a device file was left open"; }

    static virtual_onu::VirtualOnu& onu() { return virtual_onu::VirtualOnu::instance(); }
    static EtherSwitchBcm380& engine() { return *EtherSwitchBcm380::getInstance(); }

    static std::vector<std::string> members(const std::string& bridge) {
        const auto found = onu().bridge(bridge);
        return found ? found->members() : std::vector<std::string>{};
    }
};

#endif
