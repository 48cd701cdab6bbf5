// Requests of the optical module's character device.
#ifndef PLATFORM_LASER_DEV_H
#define PLATFORM_LASER_DEV_H

#define LASER_DEVICE "/dev/laser_dev"

#define LASER_IOC_GET_RX_POWER 0x80024f05ul  // 16-bit raw receive level, units of 0.1 microwatt
#define LASER_IOC_GET_TX_POWER 0x80024f06ul  // 16-bit raw transmit level, units of 0.2 microwatt
#define LASER_IOC_GET_I2C_DUMP 2147766027ul  // the module's I2C contents; the size is the driver's

#endif
