// The file-scope state that the engine's files share. Each variable is defined in the file named beside it and has no
// lock unless stated: the daemon's provisioning thread alone touches it.
#ifndef BRCM_BCM968580_DATA_ENGINE_STATE_H
#define BRCM_BCM968580_DATA_ENGINE_STATE_H

#include <pthread.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <set>

#include "BRCM/BCM968580/DATA/EngineRecords.h"

// EtherSwitchBcm380.cpp. The action code and the service count are read by the listener thread too.
extern std::atomic<int> omciAction;
extern std::atomic<int> omciServiceCount;

// Bridge.cpp: bridge id to UNI port.
extern std::map<std::uint32_t, std::uint32_t> m_BridgeIdToUniId;

// RuleMap.cpp: every rule that the engine has installed.
extern std::map<vlanRuleKey, std::unique_ptr<VLAN_RULE_MAP_ENTRY>> m_VLAN_RULE_MAP_ENTRY;

// ani/AniService.cpp
extern std::map<std::uint16_t, std::uint16_t> tGemPortMap;  // GEM port id to GEM index
// GEM port, queue, p-bits
extern std::map<std::uint16_t, std::map<std::uint16_t, std::set<std::uint8_t>>> gemPortPbitToQMap;
constexpr std::uint16_t kNoGemPort = 65535;
constexpr std::uint16_t kUnusedGemPort = 4095;  // the OLT's "no port" of some profiles
extern std::array<std::uint16_t, 8> xgemPortIdForPbit;
extern std::array<std::uint16_t, 8> xgemUpstremQueueForPbit;
extern std::uint8_t protocolNumber;  // of the last service configured; 2 is IGMP

// ani/Multicast.cpp
extern std::atomic<std::uint8_t> mcast;  // 1 while a multicast service is being set up
extern std::int32_t mcastGemPortId;
extern std::int32_t mcastGemPortIndex;

// ani/AniRemoval.cpp: first rule id of the multicast service last taken down.
extern std::int16_t m_aniTagRuleId;

// uni/UniProvisioning.cpp: VLAN model marks of a UNI port.
extern std::map<std::uint32_t, bool> m_dscpConfigInfo;
extern std::map<std::uint32_t, bool> m_cTagConfigInfo;

// Source names as they stand in the log.
constexpr const char* kEngineSource = "src/BRCM/BCM968580/DATA/EtherSwitchBcm380";
constexpr const char* kDataProvSource = "src/BRCM/BCM968580/DATA/EtherSwitchBcm380DataProv";
constexpr const char* kVeipSource = "src/BRCM/BCM968580/DATA/EtherSwitchBcm380Veip";
constexpr int kLogModule = 150;
constexpr int kLogError = 3;
constexpr int kLogInfo = 6;
constexpr int kLogTrace = 7;

// Fixed device names.
constexpr const char* kPonDevice = "gpondef";
constexpr const char* kDefaultBridge = "br0";
constexpr const char* kVeipDevice = "veip0";
constexpr const char* kVeipRealDevice = "gpon0.0";

#endif
