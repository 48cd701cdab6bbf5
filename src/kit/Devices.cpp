#include "kit/Devices.h"

#include <sys/time.h>

#include <cstdio>
#include <string>
#include <vector>

#include "bridge/BridgeControl.h"
#include "device/MacText.h"
#include "hal/Shell.h"
#include "kit/Asked.h"
#include "kit/DeviceNames.h"
#include "kit/Rules.h"
#include "kit/StateEntries.h"
#include "platform/devctl.h"
#include "platform/vlanctl.h"

namespace kit {

namespace {

constexpr int kRealDevMode = 0;
constexpr std::uint32_t kDropUnmatched = 1;
constexpr unsigned kTagTables = 3;      // for untagged, single-tagged and double-tagged frames
constexpr unsigned kVeipTagTables = 4;  // the VEIP passes frames with up to three tags

void noteCreated(const char* device) {
    if (state::Journal* const journal = state::journal())
        journal->put(keyOf(Entry::Devices, device), state::ByteWriter().add(true).take());
    noteNeed(Entry::Devices, device);
}

bool dropUnmatched(const char* realDevice, const char* device, unsigned tagTables) {
    bool done = true;
    for (unsigned tags = 0; tags < tagTables; ++tags)
        for (const std::uint32_t direction : {VLANCTL_DIRECTION_TX, VLANCTL_DIRECTION_RX})
            done = vlanCtl_setDefaultAction(realDevice, direction, tags, kDropUnmatched, device) == 0 && done;
    return done;
}

// Whoever was a member of the bridge is on none.
void forgetMembersOf(state::Journal& journal, const char* bridge) {
    const std::string value = state::ByteWriter().add(bridge).take();
    std::vector<std::string> members;
    const std::string begin = keyOf(Entry::Members);
    for (auto entry = journal.entries().lower_bound(begin);
         entry != journal.entries().end() && entry->first[0] == begin[0]; ++entry) {
        const std::string* bridgeNow = journal.find(entry->first);
        if (bridgeNow != nullptr && *bridgeNow == value) members.push_back(entry->first);
    }
    for (const std::string& member : members) {
        journal.erase(member);
        noteLoss(member);
    }
}

}  // namespace

bool deviceExists(const char* device) {
    return interfaceIndex(device) > 0;
}

// ---- VLAN devices ----

bool bringUp(const char* device) {
    const InterfaceResult flags = setInterfaceFlags(device, kFlagsUp);
    if (flags == InterfaceResult::NoSocket) std::printf("Cannot create socket to the NET kernel");
    if (flags == InterfaceResult::Refused) std::printf("Cannot ioctl SIOCSIFFLAGS on the socket");
    const InterfaceResult mtu = setInterfaceMtu(device, kInterfaceMtu);
    if (mtu == InterfaceResult::NoSocket) std::printf("Cannot create socket to the NET kernel");
    if (mtu == InterfaceResult::Refused) std::printf("Cannot ioctl SIOCSIFMTU on the socket");
    return flags == InterfaceResult::Done && mtu != InterfaceResult::NoSocket;
}

bool createAniDevice(const char* device) {
    const BegunStep step(Step::CreateDevice, device);
    const VlanCtlSession session;
    if (vlanCtl_createVlanInterfaceByName(kPonDevice, device, 0, 1) != 0) return false;
    noteCreated(device);
    return vlanCtl_setRealDevMode(kPonDevice, kRealDevMode) == 0;
}

bool createVlanDevice(const char* realDevice, std::uint16_t vlanId, bool routed, const char* device) {
    const BegunStep step(Step::CreateDevice, device);
    const VlanCtlSession session;
    vlanCtl_setIfSuffix(".");
    // Multicast is always asked for: every service may carry it later.
    if (vlanCtl_createVlanInterface(realDevice, vlanId, routed ? 1 : 0, 1) != 0) return false;
    noteCreated(device);
    if (vlanCtl_setRealDevMode(realDevice, kRealDevMode) != 0) return false;
    dropUnmatched(realDevice, device, kTagTables);
    return true;
}

bool dropsUnmatched(const char* realDevice, const char* device) {
    const VlanCtlSession session;
    return dropUnmatched(realDevice, device, kTagTables);
}

bool createVeipDevice(bool* isComplete) {
    const BegunStep step(Step::CreateDevice, kVeipDevice);
    {
        const VlanCtlSession session;
        vlanCtl_setIfSuffix(".");
        bool complete = vlanCtl_createVlanInterfaceByName(kVeipRealDevice, kVeipDevice, 1, 1) == 0;
        complete = vlanCtl_setRealDevMode(kVeipRealDevice, kRealDevMode) == 0 && complete;
        complete = dropUnmatched(kVeipRealDevice, kVeipDevice, kVeipTagTables) && complete;
        if (isComplete != nullptr) *isComplete = complete;
    }
    const bool exists = deviceExists(kVeipDevice);
    if (exists) noteCreated(kVeipDevice);
    return exists;
}

void noteFoundDevice(const char* device) {
    state::Journal* const journal = state::journal();
    if (journal == nullptr) return;
    const std::string key = keyOf(Entry::Devices, device);
    if (journal->find(key) == nullptr) journal->put(key, state::ByteWriter().add(false).take());
    noteNeed(key);
}

int removeDevice(const char* device) {
    const int result = vlanCtl_deleteVlanInterface(device);
    if (result == 0) forgetDevice(device);
    return result;
}

void noteIfGone(const char* device) {
    if (state::journal() != nullptr && !deviceExists(device)) forgetDevice(device);
}

void forgetDevice(const char* device) {
    state::Journal* const journal = state::journal();
    if (journal == nullptr) return;
    for (const Entry kind : {Entry::Devices, Entry::Members}) {
        journal->erase(keyOf(kind, device));
        noteLoss(kind, device);
    }
    journal->eraseAll(keyOf(Entry::Tables, device));
    journal->eraseAll(keyOf(Entry::LooseRules, device));
    forgetMembersOf(*journal, device);
}

bool createVlanFlows(const char* fromVlanDevice, const char* toVlanDevice) {
    const VlanCtlSession session;
    return vlanCtl_createVlanFlows(fromVlanDevice, toVlanDevice) == 0;
}

bool setPonDeviceUp(bool up) {
    return runShell(CommandText("ifconfig %s %s", kPonDevice, up ? "up" : "down").get()) == 0;
}

bool raisePonDevice() {
    const BegunStep step(Step::RaisePonDevice);
    return setPonDeviceUp(true);
}

bool bringVeipUp(MissingAddress missing) {
    unsigned char mac[6] = {};
    char macText[18] = {};
    if (devCtl_getBaseMacAddress(mac) != 0 && missing == MissingAddress::Fails) return false;
    macToText(mac, macText);
    return runShell(CommandText("ifconfig %s hw ether %s up", kVeipDevice, macText).get()) == 0;
}

// ---- bridges ----

InterfaceResult createBridge(const char* bridge) {
    if (br_init() != 0) return InterfaceResult::NoSocket;
    const BegunStep step(Step::CreateBridge, bridge);
    const bool created = br_add_bridge(bridge) == 0;
    if (created) {
        bringUp(bridge);
        br_set_stp_state(bridge, 0);
        timeval noDelay{};
        br_set_bridge_forward_delay(bridge, &noDelay);
        noteCreated(bridge);
    }
    br_shutdown();
    return created ? InterfaceResult::Done : InterfaceResult::Refused;
}

InterfaceResult deleteBridge(const char* bridge) {
    setInterfaceFlags(bridge, kFlagsDown);  // the kernel does not delete a bridge that is up
    if (br_init() != 0) return InterfaceResult::NoSocket;
    const bool deleted = br_del_bridge(bridge) == 0;
    if (deleted) forgetDevice(bridge);
    br_shutdown();
    return deleted ? InterfaceResult::Done : InterfaceResult::Refused;
}

InterfaceResult deleteServiceBridge(std::uint16_t bridgeId) {
    const BegunStep step(Step::DeleteBridge, bridgeId);
    return deleteBridge(bridgeName(bridgeId).get());
}

int addBridgePort(const char* bridge, const char* device) {
    if (const int error = br_init(); error != 0) return error;
    const int result = br_add_interface(bridge, device);
    if (result == 0) {
        if (state::Journal* const journal = state::journal())
            journal->put(keyOf(Entry::Members, device), state::ByteWriter().add(bridge).take());
    }
    br_shutdown();
    if (state::journal() != nullptr && state::journal()->find(keyOf(Entry::Members, device)) != nullptr)
        noteNeedOfMember(device);
    return result;
}

int removeBridgePort(const char* bridge, const char* device) {
    if (const int error = br_init(); error != 0) return error;
    if (br_del_interface(bridge, device) == 0) forgetMembership(device);
    return br_shutdown();
}

void forgetMembership(const char* device) {
    if (state::Journal* const journal = state::journal()) journal->erase(keyOf(Entry::Members, device));
    noteLoss(Entry::Members, device);
}

}  // namespace kit
