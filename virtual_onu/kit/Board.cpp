// The board: NVRAM, software images, MAC addresses, PHYs.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <random>
#include <stdexcept>

#include "Core.h"
#include "Facilities.h"
#include "Section.h"
#include "StateJson.h"
#include "kernel/Network.h"
#include "platform/devctl.h"

namespace virtual_onu {

namespace {

using MacBytes = std::array<unsigned char, 6>;

// Where the fields are in the NVRAM record. A text that fills its field is not terminated, as in the real record.
constexpr std::size_t kNvramPartNumber = 260;
constexpr std::size_t kNvramMac = 288;
constexpr std::size_t kNvramSerialNumber = 300;
constexpr std::size_t kPartNumberSize = kNvramMac - kNvramPartNumber;
constexpr std::size_t kSerialNumberSize = NVRAM_DATA_SIZE - kNvramSerialNumber;

constexpr int kFirstImagePartition = 4;  // image 1; partition 5 holds image 2
constexpr int kPhyPorts = 8;

using board::Identity;
using board::Image;
using board::Phy;

// As the kernel writes it: a random UUID, another one each time that the board starts.
std::string newBootId() {
    std::random_device random;
    std::array<char, 37> text{};
    const auto word = [&] { return static_cast<unsigned>(random()); };
    std::snprintf(text.data(), text.size(), "%08x-%04x-4%03x-%04x-%08x%04x", word(), word() & 0xffff, word() & 0xfff,
                  0x8000 | (word() & 0x3fff), word(), word() & 0xffff);
    return text.data();
}

struct BoardState {
    std::string bootId = newBootId();
    MacBytes baseMac{0x02, 0x10, 0x20, 0x30, 0x40, 0x50};
    std::string serialNumber = "VONU00000001";
    std::string partNumber = "VONU-8X";
    int bootedPartition = kFirstImagePartition;
    std::map<int, std::string> imageVersions{{1, "VONU-1.0.0"}, {2, "VONU-1.1.0"}};
    std::array<Phy, kPhyPorts> phys;
};

BoardState& boardState() {
    static BoardState& state = *new BoardState;
    return state;
}

MacBytes parsedMac(const std::string& text) {
    std::uint8_t bytes[6];
    if (!network::parseMac(text, bytes)) throw std::invalid_argument("not a MAC address: " + text);
    MacBytes mac{};
    std::copy(std::begin(bytes), std::end(bytes), mac.begin());
    return mac;
}

Phy* phyAt(int unit, int port) {
    return unit == 0 && port >= 0 && port < kPhyPorts ? &boardState().phys[static_cast<std::size_t>(port)] : nullptr;
}

// ---- as sections of a board file ----

Identity identity() {
    const BoardState& state = boardState();
    return {state.serialNumber, state.partNumber, network::macText(state.baseMac.data()), state.bootedPartition,
            state.bootId};
}

struct IdentityAccess : persistence::Single<Identity> {
    static Identity get() { return identity(); }
    static void put(const Identity& given) {
        BoardState& state = boardState();
        state.bootId = given.bootId;
        state.serialNumber = given.serialNumber;
        state.partNumber = given.partNumber;
        state.baseMac = parsedMac(given.baseMac);
        state.bootedPartition = given.bootedPartition;
    }
};

std::map<int, std::string>& imageVersions() {
    return boardState().imageVersions;
}

struct ImageAccess : persistence::Keyed<int, Image> {
    static std::vector<std::string> keys() { return persistence::keysOf(imageVersions()); }
    static std::optional<Image> get(int number) {
        const auto found = imageVersions().find(number);
        return found == imageVersions().end() ? std::nullopt : std::optional<Image>({number, found->second});
    }
    static void put(int number, const Image& image) { imageVersions()[number] = image.version; }
    static void remove(int number) { imageVersions().erase(number); }
};

// All ports are always there.
struct PhyAccess : persistence::Keyed<int, Phy> {
    static int keyFrom(const std::string& text) {
        return static_cast<int>(persistence::numberKey(text, kPhyPorts - 1));
    }
    static std::vector<std::string> keys() {
        std::vector<std::string> ports;
        for (int port = 0; port < kPhyPorts; ++port) ports.push_back(std::to_string(port));
        return ports;
    }
    static std::optional<Phy> get(int port) { return *phyAt(0, port); }
    static void put(int port, const Phy& phy) { *phyAt(0, port) = phy; }
    static void remove(int port) { *phyAt(0, port) = Phy{}; }
};

int boardCall(const char* name, const std::string& argumentList, const std::function<int()>& work) {
    return platformCall(name, argumentList, [&] {
        const DeviceAccess lock(deviceMutex());
        return work();
    });
}

}  // namespace

namespace board {

void reset() {
    const DeviceAccess lock(deviceMutex());
    boardState() = BoardState{};
    deviceChanged();
}

persistence::Sections sections() {
    return {persistence::section<IdentityAccess>(persistence::kIdentity),
            persistence::section<ImageAccess>(persistence::kImages),
            persistence::section<PhyAccess>(persistence::kPhys)};
}

bool phyHasLink(int port) {
    const DeviceAccess lock(deviceMutex());
    const Phy* phy = phyAt(0, port);
    return phy != nullptr && phy->linkUp;
}

std::string bootId() {
    const DeviceAccess lock(deviceMutex());
    return boardState().bootId;
}

nlohmann::json toJson() {
    const DeviceAccess lock(deviceMutex());
    const auto& state = boardState();
    Identity own = identity();
    own.serialNumber = escaped(own.serialNumber);
    own.partNumber = escaped(own.partNumber);
    nlohmann::json all = stateJson(own);
    all["images"] = all["phys"] = nlohmann::json::array();
    for (const auto& [image, version] : state.imageVersions)
        all["images"].push_back(stateJson(Image{image, escaped(version)}));
    for (std::size_t port = 0; port < state.phys.size(); ++port) {
        Phy phy = state.phys[port];
        phy.port = static_cast<int>(port);
        all["phys"].push_back(stateJson(phy));
    }
    return all;
}

}  // namespace board

// ---- the facade's view ----

void VirtualOnu::setBaseMac(const std::string& mac) {
    const auto bytes = parsedMac(mac);
    const DeviceAccess lock(deviceMutex());
    if (boardState().baseMac == bytes) return;
    boardState().baseMac = bytes;
    persistence::changed(persistence::kIdentity);
}

void VirtualOnu::setSerialNumber(const std::string& text) {
    const DeviceAccess lock(deviceMutex());
    if (boardState().serialNumber == text) return;
    boardState().serialNumber = text;
    persistence::changed(persistence::kIdentity);
}

void VirtualOnu::setPartNumber(const std::string& text) {
    const DeviceAccess lock(deviceMutex());
    boardState().partNumber = text;
    persistence::changed(persistence::kIdentity);
}

void VirtualOnu::setBootedPartition(int partition) {
    const DeviceAccess lock(deviceMutex());
    boardState().bootedPartition = partition;
    persistence::changed(persistence::kIdentity);
}

void VirtualOnu::setImageVersion(int image, const std::string& version) {
    const DeviceAccess lock(deviceMutex());
    boardState().imageVersions[image] = version;
    persistence::changed(persistence::kImages, image);
}

void VirtualOnu::setPhy(int port, bool linkUp, int speed, int duplex) {
    const DeviceAccess lock(deviceMutex());
    Phy* phy = phyAt(0, port);
    if (phy == nullptr) throw std::invalid_argument("setPhy: no such port");
    *phy = {port, linkUp, speed, duplex};
    persistence::changed(persistence::kPhys, port);
    deviceChanged();
}

std::pair<int, int> VirtualOnu::phyMode(int port) const {
    const DeviceAccess lock(deviceMutex());
    const Phy* phy = phyAt(0, port);
    if (phy == nullptr) throw std::invalid_argument("phyMode: no such port");
    return {phy->speed, phy->duplex};
}

bool VirtualOnu::phyHasLink(int port) const {
    const DeviceAccess lock(deviceMutex());
    const Phy* phy = phyAt(0, port);
    if (phy == nullptr) throw std::invalid_argument("phyHasLink: no such port");
    return phy->linkUp;
}

}  // namespace virtual_onu

// ---- the kit's functions ----

using namespace virtual_onu;

int devCtl_getMacAddress(unsigned char* mac, unsigned int owner) {
    return boardCall("devCtl_getMacAddress", arguments(owner), [&] {
        std::memcpy(mac, boardState().baseMac.data(), boardState().baseMac.size());
        return 0;
    });
}

int devCtl_getBaseMacAddress(unsigned char* mac) {
    return boardCall("devCtl_getBaseMacAddress", arguments(), [&] {
        std::memcpy(mac, boardState().baseMac.data(), boardState().baseMac.size());
        return 0;
    });
}

int devCtl_getBootedImagePartition(void) {
    return boardCall("devCtl_getBootedImagePartition", arguments(), [] { return boardState().bootedPartition; });
}

int devCtl_getImageVersion(int image, char* buffer, int size) {
    return boardCall("devCtl_getImageVersion", arguments(image, size), [&] {
        const auto version = boardState().imageVersions.find(image);
        if (version == boardState().imageVersions.end()) return ENOENT;
        if (size <= 0 || buffer == nullptr) return EINVAL;
        std::snprintf(buffer, static_cast<std::size_t>(size), "%s", version->second.c_str());
        return 0;
    });
}

int bcm_phy_mode_get(int unit, int port, int* speed, int* duplex) {
    return boardCall("bcm_phy_mode_get", arguments(unit, port), [&] {
        const Phy* phy = phyAt(unit, port);
        if (phy == nullptr) return ENODEV;
        *speed = phy->speed;
        *duplex = phy->duplex;
        return 0;
    });
}

int bcm_phy_mode_set(int unit, int port, int speed, int duplex) {
    return boardCall("bcm_phy_mode_set", arguments(unit, port, speed, duplex), [&] {
        Phy* phy = phyAt(unit, port);
        if (phy == nullptr) return ENODEV;
        phy->speed = speed;
        phy->duplex = duplex;
        persistence::changed(persistence::kPhys, port);
        return 0;
    });
}

int bcm_get_linkstatus(int unit, int port, int* status, int flags) {
    return boardCall("bcm_get_linkstatus", arguments(unit, port, flags), [&] {
        const Phy* phy = phyAt(unit, port);
        if (phy == nullptr) return ENODEV;
        *status = phy->linkUp ? 1 : 0;
        return 0;
    });
}

int nandReadNvramData(void* nvram) {
    return boardCall("nandReadNvramData", arguments(), [&] {
        const auto& state = boardState();
        std::array<char, NVRAM_DATA_SIZE> data{};
        state.partNumber.copy(&data[kNvramPartNumber], kPartNumberSize);
        std::memcpy(&data[kNvramMac], state.baseMac.data(), state.baseMac.size());
        state.serialNumber.copy(&data[kNvramSerialNumber], kSerialNumberSize);
        std::memcpy(nvram, data.data(), data.size());
        return 0;
    });
}
