// A test's own virtual ONU with the library on top. ctest runs every test in a process of its own: the library's maps
// live as long as the process, as they do on the device.
#ifndef TESTS_ONU_FIXTURE_H
#define TESTS_ONU_FIXTURE_H

#include <gtest/gtest.h>

#include <cstring>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "VirtualOnu.h"
#include "platform/gponctl.h"
#include "platform/tmctl.h"
#include "support/StdoutCapture.h"

inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// The service that a message tells of.
inline OMCI_SERVICE_MAP_ENTRY serviceOf(const virtual_onu::BusMessage& message) {
    OMCI_SERVICE_MAP_ENTRY service{};
    if (message.payload.size() == sizeof service) std::memcpy(&service, message.payload.data(), sizeof service);
    return service;
}

// T-CONT `index` with this alloc-id and strict queues.
inline void makeTcont(unsigned char index, std::uint16_t allocId, std::initializer_list<std::uint32_t> queues) {
    const GponCtlTcontAllocId tcont{index, 0, allocId};
    gponCtl_configTcontAllocId(&tcont);
    const TmctlIf interface { index };
    ASSERT_EQ(tmctl_portTmInit(TMCTL_DEV_GPON, &interface, 0, 8), 0);
    for (const std::uint32_t id : queues) {
        const TmctlQueueCfg queue{id, id, 256, 0, 1, 0, 0, 0};
        ASSERT_EQ(tmctl_setQueueCfg(TMCTL_DEV_GPON, &interface, &queue), 0);
    }
}

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

    // The commands that work gives to the shell.
    template <typename Work>
    static std::vector<std::string> commandsOf(Work&& work) {
        const std::size_t before = onu().shellCommands().size();
        work();
        std::vector<std::string> texts;
        const auto all = onu().shellCommands();
        for (std::size_t i = before; i < all.size(); ++i) texts.push_back(all[i].text);
        return texts;
    }

    // The trace's lines with this text in them.
    static std::vector<std::string> traced(const std::string& part) {
        std::vector<std::string> lines;
        for (const auto& line : onu().traceTexts())
            if (contains(line, part)) lines.push_back(line);
        return lines;
    }

    static void enableGemPort(unsigned portId) {
        GponCtlGemPortEnable record{static_cast<std::uint16_t>(onu().gemPort(portId)->index),
                                    static_cast<std::uint16_t>(portId), 1, 0};
        ASSERT_EQ(gponCtl_enableGemPort(&record), 0);
    }

    // GEM port 1001 with index 7, up, on T-CONT 0 with queues 0 and 2.
    static void addGemPortOnTcont() {
        makeTcont(0, 1024, {0, 2});
        onu().addGemPort(1001, 7, 1024);
        enableGemPort(1001);
    }
};

#endif
