// Fixed names of devices.
#ifndef BRCM_BCM968580_DATA_ENGINE_NAMES_H
#define BRCM_BCM968580_DATA_ENGINE_NAMES_H

constexpr const char* kPonDevice = "gpondef";
constexpr const char* kDefaultBridge = "br0";
constexpr const char* kVeipDevice = "veip0";
constexpr const char* kVeipRealDevice = "gpon0.0";

#endif
