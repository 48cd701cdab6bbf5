// The HAL's log, in the maker's logging library.
#ifndef BRCM_BCM968580_DATA_ENGINE_LOG_H
#define BRCM_BCM968580_DATA_ENGINE_LOG_H

#include "platform/logger.h"

constexpr int kLogModule = 150;

// Source names as they are in the log.
constexpr const char* kEngineSource = "src/BRCM/BCM968580/DATA/EtherSwitchBcm380";
constexpr const char* kDataProvSource = "src/BRCM/BCM968580/DATA/EtherSwitchBcm380DataProv";
constexpr const char* kVeipSource = "src/BRCM/BCM968580/DATA/EtherSwitchBcm380Veip";
// Levels.
constexpr int kLogError = 3;
constexpr int kLogInfo = 6;
constexpr int kLogTrace = 7;

// One entry: the operation and the source file that it names, its level, then as for printf. A macro, because an entry
// carries the line that it comes from.
#define ENGINE_LOG(operation, source, level, ...) \
    Logger::getInstance(kLogModule)->writeToLog(0, operation, source, __LINE__, level, __VA_ARGS__)

// Runs a command of the shell behind an entry with its label. Its status.
int runEngineCommand(const char* label, const char* command);

#endif
