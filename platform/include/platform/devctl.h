// Board, PHY and flash access of the device kit.
//
// Every int function answers 0 for success and a non-zero code for failure unless stated. Pointers are never null.
#ifndef PLATFORM_DEVCTL_H
#define PLATFORM_DEVCTL_H

#ifdef __cplusplus
extern "C" {
#endif

#define NVRAM_DATA_SIZE 1024  // bytes that nandReadNvramData fills

int devCtl_getMacAddress(unsigned char* mac, unsigned int owner);  // 6 bytes; owner 0xA0000001
int devCtl_getBaseMacAddress(unsigned char* mac);                  // 6 bytes
int devCtl_getBootedImagePartition(void);                          // the partition number, not a status
int devCtl_getImageVersion(int image, char* buffer, int size);

// Speed and duplex are in the PHY library's own encoding. unit is always 0.
int bcm_phy_mode_get(int unit, int port, int* speed, int* duplex);
int bcm_phy_mode_set(int unit, int port, int speed, int duplex);
int bcm_get_linkstatus(int unit, int port, int* status, int flags);  // *status 0: down

int nandReadNvramData(void* nvram);  // NVRAM_DATA_SIZE bytes

#ifdef __cplusplus
}
#endif

#endif
