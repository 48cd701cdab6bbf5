#include "device/DeviceInfo.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "platform/cms.h"
#include "platform/devctl.h"
#include "platform/gponctl.h"

namespace {

// Where the board library keeps the fields in its NVRAM record.
constexpr std::size_t kPartNumberAt = 260;
constexpr std::size_t kMacAt = 288;
constexpr std::size_t kSerialNumberAt = 300;

std::array<unsigned char, NVRAM_DATA_SIZE> nvram{};

constexpr int kFirstImagePartition = 4;
constexpr int kSecondImagePartition = 5;

constexpr const char* kLinkStateKey = "linkState";
constexpr std::size_t kLinkStateSize = 7;
constexpr char kStandby[] = "standby";
constexpr char kStopped[] = "stop   ";  // the blanks are part of the stored value
constexpr std::uint32_t kStartActive = 1;
constexpr std::uint32_t kStartStopped = 7;

// What snprintf has an answer for: it measures a text into no buffer of size 0, and a negative size, which it would
// take for a huge one, is beyond what it must support.
bool canFormatInto(const char* buf, int size) {
    return size == 0 || (size > 0 && buf != nullptr);
}

// The zero-terminated text at this place, or what the record holds of it when its end is missing.
int formatText(std::size_t at, char* buf, int size) {
    if (!canFormatInto(buf, size)) return -1;
    const int room = static_cast<int>(nvram.size() - at);
    return std::snprintf(buf, static_cast<std::size_t>(size), "%.*s", room,
                         reinterpret_cast<const char*>(nvram.data() + at));
}

}  // namespace

int vorn_omci_nvram_info_get() {
    return nandReadNvramData(nvram.data());
}

int vorn_omci_mac_get(char* buf, int size) {
    if (!canFormatInto(buf, size)) return -1;
    const unsigned char* mac = nvram.data() + kMacAt;
    return std::snprintf(buf, static_cast<std::size_t>(size), "%2.2x:%2.2x:%2.2x:%2.2x:%2.2x:%2.2x", mac[0], mac[1],
                         mac[2], mac[3], mac[4], mac[5]);
}

int vorn_omci_sn_get(char* buf, int size) {
    return formatText(kSerialNumberAt, buf, size);
}

int vorn_omci_pn_get(char* buf, int size) {
    return formatText(kPartNumberAt, buf, size);
}

int vorn_omci_swimage_version_get(char* buf, int size, int /*extra*/) {
    const int partition = devCtl_getBootedImagePartition();
    if (partition != kFirstImagePartition && partition != kSecondImagePartition) return partition;
    return devCtl_getImageVersion(partition == kFirstImagePartition ? 1 : 2, buf, size);
}

int vorn_omci_gponctl_state_set() {
    char linkState[kLinkStateSize + 1] = {};
    cmsPsp_get(kLinkStateKey, linkState, kLinkStateSize);
    if (linkState[0] == '\0') {
        std::memcpy(linkState, kStandby, kLinkStateSize);
        cmsPsp_set(kLinkStateKey, linkState, kLinkStateSize);
    }
    GponCtlAdminState record{};
    record.state = std::memcmp(linkState, kStopped, kLinkStateSize) == 0 ? kStartStopped : kStartActive;
    return gponCtl_startAdminState(&record);
}
