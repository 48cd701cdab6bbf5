// Fixed names of devices, and how the engine's files sign their log lines.
#ifndef BRCM_BCM968580_DATA_ENGINE_NAMES_H
#define BRCM_BCM968580_DATA_ENGINE_NAMES_H

// Source names as they stand in the log.
constexpr const char* kEngineSource = "src/BRCM/BCM968580/DATA/EtherSwitchBcm380";
constexpr const char* kDataProvSource = "src/BRCM/BCM968580/DATA/EtherSwitchBcm380DataProv";
constexpr const char* kVeipSource = "src/BRCM/BCM968580/DATA/EtherSwitchBcm380Veip";
constexpr int kLogModule = 150;
constexpr int kLogError = 3;
constexpr int kLogInfo = 6;
constexpr int kLogTrace = 7;

constexpr const char* kPonDevice = "gpondef";
constexpr const char* kDefaultBridge = "br0";
constexpr const char* kVeipDevice = "veip0";
constexpr const char* kVeipRealDevice = "gpon0.0";

#endif
