// The engine object, device names and device control.
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"

#include <atomic>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "BRCM/BCM968580/DATA/EngineLog.h"
#include "device/MacText.h"
#include "device/NetworkInterface.h"
#include "hal/Shell.h"
#include "hal/Text.h"
#include "kit/DeviceNames.h"
#include "kit/Devices.h"
#include "kit/Rules.h"
#include "kit/StateEntries.h"

EtherSwitchBcm380* EtherSwitchBcm380::m_Instance = nullptr;

namespace {

std::atomic<int> omciAction{0};  // the listener thread reads it too

void removeDevice(const char* device) {
    const kit::VlanCtlSession session;
    kit::removeDevice(device);
}

bool runInShell(const CommandText& command) {
    return !command.cut() && std::system(command.get()) == 0;
}

}  // namespace

// ---- The object ----

EtherSwitchBcm380::EtherSwitchBcm380() : iPhost_Stag(kNoStag) {}

EtherSwitchBcm380::~EtherSwitchBcm380() {
    ENGINE_LOG("~EtherSwitchBcm380", kEngineSource, kLogInfo, "this(%p)", static_cast<void*>(this));
    if (m_Instance == this) m_Instance = nullptr;  // deleteInstance() must not come back to this object
    deleteInstance();
}

EtherSwitchBcm380* EtherSwitchBcm380::getInstance() {
    ENGINE_LOG("getInstance", kEngineSource, kLogTrace, "Start");
    if (m_Instance == nullptr) m_Instance = new EtherSwitchBcm380;
    ENGINE_LOG("getInstance", kEngineSource, kLogInfo, "this(%p) - End", static_cast<void*>(m_Instance));
    return m_Instance;
}

void EtherSwitchBcm380::deleteInstance() {
    EtherSwitchBcm380* const instance = m_Instance;
    ENGINE_LOG("deleteInstance", kEngineSource, kLogInfo, "this(%p)", static_cast<void*>(instance));
    m_Instance = nullptr;
    delete instance;
}

// ---- Names ----

bool EtherSwitchBcm380::getInterfaceName(PhyType type, unsigned int id, char* name) {
    if (name == nullptr) return false;
    DeviceName formed;
    switch (type) {
        case PHY_ETHERNET:
            formed = kit::uniName(id);
            std::printf("\nPHY_ETHERNET:getInterfaceName %s", formed.get());
            break;
        case PHY_GPON:
            formed = kit::aniName(id);
            std::printf("PHY_GPON:getInterfaceName %s", formed.get());
            break;
        default:
            return false;
    }
    std::memcpy(name, formed.get(), kDeviceNameSize);
    return true;
}

bool EtherSwitchBcm380::getVirtualInterfaceName(PhyType type, unsigned int id, unsigned short vlanDevId, char* name) {
    if (name == nullptr) return false;
    DeviceName formed;
    switch (type) {
        case PHY_ETHERNET:
            formed = kit::uniVlanName(id, vlanDevId);
            std::printf("\nPHY_ETHERNET:getVirtualInterfaceName %s ", formed.get());
            break;
        case PHY_GPON:
            formed = kit::aniVlanName(id, vlanDevId);
            std::printf("PHY_GPON:getVirtualInterfaceName %s ", formed.get());
            break;
        default:
            return false;
    }
    std::memcpy(name, formed.get(), kDeviceNameSize);
    return true;
}

// ---- Device control ----

int EtherSwitchBcm380::getInterfaceIndex(const char* name) {
    return interfaceIndex(name);
}

bool EtherSwitchBcm380::isInterfaceExisted(const char* name) {
    return getInterfaceIndex(name) > 0;
}

bool EtherSwitchBcm380::ifUp(const char* name) {
    if (name == nullptr) {
        std::printf("Cannot bring up NULL interface");
        return false;
    }
    return kit::bringUp(name);
}

bool EtherSwitchBcm380::ifDown(const char* name) {
    return name != nullptr && setInterfaceFlags(name, kFlagsDown) == InterfaceResult::Done;
}

int EtherSwitchBcm380::disableIPv6(const char* name) {
    if (name != nullptr && kit::isPlainName(name))
        runInShell(CommandText("echo 1 > /proc/sys/net/ipv6/conf/%s/disable_ipv6", name));
    return 0;
}

bool EtherSwitchBcm380::createAniVlanInterface(char* aniName) {
    if (aniName == nullptr) return false;
    if (isInterfaceExisted(aniName)) {
        std::printf("Interface %s already Exists!!", aniName);
        kit::noteFoundDevice(aniName);
        return true;
    }
    // The kit may report a device that the kernel does not list.
    if (!kit::createAniDevice(aniName) || !isInterfaceExisted(aniName)) {
        std::printf("Failed to create %s", aniName);
        return false;
    }
    ifUp(aniName);
    std::printf("===> createAniInterface, devIfc=%s, ret=%d", aniName, 1);
    return true;
}

bool EtherSwitchBcm380::createVlanInterface(unsigned short devId, bool isRouted, bool isMulticast, char* devIfc,
                                            char* vlanIfc) {
    if (devIfc == nullptr || vlanIfc == nullptr) return false;
    if (isInterfaceExisted(vlanIfc)) {
        std::printf("Interface %s already Exists!!", vlanIfc);
        kit::noteFoundDevice(vlanIfc);
        return true;
    }
    if (!kit::createVlanDevice(devIfc, devId, isRouted, vlanIfc)) {
        std::printf("Failed to create %s", vlanIfc);
        return false;
    }
    const bool created = isInterfaceExisted(vlanIfc);
    if (created) {
        ifUp(vlanIfc);
    } else {
        std::printf("Failed to create %s", vlanIfc);
    }
    std::printf("===> createVlanInterface, devId=%d, isRouted=%d, isMulticast=%d, devIfc=%s, vlanIfc=%s, ret=%d", devId,
                isRouted, isMulticast, devIfc, vlanIfc, created);
    return created;
}

void EtherSwitchBcm380::createVlanFlows(char* fromVlanIfc, char* toVlanIfc) {
    if (fromVlanIfc == nullptr || toVlanIfc == nullptr) return;
    std::printf("===> createVlanFlows \n");
    kit::createVlanFlows(fromVlanIfc, toVlanIfc);
}

bool EtherSwitchBcm380::deleteVlanInterface(unsigned short /*devId*/, bool /*isRouted*/, bool /*isMulticast*/,
                                            char* /*devIfc*/, char* vlanIfc) {
    if (!isInterfaceExisted(vlanIfc)) return true;
    removeDevice(vlanIfc);
    std::printf("===> deleteVlanInterface, deleted UNI virtual interface : %s \n", vlanIfc);
    return true;
}

bool EtherSwitchBcm380::deleteAniVlanInterface(char* aniName, char* aniVlanName) {
    // The VLAN device goes before the device under it.
    if (isInterfaceExisted(aniVlanName)) removeDevice(aniVlanName);
    if (isInterfaceExisted(aniName)) {
        ifDown(aniName);
        removeDevice(aniName);
    }
    return true;
}

// ---- Shell, action code, service count ----

int runEngineCommand(const char* label, const char* command) {
    ENGINE_LOG("runSystemCommand", kDataProvSource, kLogTrace, " %s: %s", printable(label), command);
    return runShell(command);
}

bool EtherSwitchBcm380::runSystemCommand(const char* label, const char* command) {
    if (command == nullptr) return false;
    runEngineCommand(label, command);
    return true;
}

void EtherSwitchBcm380::setOmciAction(int action) {
    omciAction = action;
    kit::noteChange(kit::Entry::OmciAction);
}

int EtherSwitchBcm380::getOmciAction() {
    return omciAction;
}

// ---- Bits and text ----

unsigned short EtherSwitchBcm380::getFieldFromHalfWord(unsigned short value, unsigned char msb, unsigned char width) {
    constexpr unsigned kTopBit = 15, kBits = 16, kWordBits = 32;
    const std::uint8_t left = static_cast<std::uint8_t>(kTopBit - msb);
    const std::uint8_t right = static_cast<std::uint8_t>(kBits - width);
    if (left >= kWordBits || right >= kWordBits) return 0;
    const auto upper = static_cast<std::uint16_t>(static_cast<std::uint32_t>(value) << left);
    return static_cast<unsigned short>(static_cast<std::uint32_t>(upper) >> right);
}

int EtherSwitchBcm380::macNumToStr(const unsigned char* mac, char* text) {
    return macToText(mac, text);
}

int EtherSwitchBcm380::my_strtoul(const char* text, char** end, unsigned int base, unsigned int* value) {
    if (text == nullptr || value == nullptr) return -1;
    while (std::isspace(static_cast<unsigned char>(*text)) != 0) ++text;
    char* stop = const_cast<char*>(text);
    if (*text == '-') {  // refused: the C library would wrap it around
        if (end != nullptr) *end = stop;
        *value = 0;
        std::printf("ret = -1");
        return -1;
    }
    errno = 0;
    const unsigned long number = std::strtoul(text, &stop, static_cast<int>(base));
    if (end != nullptr) *end = stop;
    if (errno != 0 || *stop != '\0' || number > UINT_MAX) {
        *value = 0;
        std::printf("ret 1 = -1");
        return -1;
    }
    *value = static_cast<unsigned int>(number);
    return 0;
}

int EtherSwitchBcm380::hexStringToBinaryBuf(const char* hexStr, unsigned char** binaryBuf, unsigned int* binaryLen) {
    if (hexStr == nullptr || binaryBuf == nullptr || binaryLen == nullptr) return -1;
    const std::size_t digits = std::strlen(hexStr);
    if (digits % 2 != 0) {
        std::printf("hexStr must be an even number of characters");
        return -1;
    }
    const std::size_t length = digits / 2;
    *binaryBuf = static_cast<unsigned char*>(std::malloc(length == 0 ? 1 : length));
    if (*binaryBuf == nullptr) {
        std::printf("binaryBuf == NULL");
        return -1;
    }
    for (std::size_t i = 0; i < length; ++i) {
        const char pair[] = {hexStr[2 * i], hexStr[2 * i + 1], '\0'};
        unsigned int value = 0;
        if (my_strtoul(pair, nullptr, 16, &value) != 0) {
            std::free(*binaryBuf);
            *binaryBuf = nullptr;
            return -1;
        }
        (*binaryBuf)[i] = static_cast<unsigned char>(value);
    }
    *binaryLen = static_cast<unsigned int>(length);
    return 0;
}
