// A daemon whose services forward by G.988, on the virtual ONU of the test.
#ifndef TESTS_FORWARDING_FORWARDED_DAEMON_H
#define TESTS_FORWARDING_FORWARDED_DAEMON_H

#include <cstdlib>
#include <memory>

#include <nlohmann/json_fwd.hpp>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "hal/HalForwarding.h"
#include "src/restart/Daemon.h"

namespace forwarding_tests {

using restart_tests::asks;
using restart_tests::asksForBridge;
using restart_tests::Daemon;
using restart_tests::deletion;
using restart_tests::gem;
using restart_tests::internet;
using restart_tests::kGemPort;
using restart_tests::kProvisioning;
using restart_tests::make;
using restart_tests::RestartFixture;
using restart_tests::row;
using restart_tests::service;
using virtual_onu::Frame;
using virtual_onu::VlanTag;

constexpr int kG988 = VORN_HAL_FORWARDING_G988, kContract = VORN_HAL_FORWARDING_CONTRACT;

// VID `customer` of a port becomes `service`, with its p-bits.
inline UniDataProvisioning tagging(std::uint16_t customer, std::uint16_t service) {
    auto record = row(true);
    record.filterType = 1;
    record.innerFilterPrio = record.innerTreatmentPrio = 8;
    record.innerFilterVlanId = customer;
    record.removeType = 1;
    record.innerTreatmentVlanId = service;
    return record;
}

class Forwarding : public RestartFixture {
protected:
    void TearDown() override { unsetenv(VORN_HAL_FORWARDING_VARIABLE); }

    // With an S-tag for management hosts.
    static void forwardByG988(Daemon& daemon) {
        ASSERT_EQ(choose(daemon, kG988), 0);
        daemon.symbol<EtherSwitchBcm380* (*)()>("_ZN17EtherSwitchBcm38011getInstanceEv")()->iPhost_Stag = 900;
    }
    static int choose(Daemon& daemon, int forwarding) {
        return daemon.symbol<int (*)(int)>("vorn_hal_set_forwarding")(forwarding);
    }
    static int chosen(Daemon& daemon) { return daemon.symbol<int (*)()>("vorn_hal_get_forwarding")(); }

    static int ask(Daemon& daemon, const UniDataProvisioning& record) {
        return asks(&VornHal::vorn_omci_hal_filter_flow_add, record)(daemon.hal());
    }

    static Frame tagged(std::uint16_t vid) {
        Frame frame;
        frame.tags = {VlanTag{0x8100, 0, false, vid}};
        return frame;
    }
    static std::string up(const Frame& frame) {
        const auto walk = onu().sendFromPort("sid0", frame);
        return walk.exits.empty() ? "" : walk.exits.front().frame.text();
    }
    static std::string down(const Frame& frame, unsigned gemPort = kGemPort) {
        const auto walk = onu().sendFromPon(gemPort, frame);
        return walk.exits.empty() ? "" : walk.exits.front().frame.text();
    }
    // Devices with their bridges, the PON side, and rules in whatever order and with whatever number.
    static nlohmann::json serving();                           // ForwardingTest.cpp
    static void leaveOutDefaultBridge(nlohmann::json& board);  // of serving()
    static nlohmann::json defaults();  // what happens in each table to frames that no rule takes
};

class ForwardedServices : public Forwarding {
protected:
    void SetUp() override {
        Forwarding::SetUp();
        startOver();
    }
    // A new board with a shared bridge, and a daemon that has done nothing yet.
    void startOver() {
        Forwarding::startOver();
        ASSERT_EQ(std::system("brctl addbr brv"), 0);
        daemon_ = std::make_unique<Daemon>(folder_);
        forwardByG988(*daemon_);
    }
    void provision() {
        make(*daemon_, 0, kProvisioning);
        ASSERT_EQ(down(tagged(100)), "untagged IPv4");
    }
    Daemon& daemon() { return *daemon_; }
    std::unique_ptr<Daemon> daemon_;
};

}  // namespace forwarding_tests

#endif
