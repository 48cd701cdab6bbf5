// Numbers that the device kit gives a meaning to and no name: the library and the virtual ONU name them here. A kit's
// own headers need not have them.
#ifndef PLATFORM_KIT_NUMBERS_H
#define PLATFORM_KIT_NUMBERS_H

// ---- GPON control ----

// A GEM index of this value asks the driver to choose (configure) or to look the port up by its id (query).
#define GPONCTL_GEM_INDEX_UNKNOWN 0xFFFFu
// gponCtl_getGemPort: the byte of `output` that is 1 while the port is enabled.
#define GPONCTL_GEM_PORT_OUTPUT_ENABLED 2
// gponCtl_configGemPort: the driver has this GEM port already.
#define GPONCTL_ERROR_GEM_PORT_EXISTS 258

// ---- Traffic management ----

#define TMCTL_SCHED_STRICT_PRIORITY 1u
#define TMCTL_SCHED_WEIGHTED_ROUND_ROBIN 2u

// ---- Message bus ----

#define CMS_MSG_FLAG_EVENT 0x0001u
#define CMS_MSG_FLAG_REQUEST 0x0002u

// ---- Board ----

// Owner id under which the management addresses are allotted.
#define DEVCTL_MAC_OWNER_IP_HOST 0xA0000001u

// ---- Optical module's character device ----

#define LASER_DEVICE "/dev/laser_dev"

#define LASER_IOC_GET_RX_POWER 0x80024f05ul  // 16-bit raw receive level, units of 0.1 microwatt
#define LASER_IOC_GET_TX_POWER 0x80024f06ul  // 16-bit raw transmit level, units of 0.2 microwatt
#define LASER_IOC_GET_I2C_DUMP 2147766027ul  // the module's I2C contents; the size is the driver's

// ---- NGPON2 stack's character device; 202 is not used ----

#define NGPON2_STACK_DEVICE "/dev/ngpon2_stack"

#define NGPON_STACK_IOC_GET_TX_CHANNEL 200ul
#define NGPON_STACK_IOC_GET_RX_CHANNEL 201ul
#define NGPON_STACK_IOC_GET_TWDM_SYSTEM_PROFILE 203ul
#define NGPON_STACK_IOC_SET_TWDM_SYSTEM_PROFILE 204ul
#define NGPON_STACK_IOC_GET_TWDM_CHANNEL 205ul
#define NGPON_STACK_IOC_GET_TWDM_LODS_PM_DATA 206ul
#define NGPON_STACK_IOC_GET_TWDM_CHANNEL_XGEM_HD 207ul
#define NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM1 208ul
#define NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM2 209ul
#define NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM3 210ul
#define NGPON_STACK_IOC_GET_TWDM_TUNING_PM_HD1 211ul
#define NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_PM_HD2 212ul
#define NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_PM_HD3 213ul
#define NGPON_STACK_IOC_GET_TWDM_CHANNEL_OMCI_PM_HD 214ul

#endif
