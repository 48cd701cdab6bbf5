// What the bridges remember from frames: where addresses are, and who wants which multicast. Devices are known by their
// kernel index, so that the memory outlives plans. A walk that is to leave no trace takes its changes back.
#ifndef VIRTUAL_ONU_BRIDGE_MEMORY_H
#define VIRTUAL_ONU_BRIDGE_MEMORY_H

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "frames/Packet.h"
#include "frames/Snooping.h"

namespace virtual_onu::datapath {

class BridgeMemory {
public:
    struct Learned {
        int port = 0;
        std::uint64_t seenMs = 0;
    };
    struct Address {
        int bridge = 0;
        Mac mac = 0;
        Learned learned;
    };
    // Of the device itself: a board that is kept holds what changes. Copies are not.
    enum class Of { Device, Copy };
    explicit BridgeMemory(Of of) : of_(of) {}
    BridgeMemory(const BridgeMemory& other) : bridges_(other.bridges_), sweptMs_(other.sweptMs_) {}
    BridgeMemory& operator=(const BridgeMemory&) = delete;

    static constexpr std::size_t kMaxAddresses = 65536;  // of a bridge; what comes after them is not learned

    void learn(int bridge, Mac mac, int port, std::uint64_t nowMs, std::uint64_t ageingMs);
    // The port behind which the address is; nothing when it is not known, or no longer.
    std::optional<int> portOf(int bridge, Mac mac, std::uint64_t nowMs, std::uint64_t ageingMs) const;
    std::vector<Address> addresses() const;
    // To look at, and to change: kept for a rollback.
    const Snooping* snooping(int bridge) const;
    Snooping& changeSnooping(int bridge);
    // A frame to a group came in. No board file has this.
    void seeStream(int bridge, Mac group, std::uint64_t nowMs);

    // As a board that is kept says.
    void put(const Address& address) { bridges_[address.bridge].addresses[address.mac] = address.learned; }
    void put(int bridge, Snooping snooping) { bridges_[bridge].snooping = std::move(snooping); }
    void remove(int bridge, Mac mac);
    std::optional<Learned> find(int bridge, Mac mac) const;
    std::vector<int> bridges() const;

    void forget();
    void forgetPort(int port);
    void forgetBridge(int bridge);

    // From now on changes are noted; rollBack takes them back.
    void begin() { noting_ = true; }
    void rollBack();

private:
    struct BridgeState {
        std::unordered_map<Mac, Learned> addresses;
        Snooping snooping;
    };
    struct Note {
        int bridge = 0;
        Mac mac = 0;
        std::optional<Learned> before;
        std::optional<Snooping> snooping;  // of the whole bridge, instead of an address
    };
    bool isKept() const { return of_ == Of::Device && !noting_; }
    void changedAddress(int bridge, Mac mac) const;
    void changedBridge(int bridge, const BridgeState& state) const;  // all of it

    Of of_ = Of::Copy;
    std::unordered_map<int, BridgeState> bridges_;
    std::uint64_t sweptMs_ = 0;  // when aged addresses were last thrown out of a full table
    bool noting_ = false;
    std::vector<Note> notes_;
};

BridgeMemory& deviceMemory();  // the device's own; with the device lock held

}  // namespace virtual_onu::datapath

#endif
