// What a daemon finds that opens the file of one that was killed, and what it refuses. Killed within calls and between
// them: InterruptedTest.cpp, LivesTest.cpp and vorn-kill-sweep.
#include <cerrno>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "platform/gponctl.h"
#include "platform/tmctl.h"
#include "platform/vlanctl.h"
#include "src/restart/Killing.h"

namespace restart_tests {

nlohmann::json leveledDevice() {
    const auto json = VirtualOnu::instance().toJson();
    nlohmann::json kept;
    for (const char* part : {"network", "vlan", "pon", "runner"}) kept[part] = json.at(part);
    const std::function<void(nlohmann::json&)> level = [&](nlohmann::json& value) {
        if (value.is_object())
            for (const char* counted : {"id", "index", "mac"}) value.erase(counted);
        if (!value.is_structured()) return;
        for (auto& part : value) level(part);
    };
    level(kept["network"]);
    level(kept["vlan"]);
    kept["runner"].erase("remarks");  // about commands on what was not there
    return kept;
}

namespace {

class Restart : public RestartFixture {};

// Somebody else's hands on a device with the internet service.
struct DeviceLosses {
    DeviceLosses() {
        auto& onu = VirtualOnu::instance();
        vlanCtl_init();
        vlanCtl_deleteVlanInterface("sid0.3");
        vlanCtl_removeTagRule("gpondef", 0, 0, onu.rules("gpondef", 0, 0)[0].id);
        vlanCtl_initTagRule();
        unsigned id = 0;
        vlanCtl_insertTagRule("gpondef", 0, 1, VLANCTL_POSITION_APPEND, VLANCTL_DONT_CARE, &id);
        vlanCtl_cleanup();
        const GponCtlGemPortDeconfig port{static_cast<std::uint16_t>(onu.gemPort(kGemPort)->index), kGemPort};
        gponCtl_deconfigGemPort(&port);
        onu.addGemPort(2002, 9, 256);
        const TmctlIf interface { 1 };
        tmctl_portTmUninit(TMCTL_DEV_GPON, &interface);
        for (const char* command : {"brctl delif br0 sid2", "brctl addbr br7", "ifconfig gpondef down",
                                    "ifconfig gpon3.3 down", "ifconfig br3 down", "brctl delbr br3"})
            EXPECT_EQ(std::system(command), 0);
    }
};

// ---- what differs from the file ----

TEST_F(Restart, WhatTheDeviceNoLongerHasIsForgottenAndWhatItHasTooMuchIsNamed) {
    live(provision);
    const DeviceLosses losses;
    Daemon second(folder_);
    onu().clearTrace();
    EXPECT_GT(second.open(state()), 0);
    for (const char* line : {
             "br3 is no longer there: forgotten",
             "sid0.3 is no longer there: forgotten",
             "sid2 is no longer on br0: forgotten",
             "br7 is on the device and not in the state",
             "gpondef is down",
             "gpon3.3 is down",
             "GEM port 1001 is no longer there: forgotten",
             "GEM port 2002 with index 9 is on the device and not in the state",
             "T-CONT 1 has no queues any more: forgotten",
             "gpondef direction 0 tags 0: no rule is left of 1: forgotten",
             "gpondef direction 0 tags 1: 2 rules, 1 more than in the state",
         })
        EXPECT_TRUE(saidThat(line)) << line;
    EXPECT_EQ(said().size(), 12U) << ::testing::PrintToString(said());

    // It provisions again what was lost, and nothing occurs twice.
    make(second, 0, 3);
    make(second, 4, 5);
    EXPECT_EQ(onu().bridge("br3").value().members(), (std::vector<std::string>{"gpon3.3", "sid0.3"}));
    EXPECT_TRUE(onu().gemPort(kGemPort)->enabled);
    EXPECT_EQ(onu().rules("sid0", 0, 0).size(), 1U);
}

// ---- opening ----

TEST_F(Restart, WhatIsRefusedLeavesLibraryAndFileAlone) {
    Daemon first(folder_);
    ASSERT_EQ(first.open(state()), 0);
    make(first, 0, kProvisioning);
    EXPECT_EQ(first.open(folder_.file("other")), -1) << "another one is open";
    EXPECT_GT(first.open(state()), 0) << "the same once more";
    first.kill();
    const std::string whole = contentOf(state());

    std::string broken = whole;
    broken[whole.size() / 2] ^= 1;
    write(state(), broken);
    Daemon second(folder_);
    EXPECT_EQ(second.open(state()), -1);
    EXPECT_EQ(contentOf(state()), broken);
    EXPECT_EQ(second.clean(), -1) << "no state is open";

    write(state(), whole);
    make(second, 0, 1);
    EXPECT_EQ(second.open(state()), -1) << "too late";
    EXPECT_TRUE(saidThat("services have been provisioned already"));

    onu().reset();  // boots
    Daemon third(folder_);
    EXPECT_EQ(third.open(state()), -1);
    EXPECT_TRUE(saidThat("is of another boot"));
}

TEST_F(Restart, AFileThatIsOpenedLateTakesOverWhatStands) {
    {
        Daemon first(folder_);
        make(first, 0, kProvisioning);
        EXPECT_EQ(first.open(state()), 0);
    }
    Daemon second(folder_);
    EXPECT_GT(second.open(state()), 0);
    make(second, 5, internet().size());
    EXPECT_TRUE(onu().gemPorts().empty());
    EXPECT_EQ(onu().rules("sid0", 0, 0).size(), 0U);
}

TEST_F(Restart, TheVariableOpensTheFile) {
    setenv("VORN_HAL_STATE", state().c_str(), 1);
    {
        Daemon first(folder_);
        first->vorn_omci_hal_init();
        make(first, 0, kProvisioning);
        EXPECT_GT(first.open(state()), 0) << "open already";
    }
    unsetenv("VORN_HAL_STATE");
    Daemon second(folder_);
    EXPECT_GT(second.open(state()), 0);
}

// What else may happen to a file: OwnerTest.cpp.
TEST_F(Restart, AFileThatIsLostIsToldInTheLogAndNoLongerCounted) {
    const struct {
        const char* what;
        std::function<void()> lose;
        bool opensAtOnce;  // before the next operation
    } cases[] = {{"removed", [&] { fs::remove(state()); }, false},
                 {"removed, opened at once", [&] { fs::remove(state()); }, true},
                 {"renamed, opened at once", [&] { fs::rename(state(), folder_.file("aside")); }, true}};
    for (const auto& one : cases) {
        SCOPED_TRACE(one.what);
        startOver();
        Daemon daemon(folder_);
        ASSERT_EQ(daemon.open(state()), 0);
        make(daemon, 0, 2);
        EXPECT_GT(daemon.open(state()), 0);
        one.lose();
        onu().clearTrace();
        if (!one.opensAtOnce) make(daemon, 2, 3);
        EXPECT_EQ(daemon.open(state()), -1);
        EXPECT_TRUE(saidThat("hal.state: is no longer in its place, and is given up"));
        EXPECT_TRUE(saidThat("was given up while it was in use"));
        make(daemon, 2, 3);
        EXPECT_TRUE(onu().bridge("br3")) << "it goes on without";
        EXPECT_EQ(contentOf(folder_.file("aside")), "") << "nobody takes it for a board's";
    }
}

// ---- cleaning ----

TEST_F(Restart, ACleanDeviceHasNothingLeftButWhatWasRefused) {
    live(provision);
    {
        Daemon second(folder_);
        ASSERT_GT(second.open(state()), 0);
        onu().failNext("vlanCtl_removeTagRule", 5, EIO);
        onu().failNext("gponCtl_deconfigGemPort", 1, EIO);
        EXPECT_EQ(second.clean(), 2);
        EXPECT_TRUE(saidThat("stays: vlanctl refuses"));
        EXPECT_TRUE(saidThat("GEM port 1001 stays: the driver refuses"));
        EXPECT_EQ(onu().ruleCount(), 1U);
    }
    Daemon third(folder_);
    EXPECT_GT(third.open(state()), 0) << "what was refused";
    EXPECT_EQ(third.clean(), 0);
    EXPECT_EQ(onu().ruleCount(), 0U);
    EXPECT_TRUE(onu().gemPorts().empty());
    EXPECT_FALSE(onu().bridge("br0"));
    EXPECT_FALSE(onu().device("sid0.3"));
    EXPECT_FALSE(onu().device("gpon3"));
    third.kill();

    Daemon fourth(folder_);
    EXPECT_EQ(fourth.open(state()), 0);
    make(fourth, 0, kProvisioning);
    EXPECT_TRUE(onu().bridge("br0"));
    EXPECT_TRUE(onu().gemPort(kGemPort)->enabled);
}

}  // namespace
}  // namespace restart_tests
