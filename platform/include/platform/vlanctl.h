// VLAN-control library of the device kit: VLAN devices and tag rules of the SoC's packet path.
//
// Every function answers 0 for success and a non-zero code for failure. Pointers are never null. Use is bracketed by
// vlanCtl_init() and vlanCtl_cleanup(); the library keeps one pending rule for the whole process and takes no lock, so
// only one thread may compose rules at a time.
#ifndef PLATFORM_VLANCTL_H
#define PLATFORM_VLANCTL_H

#ifdef __cplusplus
extern "C" {
#endif

// Direction of a tag-rule table, seen from the real device.
#define VLANCTL_DIRECTION_RX 0u  // frames that the real device receives, towards a VLAN device
#define VLANCTL_DIRECTION_TX 1u  // frames that a VLAN device sends out through the real device

// Where insertTagRule puts a rule.
#define VLANCTL_POSITION_FRONT 0u   // before the first rule of the table
#define VLANCTL_POSITION_APPEND 2u  // after the last rule of the table

// "No value": a reference rule that is not used, and the id of a rule that was never installed.
#define VLANCTL_DONT_CARE 0xFFFFFFFFu

int vlanCtl_init(void);
void vlanCtl_cleanup(void);

// The text between a real device's name and the id in names that createVlanInterface forms (".").
int vlanCtl_setIfSuffix(const char* suffix);
// Makes the VLAN device realDev + suffix + vlanDevId. isRouted and isMulticast are 0 or 1.
int vlanCtl_createVlanInterface(const char* realDev, unsigned int vlanDevId, int isRouted, int isMulticast);
// The same with a name of the caller's choice.
int vlanCtl_createVlanInterfaceByName(const char* realDev, const char* vlanDev, int isRouted, int isMulticast);
int vlanCtl_deleteVlanInterface(const char* vlanDev);
int vlanCtl_setRealDevMode(const char* realDev, int mode);
// What happens to a frame that no rule of the table matches: action 0 passes it to vlanDev, 1 drops it.
int vlanCtl_setDefaultAction(const char* realDev, unsigned int direction, unsigned int nbrOfTags, unsigned int action,
                             const char* vlanDev);
// Lets the packet accelerator carry flows that enter at rxVlanDev and leave at txVlanDev.
int vlanCtl_createVlanFlows(const char* rxVlanDev, const char* txVlanDev);
int vlanCtl_getNbrOfRulesInTable(const char* realDev, unsigned int direction, unsigned int nbrOfTags,
                                 unsigned int* nbrOfRules);

// A rule is composed in one pending slot: initTagRule clears it, filterOn*, cmd* and setReceiveVlanDevice add to it,
// insertTagRule installs it. The pending rule survives an insert, so one rule may go into several tables.
int vlanCtl_initTagRule(void);
// referenceRuleId is VLANCTL_DONT_CARE where the position needs no reference. *tagRuleId is written on success only.
int vlanCtl_insertTagRule(const char* realDev, unsigned int direction, unsigned int nbrOfTags, unsigned int position,
                          unsigned int referenceRuleId, unsigned int* tagRuleId);
int vlanCtl_removeTagRule(const char* realDev, unsigned int direction, unsigned int nbrOfTags, unsigned int tagRuleId);

// The VLAN device that matching received frames are handed to.
int vlanCtl_setReceiveVlanDevice(const char* vlanDev);

// Filters. Tag index 0 is the outermost tag. filterOnEthertype looks at the type word that follows the source address,
// filterOnTagEtherType at the type word inside the given tag.
int vlanCtl_filterOnTxVlanDevice(const char* vlanDev);
int vlanCtl_filterOnTagPbits(unsigned int pbits, unsigned int tagIndex);
int vlanCtl_filterOnTagCfi(unsigned int cfi, unsigned int tagIndex);
int vlanCtl_filterOnTagVid(unsigned int vid, unsigned int tagIndex);
int vlanCtl_filterOnTagEtherType(unsigned int etherType, unsigned int tagIndex);
int vlanCtl_filterOnEthertype(unsigned int etherType);
int vlanCtl_filterOnIpProto(unsigned int ipProtocol);
// Received frames carry the GEM index in the socket buffer's mark.
int vlanCtl_filterOnSkbMarkPort(unsigned int port);

// Commands, carried out in the order added.
int vlanCtl_cmdPushVlanTag(void);
int vlanCtl_cmdPopVlanTag(void);
int vlanCtl_cmdSetTagPbits(unsigned int pbits, unsigned int tagIndex);
int vlanCtl_cmdSetTagCfi(unsigned int cfi, unsigned int tagIndex);
int vlanCtl_cmdSetTagVid(unsigned int vid, unsigned int tagIndex);
int vlanCtl_cmdSetTagEtherType(unsigned int etherType, unsigned int tagIndex);
int vlanCtl_cmdSetEtherType(unsigned int etherType);
int vlanCtl_cmdCopyTagPbits(unsigned int fromTag, unsigned int toTag);
int vlanCtl_cmdCopyTagCfi(unsigned int fromTag, unsigned int toTag);
int vlanCtl_cmdCopyTagVid(unsigned int fromTag, unsigned int toTag);
int vlanCtl_cmdCopyTagEtherType(unsigned int fromTag, unsigned int toTag);
int vlanCtl_cmdDscpToPbits(unsigned int tagIndex);
int vlanCtl_cmdDropFrame(void);
// Marks an outgoing frame with the GEM index and the upstream queue that carry it.
int vlanCtl_cmdSetSkbMarkPort(unsigned int port);
int vlanCtl_cmdSetSkbMarkQueue(unsigned int queue);

#ifdef __cplusplus
}
#endif

#endif
