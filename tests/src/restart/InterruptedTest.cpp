// What an operation that was interrupted leaves, and what is somebody else's.
#include "platform/vlanctl.h"
#include "src/restart/Killing.h"

namespace restart_tests {
namespace {

class Interrupted : public RestartFixture {
protected:
    static unsigned ruleOfAnother(const char* device, unsigned direction, unsigned tags) {
        unsigned id = 0;
        vlanCtl_init();
        vlanCtl_initTagRule();
        vlanCtl_filterOnTagVid(4000, 0);
        vlanCtl_insertTagRule(device, direction, tags, VLANCTL_POSITION_APPEND, VLANCTL_DONT_CARE, &id);
        vlanCtl_cleanup();
        return id;
    }
    static std::size_t countOf(const char* device, unsigned id) {
        std::size_t count = 0;
        for (const auto& rule : onu().rules(device, 0, 0)) count += rule.id == id ? 1 : 0;
        return count;
    }
    static bool isInsertInto(const virtual_onu::TraceEntry& entry, const std::string& device) {
        return entry.name == "vlanCtl_insertTagRule" && entry.arguments.find("\"" + device + "\", 0, 0") == 0;
    }
};

TEST_F(Interrupted, ARuleOfAnotherProgramStays) {
    for (const bool alsoBehind : {false, true}) {
        SCOPED_TRACE(alsoBehind ? "and another one came behind" : "it was there before");
        onu().reset();
        fs::remove(state());
        unsigned other = 0;
        {
            Daemon first(folder_);
            ASSERT_EQ(first.open(state()), 0);
            make(first, 0, kProvisioning - 1);
            other = ruleOfAnother("sid0", 0, 0);
            ASSERT_TRUE(killWhen(first, internet()[kProvisioning - 1].make,
                                 [](const auto& entry) { return isInsertInto(entry, "sid0"); }));
        }
        ASSERT_EQ(onu().rules("sid0", 0, 0).size(), 2U);
        const unsigned behind = alsoBehind ? ruleOfAnother("sid0", 0, 0) : 0;
        Daemon second(folder_);
        onu().clearTrace();
        EXPECT_GT(second.open(state()), 0);
        EXPECT_EQ(countOf("sid0", other), 1U);
        EXPECT_EQ(countOf("sid0", behind), alsoBehind ? 1U : 0U);
        EXPECT_EQ(onu().rules("sid0", 0, 0).size(), alsoBehind ? 3U : 1U)
            << "of two that came nobody knows whose they are";
        EXPECT_EQ(saidThat("2 rules have come while an operation was not finished"), alsoBehind);
    }
}

}  // namespace
}  // namespace restart_tests
