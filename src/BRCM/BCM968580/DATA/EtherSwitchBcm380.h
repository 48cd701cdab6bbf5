// The bridge and VLAN service engine: turns bridge services, extended VLAN tagging rows, VEIP services and IP hosts
// into Linux bridges, VLAN devices, vlanctl tag rules and shell commands.
//
// One object a process, reached through getInstance(). Unless stated, an operation is called from the daemon's
// provisioning thread only, prints its progress and its failures to standard output, answers a false or negative result
// on failure and undoes nothing that it has already made. Names handed in as char* are zero-terminated; a buffer that a
// name is written into holds 32 bytes.
#ifndef BRCM_BCM968580_DATA_ETHER_SWITCH_BCM380_H
#define BRCM_BCM968580_DATA_ETHER_SWITCH_BCM380_H

#include <pthread.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "BRCM/BCM968580/DATA/EngineRecords.h"
#include "hal/BridgeRecords.h"
#include "hal/Export.h"

class VORN_API EtherSwitchBcm380 {
public:
    // The one object, made on the first call. No lock: the first call comes before any other thread uses the engine.
    static EtherSwitchBcm380* getInstance();
    // Destroys the object if there is one; a later getInstance() makes a new one. Devices that it made stay.
    static void deleteInstance();
    ~EtherSwitchBcm380();
    EtherSwitchBcm380(const EtherSwitchBcm380&) = delete;
    EtherSwitchBcm380& operator=(const EtherSwitchBcm380&) = delete;

    static EtherSwitchBcm380* m_Instance;  // null while there is no object

    // ---- Names and device control (EtherSwitchBcm380.cpp) ----

    // Forms "sid"id or "gpon"id, and "sid"id"."vlanDevId or "gpon"id"."vlanDevId. False for another type, which leaves
    // name as it was.
    bool getInterfaceName(PhyType type, unsigned int id, char* name);
    bool getVirtualInterfaceName(PhyType type, unsigned int id, unsigned short vlanDevId, char* name);
    // The kernel's interface index; -1 for null, for an unknown name and when no socket is to be had.
    int getInterfaceIndex(const char* name);
    bool isInterfaceExisted(const char* name);
    // Sets the flags up, running and multicast outright and the MTU to 1500. The result is that of the flags.
    bool ifUp(const char* name);
    bool ifDown(const char* name);
    int disableIPv6(const char* name);  // 0 whatever happens
    // Makes an ANI device on "gpondef". True when it exists already.
    bool createAniVlanInterface(char* aniName);
    // Makes VLAN device vlanIfc (id devId) on devIfc, drops what no rule matches, and brings it up. True when it
    // exists.
    bool createVlanInterface(unsigned short devId, bool isRouted, bool isMulticast, char* devIfc, char* vlanIfc);
    void createVlanFlows(char* fromVlanIfc, char* toVlanIfc);
    bool deleteVlanInterface(unsigned short devId, bool isRouted, bool isMulticast, char* devIfc, char* vlanIfc);
    bool deleteAniVlanInterface(char* aniName, char* aniVlanName);
    // The width bits of value whose most significant bit is bit msb (15 is the top bit).
    unsigned short getFieldFromHalfWord(unsigned short value, unsigned char msb, unsigned char width);
    void setOmciAction(int action);
    int getOmciAction();
    // Number of services in the service map. Any thread.
    int omci_service_num_get();
    // Logs label and command, runs the command with the system shell, answers true. The caller checks what it formats
    // in.
    bool runSystemCommand(const char* label, const char* command);
    // text holds 18 bytes. 0, or -1 when an argument is null.
    int macNumToStr(const unsigned char* mac, char* text);
    // The whole text as an unsigned number; -1 for a minus sign, an overflow or trailing characters. end may be null.
    int my_strtoul(const char* text, char** end, unsigned int base, unsigned int* value);
    // Hex text to bytes. On success (0) the caller frees *binaryBuf with free(); on failure (-1) there is nothing to
    // free and *binaryLen is as it was.
    int hexStringToBinaryBuf(const char* hexStr, unsigned char** binaryBuf, unsigned int* binaryLen);

    // ---- Bridges (Bridge.cpp) ----

    // uniPort 0: the bridge with its ANI devices; else the UNI's VLAN device on that bridge (uniPort counts from 1), or
    // with isIpHost the IP host's VLAN device on the bridge itself. The first call makes "br0" with sid0 to sid7; a
    // port that does not join then is not tried again while br0 exists.
    bool configureBridge(unsigned short bridgeId, unsigned short uniPort, bool isIpHost);
    // True also when the control socket cannot be opened: nothing is made then.
    bool addBridgeInterface(const char* bridgeName);
    // True once both devices exist, whatever the kernel answers: it refuses a device that is a member already.
    bool addInterfaceToBridgeGroup(const char* bridgeName, const char* ifName);
    int removeUniInterfaceFromBridgeGroup(unsigned short bridgeId, unsigned short uniPort);
    int removeAniInterfaceFromBridgeGroup(unsigned short bridgeId);
    bool deleteAniInterface(unsigned short bridgeId);
    // True also when the control socket cannot be opened: nothing is deleted then.
    bool deleteBridgeInterface(unsigned short bridgeId);
    bool deleteUniInterface(unsigned short bridgeId, unsigned short uniPort);

    // ---- VLAN rule map (RuleMap.cpp) ----

    bool findVlanRuleMapEntry(const char* ifName, unsigned short phyId);
    // *entry is written only when found and stays the map's.
    bool findVlanRuleMapEntry(const char* ifName, unsigned short phyId, VLAN_RULE_MAP_ENTRY** entry);
    bool isVlanRuleMapExist(const char* ifName, unsigned short phyId);
    // True when the active area holds a rule with this direction, these filters and this EtherType.
    bool isVlanRuleMapExist(const char* ifName, unsigned short phyId, unsigned short dir, const VlanTagFilter_t* outer,
                            const VlanTagFilter_t* inner, VlanFilterEtherType etherType);
    bool createVlanRuleMapEntry(const char* ifName, unsigned short phyId);
    // Records a rule that is in vlanctl. False for the id VLANCTL_DONT_CARE and for a 97th rule, which then exists
    // there for good: removal takes out what is recorded, and its row, sent again, makes it once more.
    bool insertVlanRuleMapEntry(const char* ifName, unsigned short phyId, unsigned short dir, unsigned int nbrOfTags,
                                unsigned int tagRuleId);
    bool insertVlanRuleMapEntry(const char* ifName, unsigned short phyId, unsigned short dir, unsigned int nbrOfTags,
                                const VlanTagFilter_t* outer, const VlanTagFilter_t* inner, unsigned int tagRuleId,
                                VlanFilterEtherType etherType);
    // Moves the active rules to the remove area. What was still there is forgotten, not removed from vlanctl.
    bool copyVlanRuleMapEntry(const char* ifName, unsigned short phyId);
    // Takes the rules of the remove area out of vlanctl.
    bool removeVlanRuleMapEntry(const char* ifName, unsigned short phyId);
    // Takes every rule of the entry out of vlanctl and frees the entry. Null does nothing.
    void freeVlanRuleMapEntry(VLAN_RULE_MAP_ENTRY* entry);
    bool deleteVlanRuleMapEntry(const char* ifName, unsigned short phyId);
    // Removes the first rule with this direction and these filters; the last active rule takes its slot.
    bool deleteVlanRuleIdFromMap(const char* ifName, unsigned short phyId, unsigned short dir,
                                 const VlanTagFilter_t* outer, const VlanTagFilter_t* inner);
    unsigned int getnbrOfNewRules(const char* ifName, unsigned short phyId);
    // Takes away all rules of the UNI, those for other bridges too: bridgeId is not used.
    bool flushUniSideVlanRules(unsigned short bridgeId, unsigned short uniPort);
    bool flushAniSideVlanRules(unsigned short bridgeId, unsigned short gemPortId);

    // ---- ANI-side tag rules (ani/AniService.cpp, AniRules.cpp, ExtVlan.cpp) ----

    // 0 for a traffic model above 6 or a null record, multicastService in the multicast case, else 1.
    int configureAniTagRules(const BridgeServiceProvisioning* bridgeProv);
    void fillBridgeConfigInfo(const BridgeServiceProvisioning* bridgeProv);
    void fillUpPbitData(const BridgeServiceProvisioning* bridgeProv);
    bool insertGemPortPbitToQMap(std::uint16_t gemPortId, std::uint8_t pbit, std::uint16_t qid);
    void clearGemPortPbitToQMap();
    // tciBuffer holds the received TCIs, 16 bits big-endian each, for entries 1..numberOfEntries - 1.
    void getTagFilters(const std::uint8_t* tciBuffer, std::uint16_t numberOfEntries, VlanTciFilterInfo_t* info);
    bool findGemPortMapEntry(std::uint16_t gemPortId);
    bool getGemIdxFromGemPortMapEntry(std::uint16_t gemPortId, std::uint16_t* gemIdx);
    bool insertGemPortMapEntry(std::uint16_t gemPortId, std::uint16_t gemIdx);
    void createAniFilterTagRules(VlanTciFilterInfo_t& info, std::uint8_t* pbitArray, char* devIfc, char* vlanIfc,
                                 std::uint32_t phyId, std::uint16_t qid);
    void createMulticastAniFilterTagRules(VlanTciFilterInfo_t& info, std::uint8_t* pbitArray, char* devIfc,
                                          char* vlanIfc, std::uint32_t phyId, std::uint16_t qid);
    void insertAniFilterTagRules(const VlanTciFilterInfo_t* info, std::uint8_t direction, std::uint32_t phyId,
                                 char* devIfc, char* vlanIfc, std::uint16_t qid);
    // Passes every frame of an empty table to vlanIfc (action 0); null is no VLAN device, as an empty text is.
    void setDefaultAction(char* devIfc, char* vlanIfc, std::uint8_t action, std::uint16_t nbrOfTags,
                          std::uint16_t phyId, std::uint8_t direction);
    void insertDefaultAniTagRules(char* devIfc, char* vlanIfc, std::uint16_t phyId, std::uint16_t qid,
                                  std::uint8_t direction, std::uint8_t action);
    void insertDefaultTagRules(char* devIfc, char* vlanIfc, std::uint16_t phyId, std::uint8_t direction,
                               std::uint8_t action);
    // Filter inserters: action 1 drops the matching frames, 0 passes them.
    void insertVlanIdFilterTagRules(std::uint16_t vlanId, std::uint16_t qid, std::uint8_t action,
                                    std::uint8_t direction, std::uint32_t phyId, char* devIfc, char* vlanIfc);
    void insertUntaggedFilterRules(std::uint16_t qid, std::uint8_t action, std::uint8_t direction, std::uint32_t phyId,
                                   char* devIfc, char* vlanIfc);
    void insertPbitsFilterTagRules(std::uint8_t pbits, std::uint8_t action, std::uint8_t direction, std::uint32_t phyId,
                                   char* devIfc, char* vlanIfc, std::uint8_t qid);
    void insertTciFilterTagRules(std::uint8_t pbits, std::uint8_t cfi, std::uint16_t vlanId, std::uint8_t action,
                                 std::uint8_t direction, std::uint32_t phyId, char* devIfc, char* vlanIfc,
                                 std::uint8_t qid);
    void insertUniAllowAllTxRxRules(char* devIfc, char* vlanIfc, std::uint16_t phyId);
    // The record's extended VLAN row as one rule; not recorded in the rule map. 1; 0 for a null argument.
    int insertExtVlanUsTagRules(const BridgeServiceProvisioning* bridgeProv, std::uint16_t uniPort,
                                std::uint16_t gemPortIndex, char* devIfc, char* vlanIfc);
    int insertExtVlanDsTagRules(const BridgeServiceProvisioning* bridgeProv, std::uint16_t uniPort,
                                std::uint16_t gemPortIndex, char* devIfc, char* vlanIfc);

    // ---- UNI-side extended VLAN tagging and its removal (uni/) ----

    bool configureUniInterface(const UniDataProvisioning* uniProv);
    bool configureUniTagRules(const UniDataProvisioning* uniProv);
    void parseUniDataProvisioningInfo(const UniDataProvisioning* uniProv, VlanExtVlanTagOperInfo_t* info,
                                      VlanTagAction& tagAction);
    void getTagRules(const UniDataProvisioning* uniProv, VlanExtVlanTagOper_t* row);
    bool isDefaultTagRule(const VlanExtVlanTagOper_t* row);
    bool createUniVlanRules(const VlanExtVlanTagOperInfo_t* info, std::uint16_t bridgeId, std::uint8_t uniPort,
                            VlanTagAction& tagAction);
    bool insertUniTagRules(const VlanExtVlanTagOperInfo_t* info, std::uint16_t phyId, std::uint16_t bridgeId,
                           char* devIfc, char* vlanIfc, VlanTagAction& tagAction, bool isIpHost);
    bool insertExtVlanUsTagRules(std::uint16_t inputTpid, std::uint16_t outputTpid, VlanTagAction tagAction,
                                 const VlanExtVlanTagOper_t* row, std::uint32_t phyId, char* devIfc, char* vlanIfc,
                                 bool isIpHost);
    bool insertExtVlanDsTagRules(std::uint16_t inputTpid, std::uint16_t outputTpid, VlanTagAction tagAction,
                                 const VlanExtVlanTagOper_t* row, std::uint32_t phyId, char* devIfc, char* vlanIfc,
                                 bool isIpHost);
    // Hooks of the Ethernet OAM agent; they print and answer 1.
    int sendVlanNotificationToETHOAM(std::uint8_t uniIndex, std::uint16_t ceVlanId, std::uint16_t stag, bool opStatus);
    int sendCeVlanDeleteNotificationToETHOAM(std::uint8_t uniIndex, std::uint16_t ceVlanId, bool opStatus);

    bool deprovisionUniSideDataServiceRules(const UniDataProvisioning* uniProv);
    bool deConfigureUniTagRules(std::uint16_t uniPort, std::uint16_t bridgeId);
    bool deConfigureUniInterface(std::uint16_t uniPort, std::uint16_t bridgeId);
    // The next two: true for every record.
    bool deprovisionUniSideBridge(const BridgeServiceProvisioning* bridgeProv);
    bool unsetPbitData(const BridgeServiceProvisioning* bridgeProv);

    // ---- ANI-side removal (ani/AniRemoval.cpp) ----

    int unsetPbitToGemTable(unsigned short bridgeId);
    int unsetPbitToQueue(unsigned short bridgeId);
    bool unsetDscpToPbitsTable(char* uniName);
    // Lowers multicastEnable by one, whatever service it is.
    bool deprovisionAniSideBridge(const BridgeServiceProvisioning* bridgeProv);

    // ---- Gateway link (gateway/Cms.cpp) ----

    // Connects to the message bus and starts the listener thread. 0, the bus's error code, or -1 for the timer layer.
    int omcid_initCms();
    static void* cmsListenerThread(void* unused);
    int omcid_sendPostCmsMsg();
    int omcid_cmsmsgHandler();
    // Sends one service to the gateway and waits at most one second for its answer, by the real-time clock: as much
    // longer as that is set back meanwhile. Any thread.
    int sendServiceInfoMsg(const OMCI_SERVICE_MAP_ENTRY* entry);
    int handleWanServiceStatusUpdate(OMCI_SERVICE_MAP_ENTRY* request);
    // 1 and *out (the map's own entry), or 0 with *out as it was. phyId is only logged.
    int findOmciServiceMapEntry(const char* ifName, unsigned short phyId, unsigned short vlanId, unsigned short pbit,
                                OMCI_SERVICE_MAP_ENTRY** out);
    // A heap copy that the caller frees with free(); null when the key is in the map.
    OMCI_SERVICE_MAP_ENTRY* allocOmciServiceMapEntry(OMCI_SERVICE_MAP_ENTRY* entry);
    int omciServiceCreateMapEntry(OMCI_SERVICE_MAP_ENTRY* entry);
    int omciServiceDeleteMapEntry(int phyId, const char* ifName, int vlanId, int pbit);

    // ---- VEIP (gateway/Veip.cpp) ----

    int getVeipVlanName(char* name);
    int createVeipVlanInterface();
    int insertUniTagRules(unsigned int phyId, char* devIfc, char* vlanIfc);
    int createVeipFilterTagRules(unsigned int bridgeId);
    int createVeipTagRules(OmciMapFilterModelType type, unsigned short bridgeId);
    int configVeip(bool isCreate, unsigned short gemPortId, unsigned short bridgeId, unsigned short filterType,
                   unsigned char noOfEntries, const unsigned char* vlanFilterList);
    // Without "veip0" and with a filter model as trafficType: deletes the bridge "br" + bridgeId, whose members are on
    // no bridge then, and makes veip0 on "gpon0.0". Then announces the service. The number of services that are known.
    int gpon_createRules(unsigned short gemPort, unsigned short bridgeId, unsigned short filterType,
                         unsigned char noOfEntries, const unsigned char* vlanFilterList, unsigned short trafficType);
    // Announces the service as down; veip0 goes when none is known any more. A service is known by the last TCI of its
    // list, not by its GEM port. 0 when veip0 went, else -1.
    int gpon_deleteRules(unsigned short gemPort, unsigned short bridgeId, unsigned short filterType,
                         unsigned char noOfEntries, const unsigned char* vlanFilterList, unsigned short trafficType);
    int removeVeipInterface();
    int rule_teardownVeipVlanInterface(bool deleteIfc);

    // ---- IP host (iphost/IpHost.cpp) ----

    bool provisionIpHostStatic(const IpHostProvision* rec);
    bool provisionIpHostDynamic(const IpHostProvision* rec);
    // Deletes the whole bridge of the host, other members and all; the host's device, its address, its routing rule and
    // route, and the rule that pops its S-tag stay.
    bool deprovisionIpHost(const IpHostProvision* rec);
    bool activateIpv4InterfaceStatic(const char* ifName, const char* bridgeName, const IpHostProvision* rec);
    bool activateIpv4InterfaceDynamic(const char* ifName, const char* bridgeName, const IpHostProvision* rec);
    int addIngressQueueKeyMask();
    void sendArp(const char* ifName, const char* senderIp, const char* targetIp, const unsigned char* mac);

    static std::int32_t numServices;  // provisioned IP hosts; may fall below 0 when removals outnumber provisions
    std::uint16_t iPhost_Stag;        // the IP host's S-tag; 65535: none

    // ---- Multicast (ani/Multicast.cpp) ----

    int configureDsMcastIngress_rule(const BridgeServiceProvisioning* bridgeProv, unsigned short uniPort,
                                     unsigned short gemPortIndex);
    void setMcastGemInfo(int gemPortId, int gemPortIndex);
    void getMcastGemInfo(int* gemPortId, int* gemPortIndex);
    // Rewrites the multicast proxy's file and reloads the proxy: the reload's status, -1 when a file cannot be opened
    // or written. Called by the link monitor thread.
    static int updateMcpdConf();
    void setProtocolNumber(unsigned char protocol);

    // Multicast services set up, less every ANI-side removal; only ever tested against 0. The link monitor reads it
    // too, so with the monitor running only the library changes it.
    static std::int32_t multicastEnable;

private:
    EtherSwitchBcm380();

    std::map<std::string, std::set<std::string>> uniVlanDevices_;  // UNI device: VLAN devices on it
};

#endif
