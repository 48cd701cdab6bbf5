// One line of the log about a restart.
#ifndef BRCM_BCM968580_DATA_RESTART_RESTART_LOG_H
#define BRCM_BCM968580_DATA_RESTART_RESTART_LOG_H

#include "BRCM/BCM968580/DATA/EngineLog.h"
#include "hal/Text.h"

namespace restart {

constexpr const char* kRestartSource = "src/BRCM/BCM968580/DATA/restart";
constexpr const char* kStateOpen = "vorn_hal_state_open";
constexpr const char* kCleanDevice = "vorn_hal_clean_device";
constexpr const char* kStateSettle = "vorn_hal_state_settle";

using LogText = FixedText<256>;

inline void logLine(const char* operation, int level, const LogText& text) {
    ENGINE_LOG(operation, kRestartSource, level, "%s\n", text.get());
}

// Of opening a state file: what differs from what the file says.
inline void report(const LogText& text) {
    logLine(kStateOpen, kLogError, text);
}

}  // namespace restart

#endif
