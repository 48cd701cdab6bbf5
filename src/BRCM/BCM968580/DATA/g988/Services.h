// The services of a board: what a daemon's records ask for, as tables, and the rules that the device has for them. Each
// operation is done as a whole or leaves everything as it was. Devices and bridges are not made here: VLAN devices must
// be there before a row or a PON port uses them, and go after it.
//
// Not thread safe; the daemon's provisioning thread alone.
#ifndef BRCM_BCM968580_DATA_G988_SERVICES_H
#define BRCM_BCM968580_DATA_G988_SERVICES_H

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "BRCM/BCM968580/DATA/g988/CarryOut.h"
#include "BRCM/BCM968580/DATA/g988/Records.h"

namespace g988 {

// How a PON port is found again: a record with the same GEM ports and protocol is about the same port. Multicast may
// come in a GEM port that is another service's too.
struct PonPortKey {
    std::set<std::uint16_t> gemPortIds;
    std::optional<std::uint8_t> ipProtocol;
    bool isMulticast = false;
    bool operator==(const PonPortKey& other) const {
        return gemPortIds == other.gemPortIds && ipProtocol == other.ipProtocol && isMulticast == other.isMulticast;
    }
};

struct PonSide {
    std::vector<PonPort> ports;
    std::vector<PonPortKey> keys;  // as many
};

class Services {
    struct Asked {
        Tables tables;
        std::map<std::uint16_t, std::vector<PonPortKey>> keys;  // alongside tables.bridges
        std::set<std::uint16_t> gatewayGems;
    };

public:
    explicit Services(GemIndexOf gemIndexOf) : gemIndexOf_(std::move(gemIndexOf)) {}

    // Makes the devices that an operation needs, when it is known that its rules can be made and before the kit is
    // asked for them. Why it cannot; "" when they are there.
    using Prepare = std::function<std::string()>;

    // A record of filter_flow_add with addFlag set; uniPort n, from 1, is "sid" + (n - 1). Sets or deletes a row, or,
    // with hasTagRules 0, takes the port's table away, so that everything passes. Deleting what is not there is no
    // error. Refused: an EtherType code above 6, more than two tags. Ports above 4 are IP hosts, which have no rows:
    // done, and nothing happens.
    Outcome setUni(const UniDataProvisioning& record, const Prepare& prepare = nullptr);

    // What an operation has replaced, for one that is done here and then refused by a device.
    class Before {
    public:
        const Tables& tables() const { return asked_.tables; }

    private:
        friend class Services;
        Entries entries_;
        Asked asked_;  // those entries of it
        std::optional<Asked> claimed_;
    };
    // Tables and rules as they were. The devices must be back.
    Outcome rollBack(const Before& before);

    // The port leaves the bridge, and rows for it go; its last bridge takes the port's table along.
    Outcome removeUni(std::uint16_t uniPort, std::uint16_t bridge, Before* before = nullptr);
    // All ports leave the bridge.
    Outcome removeUniSide(std::uint16_t bridge, Before* before = nullptr);

    // A PON port with the record's filter and mapper, in place of one of the bridge that has the same GEM ports and
    // protocol. Refused: a GEM port that the driver does not know, a list that is no list, a traffic model above 6.
    Outcome setPonPort(const BridgeServiceProvisioning& record, const Prepare& prepare = nullptr);
    // The bridge's PON ports that have one of the record's GEM ports, multicast by a record of multicast alone; all of
    // them when it names none.
    Outcome removePonPorts(const BridgeServiceProvisioning& record, Before* before = nullptr);
    // Those that have the GEM port, whatever comes in it.
    Outcome removeGemPort(std::uint16_t bridge, std::uint16_t gemPortId, Before* before = nullptr);
    Outcome removePonSide(std::uint16_t bridge, Before* before = nullptr);

    const Tables& tables() const { return asked_.tables; }
    const Installed& installed() const { return installed_; }
    // How many PON ports are for downstream frames alone.
    std::size_t multicastPorts() const;

    // GEM ports whose multicast is for the gateway too. False when it is one already.
    bool addGatewayGem(std::uint16_t gemPortId);
    void removeGatewayGem(std::uint16_t gemPortId);
    const std::set<std::uint16_t>& gatewayGems() const { return asked_.gatewayGems; }

    // ---- a state file that is read back ----

    std::optional<PonSide> ponSide(std::uint16_t bridge) const;
    void restore(std::uint16_t number, UniPort port) { asked_.tables.uniPorts[number] = std::move(port); }
    void restore(std::uint16_t bridge, PonSide side);
    void restoreGatewayGem(std::uint16_t gemPortId) { asked_.gatewayGems.insert(gemPortId); }
    void restore(const TableKey& table, InstalledRule installed);  // in any order
    // The kit no longer has the rule. False when nobody knows it.
    bool forgetRule(const TableKey& table, std::uint32_t id);
    void forgetRules(const TableKey& table);
    using Exists = std::function<bool(const std::string& device)>;
    // Ports and PON sides without their devices go, and rules of real devices that are gone.
    void forgetMissing(const Exists& exists);
    void forgetGemPort(std::uint16_t bridge, std::uint16_t gemPortId);  // its rules go with bringBack()
    void forgetTables();                                                // and keeps the rules
    // Asks the kit for what the tables say and it does not have.
    Outcome bringBack();

    // ---- a daemon that asks again for all that it wants ----

    // From now on each operation that is done is also done on tables of its own, which begin empty.
    void expectClaims();
    // What has not been asked for since goes, the rest is not touched. When the kit refuses, all of it stays and can
    // be tried again. Nothing happens unless claims are expected.
    Outcome settle();
    // Whether a row, a port without rows or a PON port needs the device or bridge: of those that have been asked for
    // while claims are expected, otherwise of all.
    bool needsDevice(const std::string& device) const;

private:
    using Edit = std::function<void(Asked& asked)>;

    static Asked partOf(const Asked& asked, const Entries& entries);
    static void exchange(Asked& one, Asked& other, const Entries& entries);

    // Edits these entries alone.
    Outcome change(const Entries& entries, const Edit& edit, const Prepare& prepare = nullptr,
                   Before* before = nullptr);
    template <typename Goes>
    Outcome removePonPorts(std::uint16_t bridge, Goes goes, Before* before);
    // All entries without any named. When it is done, `asked` is what was there.
    Outcome replace(const std::optional<Entries>& entries, Asked& asked, const Prepare& prepare = nullptr);
    Plan planOfBoard(const Tables& tables) const;
    // Of what there is with these entries in the place of its own.
    Plan planWith(const std::optional<Entries>& entries, Asked& asked);
    void noteTables(const std::optional<Entries>& entries = std::nullopt) const;

    const GemIndexOf gemIndexOf_;
    Asked asked_;                   // and carried out
    std::optional<Asked> claimed_;  // of it, since claims are expected
    Installed installed_;
    bool isCarriedOut_ = true;  // nothing is missing that the kit could not put back
};

}  // namespace g988

#endif
