// The engine's state that lives as long as the process. A daemon or a test may look at it and, while no operation runs,
// change it. Unless stated, the provisioning thread alone touches it and there is no lock.
#ifndef BRCM_BCM968580_DATA_ENGINE_STATE_H
#define BRCM_BCM968580_DATA_ENGINE_STATE_H

#include <pthread.h>

#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>

#include "BRCM/BCM968580/DATA/EngineRecords.h"
#include "hal/Export.h"
#include "hal/OwnedBlock.h"

// ---- Bridges (Bridge.cpp) ----

// Bridge id to UNI port.
extern VORN_API std::map<std::uint32_t, std::uint32_t> m_BridgeIdToUniId;

// ---- VLAN rule map (RuleMap.cpp) ----

// Every rule that the engine has installed; the map owns its entries.
extern VORN_API std::map<vlanRuleKey, std::unique_ptr<VLAN_RULE_MAP_ENTRY>> m_VLAN_RULE_MAP_ENTRY;

// ---- ANI side (ani/AniService.cpp) ----

extern VORN_API std::map<std::uint16_t, std::uint16_t> tGemPortMap;  // GEM port id to GEM index
// GEM port id, queue id, p-bits. Filled and emptied by one configureAniTagRules(), left filled by a multicast service.
extern VORN_API std::map<std::uint16_t, std::map<std::uint16_t, std::set<std::uint8_t>>> gemPortPbitToQMap;
constexpr std::uint16_t kNoGemPort = 65535;
constexpr std::uint16_t kUnusedGemPort = 4095;  // the OLT's "no port" of some profiles
// GEM port id (or one of the two above) and upstream queue of each p-bit, of the last service that named the p-bit.
extern VORN_API std::uint16_t xgemPortIdForPbit[8];
extern VORN_API std::uint16_t xgemUpstremQueueForPbit[8];
extern VORN_API std::uint8_t protocolNumber;  // of the last service configured; 2 is IGMP

// First rule id, low 16 bits, of the multicast service last taken down (ani/AniRemoval.cpp).
extern VORN_API std::int16_t m_aniTagRuleId;

// ---- Multicast (ani/Multicast.cpp) ----

extern VORN_API std::uint8_t mcast;  // 1 while a multicast service is being set up
// Of the multicast service last set up; 0 before the first.
extern VORN_API std::int32_t mcastGemPortId;
extern VORN_API std::int32_t mcastGemPortIndex;

// ---- UNI side (uni/UniProvisioning.cpp) ----

// VLAN model marks of a UNI port: p-bits from the DSCP, customer tags.
extern VORN_API std::map<std::uint32_t, bool> m_dscpConfigInfo;
extern VORN_API std::map<std::uint32_t, bool> m_cTagConfigInfo;

// ---- Service map (gateway/ServiceMap.cpp) ----

// The services that the gateway has been notified of; the map owns its entries. The listener thread reads it too: the
// library takes a lock of its own around each access, so look at it only while no message can come in.
extern VORN_API std::map<serviceKey, OwnedBlock<OMCI_SERVICE_MAP_ENTRY>> m_SERVICE_MAP_ENTRY;

// ---- Gateway link (gateway/Cms.cpp) ----

// Message bus and its timers: null until omcid_initCms(), which sets them before the listener starts.
extern VORN_API void* msgHandle;
extern VORN_API void* tmrHandle;
// Pair a sent service message with the gateway's answer: held for the signal and for the wait, never for a send.
extern VORN_API pthread_mutex_t syncOmciRgLock;
extern VORN_API pthread_cond_t syncOmciRgCond;

#endif
