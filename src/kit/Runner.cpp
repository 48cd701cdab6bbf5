// The DSCP shortcut of a UNI port, as commands of the runner's shell.
#include "kit/Runner.h"

#include <cstdio>

#include "hal/Shell.h"
#include "hal/Text.h"
#include "kit/Asked.h"
#include "kit/StateEntries.h"

namespace kit {
namespace {

// Runner indices of a UNI port count from these.
constexpr int kFirstClassIndex = 10;
constexpr int kFirstActionIndex = 122;
constexpr int kDownstreamActionIndex = 124;  // of all UNI ports
// The p-bit to GEM tables are numbered by the bridge ids from here on.
constexpr int kFirstPbitTableBridge = 256;
constexpr int kPushedPbits = 0;
constexpr unsigned int kPushedTpid = 0x8100;

// The runner's answer is mostly not looked at: deleting an absent object and creating a present one both fail
// harmlessly.
bool run(const CommandText& command) {
    std::printf("=====> %s\n", command.get());
    return runShell(command.get()) == 0;
}

}  // namespace

bool deleteDscpClass(std::uint16_t uniPort) {
    return run(CommandText("bs /b/d ingress_class/dir=us,index=%d", uniPort + kFirstClassIndex));
}

bool deleteDscpPush(std::uint16_t uniPort) {
    return run(CommandText("bs /b/d vlan_action/dir=us,index=%d", uniPort + kFirstActionIndex));
}

void installDscpShortcut(std::uint16_t uniPort, std::uint16_t bridgeId, std::uint16_t vlanId) {
    const int classIndex = uniPort + kFirstClassIndex;
    const int actionIndex = uniPort + kFirstActionIndex;
    const int lanPort = uniPort - 1;
    const int pbitTable = bridgeId - kFirstPbitTableBridge;

    noteMark(true, Entry::DscpShortcuts, uniPort);
    noteNeed(Entry::DscpShortcuts, uniPort);
    deleteDscpClass(uniPort);
    deleteDscpPush(uniPort);
    run(CommandText("bs /b/n ingress_class/dir=us,index=%d,cfg={type=flow,fields=ingress_port+vlan_num+etype,prty=%d}",
                    classIndex, classIndex));
    run(CommandText("bs /b/n vlan_action/dir=us,index=%d", actionIndex));
    run(CommandText("bs /b/c vlan_action/dir=us,index=%d action={cmd=push+tpid_rem,ovid=%d,opbit=%d,otpid=%x}",
                    actionIndex, vlanId, kPushedPbits, kPushedTpid));
    run(CommandText("bs /b/n vlan_action/dir=ds,index=124"));
    run(CommandText("bs /b/c vlan_action/dir=ds,index=124 action={cmd=pop,ovid=0,opbit=0,otpid=0}"));
    run(
        CommandText("bs /bdmf/attr/add ingress_class/dir=us,index=%d flow string "
                    "key={ingress_port=lan%d,etype=0x800,vlan_num=0},result={qos_method=pbit,action=forward,"
                    "forw_mode=flow,egress_port=wan0,vlan_action={vlan_action/dir=us,index=%d},"
                    "pbit_to_gem_table={pbit_to_gem/index=%d}}",
                    classIndex, lanPort, actionIndex, pbitTable));
    const CommandText ipv6Flow(
        "bs /bdmf/attr/add ingress_class/dir=us,index=%d flow string "
        "key={ingress_port=lan%d,vlan_num=0,etype=0x86dd},result={qos_method=pbit,action=forward,"
        "forw_mode=flow,egress_port=wan0,vlan_action={vlan_action/dir=us,index=%d},"
        "pbit_to_gem_table={pbit_to_gem/index=%d}}",
        classIndex, lanPort, actionIndex, pbitTable);
    run(ipv6Flow);
    // Kept: the command sequence is known to end with the IPv6 flow twice; adding a flow that exists is harmless.
    run(ipv6Flow);
}

void removeDscpShortcut(std::uint16_t uniPort) {
    deleteDscpClass(uniPort);
    deleteDscpPush(uniPort);
    forgetDscpShortcut(uniPort);
}

void forgetDscpShortcut(std::uint16_t uniPort) {
    noteMark(false, Entry::DscpShortcuts, uniPort);
    noteLoss(Entry::DscpShortcuts, uniPort);
}

bool removeDscpAction() {
    return run(CommandText("bs /b/d vlan_action/dir=ds,index=%d", kDownstreamActionIndex));
}

}  // namespace kit
