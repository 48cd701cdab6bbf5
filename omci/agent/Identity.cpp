#include "omci/agent/Identity.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "hal/VornHal.h"
#include "omci/message/ValueText.h"

namespace omci {

namespace {

using Text = std::array<char, 64>;

std::string textOf(const Text& text) {
    return {text.data(), strnlen(text.data(), text.size())};
}

// Bytes of two digits each from offset on; false, with bytes as they were, where there are others.
bool readHex(const std::string& text, std::size_t offset, std::size_t step, std::uint8_t* bytes, std::size_t count) {
    std::array<std::uint8_t, 8> read{};
    for (std::size_t at = 0; at < count; ++at) {
        const std::size_t place = offset + at * step;
        const int high = place + 1 < text.size() ? hexDigit(text[place]) : -1;
        const int low = place + 1 < text.size() ? hexDigit(text[place + 1]) : -1;
        if (high < 0 || low < 0) return false;
        read[at] = static_cast<std::uint8_t>(high * 16 + low);
    }
    std::memcpy(bytes, read.data(), count);
    return true;
}

// Four letters and eight digits, as serial numbers are printed.
void readSerialNumber(const std::string& text, Board& board) {
    if (text.size() != 12 || !readHex(text, 4, 2, board.serialNumber.data() + 4, 4)) return;
    std::memcpy(board.serialNumber.data(), text.data(), 4);
}

void readMac(const std::string& text, std::array<std::uint8_t, 6>& mac) {
    if (text.size() == 17) readHex(text, 0, 3, mac.data(), mac.size());
}

}  // namespace

void readIdentity(VornHal& hal, Board& board) {
    hal.vorn_omci_hal_nvram_info_get();
    const auto asked = [&hal](int (VornHal::*get)(unsigned char*, unsigned int)) {
        Text text{};
        (hal.*get)(reinterpret_cast<unsigned char*>(text.data()), text.size());
        return textOf(text);
    };
    readSerialNumber(asked(&VornHal::vorn_omci_hal_sn_get), board);
    const std::string partNumber = asked(&VornHal::vorn_omci_hal_pn_get);
    if (!partNumber.empty()) board.equipmentId = partNumber;
    readMac(hal.vorn_hal_get_mac_ip_host(), board.ipHostMac);
    readMac(hal.vorn_hal_get_mac_sub_host(), board.bridgeMac);
    Text version{};
    if (hal.vorn_omci_hal_swimage_version_get(version.data(), static_cast<int>(version.size()), 0) != 0) return;
    for (BoardImage& image : board.images) {
        if (image.active && version[0] != '\0') image.version = textOf(version);
    }
}

}  // namespace omci
