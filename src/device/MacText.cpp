#include "device/MacText.h"

#include <cstdio>

namespace {

constexpr std::size_t kMacTextSize = 18;

}  // namespace

int macToText(const unsigned char* mac, char* text) {
    if (mac == nullptr || text == nullptr) {
        std::printf("Invalid macNum/macStr %p/%p", static_cast<const void*>(mac), static_cast<void*>(text));
        return -1;
    }
    std::snprintf(text, kMacTextSize, "%2.2x:%2.2x:%2.2x:%2.2x:%2.2x:%2.2x", mac[0], mac[1], mac[2], mac[3], mac[4],
                  mac[5]);
    return 0;
}
